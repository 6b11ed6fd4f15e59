// The core's registry functions over the Win32 registry: the host library's path (its key
// left behind when absent), and the value kinds QueryValueEx reads. Prints DONE when every
// check held. Run in a throwaway prefix: it writes under HKEY_CLASSES_ROOT (and removes it).

#include "check.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "component/registry.h"

namespace {

constexpr char kHostClass[] = "CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}\\InprocServer32";

void SetValue(const char* key, const char* name, DWORD type, const void* data, DWORD size) {
  ::HKEY handle = nullptr;
  RegCreateKeyExA(HKEY_CLASSES_ROOT, key, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle, nullptr);
  RegSetValueExA(handle, name, 0, type, static_cast<const BYTE*>(data), size);
  RegCloseKey(handle);
}

}  // namespace

int main() {
  _putenv("KXEXPR_REGISTRY=");
  std::shared_ptr<kx::Registry> registry = kx::OpenRegistryInUse();

  // Absent: the path is empty, and the key has been created (open with create).
  RegDeleteTreeA(HKEY_CLASSES_ROOT, "CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}");
  CHECK(kx::GetKXTypeLibPath(*registry).empty());
  ::HKEY left = nullptr;
  CHECK(RegOpenKeyExA(HKEY_CLASSES_ROOT, kHostClass, 0, KEY_READ, &left) == ERROR_SUCCESS);
  if (left) RegCloseKey(left);

  const char path[] = "C:\\Program Files\\Host\\KX750UI.DLL";
  SetValue(kHostClass, nullptr, REG_SZ, path, sizeof path);
  CHECK(kx::GetKXTypeLibPath(*registry) == "c:\\program files\\host\\kx750ui.dll");

  // The kinds QueryValueEx reads.
  _putenv("KX_CHECK_DIR=expanded");
  const char expand[] = "%KX_CHECK_DIR%\\lib";
  SetValue("KxCheck", "expand", REG_EXPAND_SZ, expand, sizeof expand);
  const DWORD number = 1234;
  SetValue("KxCheck", "number", REG_DWORD, &number, sizeof number);
  const std::string long_text(300, 'x');
  SetValue("KxCheck", "long", REG_SZ, long_text.c_str(), static_cast<DWORD>(long_text.size() + 1));
  SetValue("KxCheck\\a", nullptr, REG_SZ, "", 1);
  SetValue("KxCheck\\b", nullptr, REG_SZ, "", 1);

  kx::HKEY key = 0;
  CHECK(registry->RegOpenKeyExA(kx::kHkeyClassesRoot, "KxCheck", 0, KEY_READ, &key) == 0);
  kx::RegValue value;
  CHECK(kx::QueryValueEx(*registry, key, "expand", value) == 0);
  CHECK(std::get_if<std::string>(&value) && std::get<std::string>(value) == "expanded\\lib");
  CHECK(kx::QueryValueEx(*registry, key, "number", value) == 0);
  CHECK(std::get_if<int32_t>(&value) && std::get<int32_t>(value) == 1234);
  value = std::string("untouched");
  CHECK(kx::QueryValueEx(*registry, key, "long", value) != 0);
  CHECK(std::get<std::string>(value) == "untouched");
  CHECK(kx::QueryValueEx(*registry, key, "missing", value) == ERROR_FILE_NOT_FOUND);
  std::string names;
  std::string name;
  for (uint32_t i = 0; registry->RegEnumKeyExA(key, i, &name, 256) == 0; ++i) names += name + ";";
  CHECK(names == "a;b;");
  CHECK(registry->RegCloseKey(key) == 0);

  // The other tests of the prefix build trees: no host library that is not there.
  RegDeleteTreeA(HKEY_CLASSES_ROOT, "CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}");
  RegDeleteTreeA(HKEY_CLASSES_ROOT, "KxCheck");

  return Finish();
}
