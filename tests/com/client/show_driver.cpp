// Plays the user of the builder's window from another process:
//   show_driver CAPTION ok|cancel TEXT RESULT_FILE [BUTTON...]
// waits for the top-level window titled CAPTION, reads what its editor (or the dialog's
// first edit box) holds, types TEXT in
// place of it, presses the BUTTONs named by caption (the operator pad's) and then OK or
// Cancel. RESULT_FILE receives the editor's text as found, so
// the script that called Show can check that Show started from its Expression.
// A BUTTON may also be a step: "tool:TEXT" presses the toolbar button of that text,
// "window:CAPTION" waits for that window to be up and usable and plays it from then on,
// "down" moves the first list of the window one row down.
//   show_driver watch STOP_FILE RESULT_FILE
// answers the first message box that shows before STOP_FILE exists (at most a minute),
// writing its text to RESULT_FILE: a script that expects none fails instead of waiting.

#include <windows.h>

#include <commctrl.h>

#include <cstdio>
#include <string>

namespace {

struct Search {
  const wchar_t* window_class;
  const wchar_t* text;
  HWND found;
};

BOOL CALLBACK Visit(HWND child, LPARAM data) {
  auto& s = *reinterpret_cast<Search*>(data);
  wchar_t name[64] = {};
  GetClassNameW(child, name, 64);
  if (lstrcmpiW(name, s.window_class) != 0) return TRUE;
  if (s.text) {
    // Captions are compared without their accelerator marks: "&Cancel" is "Cancel".
    wchar_t caption[64] = {};
    GetWindowTextW(child, caption, 64);
    std::wstring plain;
    for (const wchar_t* c = caption; *c; ++c)
      if (*c != L'&') plain.push_back(*c);
    if (lstrcmpW(plain.c_str(), s.text) != 0) return TRUE;
  }
  s.found = child;
  return FALSE;
}

HWND FindChild(HWND parent, const wchar_t* window_class, const wchar_t* text) {
  Search search{window_class, text, nullptr};
  EnumChildWindows(parent, Visit, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

// A message box of the component in the way: its text goes to the result (a test that
// expects none fails on it), and the box is answered so that the run can end.
bool AnswerMessageBox(const wchar_t* result_file) {
  HWND box = FindWindowW(L"#32770", nullptr);
  if (!box) return false;
  std::wstring text;
  for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t name[16] = {};
    GetClassNameW(child, name, 16);
    if (lstrcmpiW(name, L"Static") != 0) continue;
    wchar_t caption[1024] = {};
    GetWindowTextW(child, caption, 1024);
    text += caption;
  }
  std::fprintf(stderr, "message box: %ls\n", text.c_str());
  HANDLE file = CreateFileW(result_file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    std::string bytes = "message box: ";
    for (wchar_t c : text) bytes.push_back(c < 128 ? static_cast<char>(c) : '?');
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
  }
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
  return true;
}

// The command of the toolbar button whose text is `text`, 0 if none. The messages write
// to memory of the toolbar's process, so the driver lends it a buffer there.
int FindToolButton(HWND toolbar, const std::wstring& text) {
  DWORD pid = 0;
  GetWindowThreadProcessId(toolbar, &pid);
  HANDLE process =
      OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, pid);
  if (!process) return 0;
  auto* remote = static_cast<char*>(
      VirtualAllocEx(process, nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  int found = 0;
  const auto count = SendMessageW(toolbar, TB_BUTTONCOUNT, 0, 0);
  for (LRESULT i = 0; remote && i < count && !found; ++i) {
    TBBUTTON button{};
    SIZE_T read = 0;
    if (!SendMessageW(toolbar, TB_GETBUTTON, static_cast<WPARAM>(i),
                      reinterpret_cast<LPARAM>(remote)) ||
        !ReadProcessMemory(process, remote, &button, sizeof button, &read))
      continue;
    wchar_t* remote_text = reinterpret_cast<wchar_t*>(remote + 1024);
    const auto length =
        SendMessageW(toolbar, TB_GETBUTTONTEXTW, static_cast<WPARAM>(button.idCommand),
                     reinterpret_cast<LPARAM>(remote_text));
    if (length <= 0 || length >= 1000) continue;
    std::wstring local(static_cast<size_t>(length) + 1, L'\0');
    ReadProcessMemory(process, remote_text, local.data(), local.size() * sizeof(wchar_t), &read);
    local.resize(static_cast<size_t>(length));
    if (local == text) found = button.idCommand;
  }
  if (remote) VirtualFreeEx(process, remote, 0, MEM_RELEASE);
  CloseHandle(process);
  return found;
}

// Waits for a visible, enabled window titled `caption`: one under a modal dialog is not.
HWND WaitForWindow(const std::wstring& caption) {
  for (int i = 0; i < 300; ++i) {
    HWND form = FindWindowW(nullptr, caption.c_str());
    if (form && IsWindowVisible(form) && IsWindowEnabled(form)) return form;
    Sleep(100);
  }
  return nullptr;
}

// A step that cannot be played: the reason goes to the result, and the windows are closed
// so that the Show waiting on them returns.
int Fail(const wchar_t* result_file, const std::wstring& reason, HWND first, HWND current) {
  std::fprintf(stderr, "%ls\n", reason.c_str());
  HANDLE file = CreateFileW(result_file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    std::string bytes;
    for (wchar_t c : reason) bytes.push_back(c < 128 ? static_cast<char>(c) : '?');
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
  }
  if (current && current != first) PostMessageW(current, WM_CLOSE, 0, 0);
  Sleep(300);
  PostMessageW(first, WM_CLOSE, 0, 0);
  return 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc == 4 && lstrcmpiW(argv[1], L"watch") == 0) {
    for (int i = 0; i < 600; ++i) {
      if (GetFileAttributesW(argv[2]) != INVALID_FILE_ATTRIBUTES) return 0;
      if (AnswerMessageBox(argv[3])) return 1;
      Sleep(100);
    }
    return 0;
  }
  if (argc < 5) {
    std::fprintf(stderr, "usage: show_driver CAPTION ok|cancel TEXT RESULT_FILE [BUTTON...]\n");
    return 2;
  }
  const std::wstring caption = argv[1];
  const bool ok = lstrcmpiW(argv[2], L"ok") == 0;
  HWND form = nullptr;
  for (int i = 0; i < 300 && !(form && IsWindowVisible(form)); ++i) {
    Sleep(100);
    form = FindWindowW(nullptr, caption.c_str());
  }
  if (!form) {
    std::fprintf(stderr, "no window titled %ls\n", caption.c_str());
    return 1;
  }
  Sleep(300);
  if (AnswerMessageBox(argv[4])) return 1;
  // The builder's editor, or the one-line box of a dialog.
  HWND editor = FindChild(form, L"RichEdit20A", nullptr);
  if (!editor) editor = FindChild(form, L"Edit", nullptr);
  HWND button = FindChild(form, L"Button", ok ? L"OK" : L"Cancel");
  if (!editor || !button) {
    std::fprintf(stderr, "the window has no editor or no %ls button\n", argv[2]);
    return 1;
  }
  wchar_t found[4096] = {};
  SendMessageW(editor, WM_GETTEXT, 4096, reinterpret_cast<LPARAM>(found));
  HANDLE file = CreateFileW(argv[4], GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    char bytes[8192];
    const int n = WideCharToMultiByte(CP_ACP, 0, found, -1, bytes, sizeof(bytes), nullptr, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes, n > 0 ? static_cast<DWORD>(n - 1) : 0, &written, nullptr);
    CloseHandle(file);
  }
  // Typed over everything the editor holds, as a user who selects all and types would.
  SendMessageW(editor, EM_SETSEL, 0, -1);
  SendMessageW(editor, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(argv[3]));
  const HWND first = form;
  for (int i = 5; i < argc; ++i) {
    const std::wstring step = argv[i];
    if (step.rfind(L"tool:", 0) == 0) {
      HWND toolbar = FindChild(form, TOOLBARCLASSNAMEW, nullptr);
      const int id = toolbar ? FindToolButton(toolbar, step.substr(5)) : 0;
      if (!id) return Fail(argv[4], L"no toolbar button " + step.substr(5), first, form);
      // Posted: the command may open a modal window, which a sent message would wait for.
      PostMessageW(GetParent(toolbar), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                   reinterpret_cast<LPARAM>(toolbar));
      continue;
    }
    if (step.rfind(L"window:", 0) == 0) {
      HWND next = WaitForWindow(step.substr(7));
      if (!next) return Fail(argv[4], L"no usable window titled " + step.substr(7), first, form);
      form = next;
      Sleep(300);
      if (AnswerMessageBox(argv[4])) return 1;
      button = FindChild(form, L"Button", ok ? L"OK" : L"Cancel");
      continue;
    }
    if (step == L"down") {
      HWND list = FindChild(form, L"SysListView32", nullptr);
      if (!list) return Fail(argv[4], L"the window has no list", first, form);
      PostMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
      PostMessageW(list, WM_KEYUP, VK_DOWN, 0xC0000000);
      Sleep(300);
      continue;
    }
    HWND pad = FindChild(form, L"Button", argv[i]);
    if (!pad) return Fail(argv[4], L"no button " + step, first, form);
    SendMessageW(pad, BM_CLICK, 0, 0);
  }
  if (!button) return Fail(argv[4], L"the last window has no OK or Cancel button", first, form);
  SendMessageW(button, BM_CLICK, 0, 0);
  Sleep(300);
  return AnswerMessageBox(argv[4]) ? 1 : 0;
}
