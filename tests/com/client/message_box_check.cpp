// The server's message boxes are real windows: a template file that fails to load shows
// the reader's message in a dialog with the set's ProductName as caption. A second thread
// finds the dialog, reads its text and presses OK. Needs a display (the tests use Xvfb).
// Prints DONE when the dialog appeared with the expected text.

#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string>

#include "kxexpr.h"

namespace {

std::string g_seen;

DWORD WINAPI AnswerTheBox(void*) {
  for (int i = 0; i < 200; ++i) {
    if (HWND box = FindWindowA("#32770", "KxBoxCheck")) {
      char text[512] = {};
      GetDlgItemTextA(box, 0xFFFF, text, sizeof text);
      g_seen = text;
      PostMessageA(box, WM_COMMAND, IDOK, 0);
      return 0;
    }
    Sleep(50);
  }
  return 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) return 2;
  const std::wstring file = std::wstring(argv[1]) + L"\\broken.tpl";
  HANDLE out = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  const char text[] = "@BeginTemplate X\r\n@Bogus\r\n";
  DWORD written = 0;
  WriteFile(out, text, sizeof text - 1, &written, nullptr);
  CloseHandle(out);

  CoInitialize(nullptr);
  CLSID clsid;
  _ExprTemplates* set = nullptr;
  if (FAILED(CLSIDFromProgID(L"KXExpressionBuilder75.ExprTemplates", &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID__ExprTemplates,
                              reinterpret_cast<void**>(&set)))) {
    std::printf("FAIL: no ExprTemplates\n");
    return 1;
  }
  HANDLE watcher = CreateThread(nullptr, 0, AnswerTheBox, nullptr, 0, nullptr);
  set->put_ProductName(SysAllocString(L"KxBoxCheck"));
  set->put_filename(SysAllocString(file.c_str()));  // shows the box until it is answered
  WaitForSingleObject(watcher, 15000);
  short count = -1;
  set->Count(&count);
  set->Release();
  CoUninitialize();

  const std::string expected = "Problem with template: X, on line: 2.";
  if (g_seen.find(expected) == std::string::npos || count != 0) {
    std::printf("FAIL: the box said \"%s\"; %d templates loaded\n", g_seen.c_str(), count);
    return 1;
  }
  std::printf("the box said: %s\nDONE\n", g_seen.c_str());
  return 0;
}
