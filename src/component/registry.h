#pragma once
// The registry as the component reads it: the platform's registry calls (ANSI forms, the
// same results and error codes) over a portable backend. Off Windows the backend is a
// registry text file: REGEDIT4, "Windows Registry Editor Version 5.00", or Wine's own
// system.reg/user.reg. Keys created through it exist in memory only; the file is never
// written.

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx {

using HKEY = uintptr_t;
constexpr HKEY kHkeyClassesRoot = 0x80000000u;
constexpr HKEY kHkeyCurrentUser = 0x80000001u;
constexpr HKEY kHkeyLocalMachine = 0x80000002u;
constexpr HKEY kHkeyUsers = 0x80000003u;
constexpr HKEY kHkeyCurrentConfig = 0x80000005u;

constexpr uint32_t kRegNone = 0, kRegSz = 1, kRegExpandSz = 2, kRegBinary = 3, kRegDword = 4,
                   kRegMultiSz = 7, kRegQword = 11;

constexpr int32_t kErrorSuccess = 0;
constexpr int32_t kErrorFileNotFound = 2;
constexpr int32_t kErrorInvalidHandle = 6;
constexpr int32_t kErrorInvalidParameter = 87;
constexpr int32_t kErrorMoreData = 234;
constexpr int32_t kErrorNoMoreItems = 259;

class Registry {
 public:
  virtual ~Registry() = default;

  virtual int32_t RegOpenKeyExA(HKEY key, std::string_view sub_key, uint32_t options, uint32_t sam,
                                HKEY* result) = 0;
  // Opens the key, creating it (and its parents) when absent. `disposition` receives 1 for
  // a created key and 2 for an existing one.
  virtual int32_t RegCreateKeyExA(HKEY key, std::string_view sub_key, uint32_t reserved,
                                  std::string_view class_name, uint32_t options, uint32_t sam,
                                  const void* security, HKEY* result, uint32_t* disposition) = 0;
  // With `data` null: the type and size only. Otherwise `*size` is the buffer's size: a
  // value that does not fit gives ERROR_MORE_DATA with the needed size in `*size`.
  virtual int32_t RegQueryValueExA(HKEY key, std::string_view value_name, uint32_t* reserved,
                                   uint32_t* type, uint8_t* data, uint32_t* size) = 0;
  // `name` receives the subkey at `index`, up to `name_size` - 1 characters.
  virtual int32_t RegEnumKeyExA(HKEY key, uint32_t index, std::string* name,
                                uint32_t name_size) = 0;
  virtual int32_t RegCloseKey(HKEY key) = 0;

  // The folder that relative paths and drive letters in this registry's values are resolved
  // against (see ResolvePath); empty when there is none.
  virtual std::filesystem::path Folder() const { return {}; }
};

// The registry file backend.
class FileRegistry : public Registry {
 public:
  FileRegistry();
  FileRegistry(FileRegistry&&) noexcept;
  ~FileRegistry() override;

  // Reads a registry file; raises Error 53 when it is missing and kErrInvalidFileFormat
  // (321) with the line number when it is malformed.
  static std::shared_ptr<FileRegistry> Load(const std::filesystem::path& path);
  // Parses registry text; `where` names it in error messages.
  void Parse(std::string_view text, std::string_view where);

  int32_t RegOpenKeyExA(HKEY key, std::string_view sub_key, uint32_t options, uint32_t sam,
                        HKEY* result) override;
  int32_t RegCreateKeyExA(HKEY key, std::string_view sub_key, uint32_t reserved,
                          std::string_view class_name, uint32_t options, uint32_t sam,
                          const void* security, HKEY* result, uint32_t* disposition) override;
  int32_t RegQueryValueExA(HKEY key, std::string_view value_name, uint32_t* reserved,
                           uint32_t* type, uint8_t* data, uint32_t* size) override;
  int32_t RegEnumKeyExA(HKEY key, uint32_t index, std::string* name, uint32_t name_size) override;
  int32_t RegCloseKey(HKEY key) override;
  std::filesystem::path Folder() const override { return folder_; }

  void SetFolder(std::filesystem::path folder) { folder_ = std::move(folder); }
  // Sets a value directly (tests, and merging files).
  // Key paths here start with the storage root ("HKEY_LOCAL_MACHINE\\Software\\Classes\\…").
  void SetValue(std::string_view key_path, std::string_view name, uint32_t type, std::string bytes);
  void CreateKey(std::string_view key_path);
  void RemoveKey(std::string_view key_path);
  void RemoveValue(std::string_view key_path, std::string_view name);

  struct Key;

 private:
  Key* Resolve(HKEY key) const;
  Key* Walk(Key* from, std::string_view path, bool create, bool* created);

  std::unique_ptr<Key> root_;  // children: HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER …
  std::map<HKEY, Key*> handles_;
  HKEY next_handle_ = 0x1000;
  std::filesystem::path folder_;
};

// The registry in use: $KXEXPR_REGISTRY, else the system's own registry (Windows), else
// $WINEPREFIX/system.reg, else ~/.wine/system.reg, else `fallback` when given and present,
// else an empty registry.
std::shared_ptr<Registry> OpenRegistryInUse(const std::filesystem::path& fallback = {});
// The system's own registry: the Win32 registry on Windows, null elsewhere.
std::shared_ptr<Registry> OpenSystemRegistry();
std::shared_ptr<Registry> OpenRegistryFile(const std::filesystem::path& path);

// ExpandEnvironmentStringsA: %NAME% from the process environment, unknown names kept as
// written. Returns the characters needed including the NUL; writes only when they fit.
uint32_t ExpandEnvironmentStringsA(std::string_view source, char* destination, uint32_t size);

// What QueryValueEx leaves in its Value argument: a string or a 32-bit number, or nothing.
using RegValue = std::variant<std::monostate, std::string, int32_t>;

// Reads value `value_name` of the open key into `value` (see the header comment of the
// registry functions for the kinds it understands); returns the last registry result.
int32_t QueryValueEx(Registry& registry, HKEY key, std::string_view value_name, RegValue& value);

// The host UI library's file path, lower-cased, from its class registration; empty when it
// cannot be found.
std::string GetKXTypeLibPath(Registry& registry);

}  // namespace kx
