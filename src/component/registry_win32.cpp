// The registry on Windows: the system's own, through the same ANSI calls.

#include <windows.h>

#include "component/registry.h"

namespace kx {

namespace {

// Our predefined keys are the 32-bit values; Windows' are those values sign-extended.
::HKEY ToWin32(HKEY key) {
  if (key >= kHkeyClassesRoot && key <= kHkeyCurrentConfig)
    return reinterpret_cast<::HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(key)));
  return reinterpret_cast<::HKEY>(key);
}

HKEY FromWin32(::HKEY key) {
  return reinterpret_cast<HKEY>(key);
}

bool Predefined(HKEY key) {
  return key >= kHkeyClassesRoot && key <= kHkeyCurrentConfig;
}

class Win32Registry : public Registry {
 public:
  int32_t RegOpenKeyExA(HKEY key, std::string_view sub_key, uint32_t options, uint32_t sam,
                        HKEY* result) override {
    ::HKEY opened = nullptr;
    LONG status =
        ::RegOpenKeyExA(ToWin32(key), std::string(sub_key).c_str(), options, sam, &opened);
    if (status == ERROR_SUCCESS && result) *result = FromWin32(opened);
    return status;
  }
  int32_t RegCreateKeyExA(HKEY key, std::string_view sub_key, uint32_t reserved,
                          std::string_view class_name, uint32_t options, uint32_t sam,
                          const void* security, HKEY* result, uint32_t* disposition) override {
    std::string class_text(class_name);
    ::HKEY created = nullptr;
    DWORD how = 0;
    LONG status = ::RegCreateKeyExA(ToWin32(key), std::string(sub_key).c_str(), reserved,
                                    class_text.empty() ? nullptr : class_text.data(), options, sam,
                                    static_cast<LPSECURITY_ATTRIBUTES>(const_cast<void*>(security)),
                                    &created, &how);
    if (status == ERROR_SUCCESS) {
      if (result) *result = FromWin32(created);
      if (disposition) *disposition = how;
    }
    return status;
  }
  int32_t RegQueryValueExA(HKEY key, std::string_view value_name, uint32_t*, uint32_t* type,
                           uint8_t* data, uint32_t* size) override {
    DWORD kind = 0;
    DWORD bytes = size ? *size : 0;
    LONG status = ::RegQueryValueExA(ToWin32(key), std::string(value_name).c_str(), nullptr, &kind,
                                     data, size ? &bytes : nullptr);
    if (type) *type = kind;
    if (size) *size = bytes;
    return status;
  }
  int32_t RegEnumKeyExA(HKEY key, uint32_t index, std::string* name, uint32_t name_size) override {
    std::string buffer(name_size, '\0');
    DWORD length = name_size;
    LONG status = ::RegEnumKeyExA(ToWin32(key), index, buffer.data(), &length, nullptr, nullptr,
                                  nullptr, nullptr);
    if (status == ERROR_SUCCESS && name) name->assign(buffer.data(), length);
    return status;
  }
  int32_t RegCloseKey(HKEY key) override {
    if (Predefined(key)) return ERROR_SUCCESS;
    return ::RegCloseKey(ToWin32(key));
  }
};

}  // namespace

std::shared_ptr<Registry> OpenSystemRegistry() {
  return std::make_shared<Win32Registry>();
}

}  // namespace kx
