#pragma once
// What the typed-host checks share: CHECK counts a failure and names its line; Finish prints
// DONE when none failed and gives the exit status.

#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string>

inline int g_failures = 0;

#define CHECK(cond)                                       \
  do {                                                    \
    if (!(cond)) {                                        \
      std::printf("FAIL line %d: %s\n", __LINE__, #cond); \
      ++g_failures;                                       \
    }                                                     \
  } while (0)

inline int Finish() {
  if (g_failures != 0) return 1;
  std::printf("DONE\n");
  return 0;
}

// The text of a BSTR the caller owns, which it frees.
inline std::wstring Text(BSTR s) {
  std::wstring out = s ? std::wstring(s, SysStringLen(s)) : std::wstring();
  SysFreeString(s);
  return out;
}

// The description of the thread's error information, "" when there is none.
inline std::wstring ErrorDescription() {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK || !info) return L"";
  BSTR description = nullptr;
  info->GetDescription(&description);
  info->Release();
  return Text(description);
}
