// Plays the user of the builder's window from another process:
//   show_driver CAPTION ok|cancel TEXT RESULT_FILE [BUTTON...]
// waits for the top-level window titled CAPTION, reads what its editor (or the dialog's
// first edit box) holds, types TEXT in
// place of it, presses the BUTTONs named by caption (the operator pad's) and then OK or
// Cancel. RESULT_FILE receives the editor's text as found, so
// the script that called Show can check that Show started from its Expression.
//   show_driver watch STOP_FILE RESULT_FILE
// answers the first message box that shows before STOP_FILE exists (at most a minute),
// writing its text to RESULT_FILE: a script that expects none fails instead of waiting.

#include <windows.h>

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
  for (int i = 5; i < argc; ++i) {
    HWND pad = FindChild(form, L"Button", argv[i]);
    if (!pad) {
      std::fprintf(stderr, "no button %ls\n", argv[i]);
      return 1;
    }
    SendMessageW(pad, BM_CLICK, 0, 0);
  }
  SendMessageW(button, BM_CLICK, 0, 0);
  Sleep(300);
  return AnswerMessageBox(argv[4]) ? 1 : 0;
}
