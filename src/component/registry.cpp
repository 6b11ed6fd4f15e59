#include "component/registry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "ui/report.h"

namespace kx {

namespace fs = std::filesystem;

namespace {

constexpr int32_t kErrInvalidFileFormat = 321;
// Windows allows 512 levels; the limit also keeps the key tree's teardown shallow.
constexpr long kMaxKeyDepth = 512;

struct CaseLess {
  bool operator()(const std::string& a, const std::string& b) const {
    size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
      unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
      if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
      if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
      if (x != y) return x < y;
    }
    return a.size() < b.size();
  }
};

}  // namespace

struct FileRegistry::Key {
  std::string name;
  std::map<std::string, std::unique_ptr<Key>, CaseLess> subkeys;
  struct Data {
    uint32_t type;
    std::string bytes;
  };
  std::map<std::string, Data, CaseLess> values;
};

FileRegistry::FileRegistry() : root_(std::make_unique<Key>()) {}
FileRegistry::FileRegistry(FileRegistry&&) noexcept = default;
FileRegistry::~FileRegistry() = default;

namespace {

// Storage path of a root key name, or empty when the name is not a root.
std::string_view RootPath(std::string_view name) {
  std::string upper = UpperCase(name);
  if (upper == "HKEY_LOCAL_MACHINE" || upper == "HKLM") return "HKEY_LOCAL_MACHINE";
  if (upper == "HKEY_CLASSES_ROOT" || upper == "HKCR")
    return "HKEY_LOCAL_MACHINE\\Software\\Classes";
  if (upper == "HKEY_CURRENT_USER" || upper == "HKCU") return "HKEY_CURRENT_USER";
  if (upper == "HKEY_USERS" || upper == "HKU") return "HKEY_USERS";
  if (upper == "HKEY_CURRENT_CONFIG" || upper == "HKCC") return "HKEY_CURRENT_CONFIG";
  return {};
}

std::string_view PredefinedPath(HKEY key) {
  switch (key) {
    case kHkeyClassesRoot:
      return "HKEY_LOCAL_MACHINE\\Software\\Classes";
    case kHkeyCurrentUser:
      return "HKEY_CURRENT_USER";
    case kHkeyLocalMachine:
      return "HKEY_LOCAL_MACHINE";
    case kHkeyUsers:
      return "HKEY_USERS";
    case kHkeyCurrentConfig:
      return "HKEY_CURRENT_CONFIG";
    default:
      return {};
  }
}

void AppendUtf16AsAnsi(std::string& out, uint32_t code) {
  out += code <= 0xFF ? static_cast<char>(code) : '?';
}

// Reads the text of a registry file line by line, joining continued hex lines.
class RegParser {
 public:
  RegParser(FileRegistry& reg, std::string_view text, std::string_view where)
      : reg_(reg), text_(text), where_(where) {}

  void Run() {
    std::string line;
    bool first = true;
    while (NextLine(line)) {
      std::string_view t = Trim(line);
      if (first) {
        if (!t.empty() && static_cast<unsigned char>(t[0]) == 0xEF &&
            t.substr(0, 3) == "\xEF\xBB\xBF")
          t.remove_prefix(3);
        if (t.empty()) continue;
        first = false;
        if (t == "REGEDIT4") {
          format_ = Format::Regedit4;
        } else if (t == "Windows Registry Editor Version 5.00") {
          format_ = Format::Regedit5;
        } else if (t.substr(0, 23) == "WINE REGISTRY Version 2") {
          format_ = Format::Wine;
          wine_root_ = "HKEY_LOCAL_MACHINE";
        } else {
          Fail(
              "not a registry file (the first line is neither \"REGEDIT4\", \"Windows "
              "Registry Editor Version 5.00\" nor \"WINE REGISTRY Version 2\")");
        }
        continue;
      }
      if (t.empty()) continue;
      if (format_ == Format::Wine && t.substr(0, 2) == ";;") {
        if (t.find("relative to \\\\User") != std::string_view::npos)
          wine_root_ = "HKEY_CURRENT_USER";
        if (t.find("relative to \\\\Machine") != std::string_view::npos)
          wine_root_ = "HKEY_LOCAL_MACHINE";
        continue;
      }
      if (t[0] == ';' || t[0] == '#') continue;
      if (t[0] == '[') {
        KeyLine(t);
      } else {
        ValueLine(t);
      }
    }
    if (first) Fail("the file is empty");
  }

 private:
  enum class Format { Regedit4, Regedit5, Wine };

  [[noreturn]] void Fail(const std::string& why) const {
    throw Error(kErrInvalidFileFormat,
                std::string(where_) + ":" + std::to_string(line_number_) + ": " + why);
  }

  bool NextLine(std::string& line) {
    if (pos_ >= text_.size()) return false;
    line.clear();
    while (pos_ < text_.size()) {
      size_t end = text_.find('\n', pos_);
      if (end == std::string_view::npos) end = text_.size();
      std::string_view piece = text_.substr(pos_, end - pos_);
      if (!piece.empty() && piece.back() == '\r') piece.remove_suffix(1);
      pos_ = end + 1;
      ++line_number_;
      // A trailing backslash continues a hex list on the next line.
      std::string_view trimmed = TrimRight(piece);
      bool continued =
          !trimmed.empty() && trimmed.back() == '\\' && IsHexContinuation(line, trimmed);
      if (continued) {
        line.append(trimmed.substr(0, trimmed.size() - 1));
        continue;
      }
      line.append(line.empty() ? piece : TrimLeft(piece));
      break;
    }
    return true;
  }

  static bool IsHexContinuation(const std::string& so_far, std::string_view piece) {
    std::string_view all = so_far.empty() ? piece : std::string_view(so_far);
    return all.find("=hex") != std::string_view::npos;
  }

  std::string UnescapeKey(std::string_view s) const {
    if (format_ != Format::Wine) return std::string(s);
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
      if (s[i] == '\\' && i + 1 < s.size()) {
        size_t consumed = 0;
        uint32_t code = Escape(s.substr(i + 1), consumed);
        AppendUtf16AsAnsi(out, code);
        i += consumed;
      } else {
        out += s[i];
      }
    }
    return out;
  }

  // One escape after a backslash; returns the character and sets how many bytes it used.
  uint32_t Escape(std::string_view s, size_t& consumed) const {
    char c = s[0];
    consumed = 1;
    switch (c) {
      case 'a':
        return '\a';
      case 'b':
        return '\b';
      case 'e':
        return 0x1B;
      case 'f':
        return '\f';
      case 'n':
        return '\n';
      case 'r':
        return '\r';
      case 't':
        return '\t';
      case 'v':
        return '\v';
      case 'x': {
        uint32_t code = 0;
        size_t n = 0;
        while (n < 4 && 1 + n < s.size() && std::isxdigit(static_cast<unsigned char>(s[1 + n]))) {
          code = code * 16 + static_cast<uint32_t>(HexDigit(s[1 + n]));
          ++n;
        }
        consumed = 1 + n;
        return n ? code : 'x';
      }
      default:
        if (c >= '0' && c <= '7') {
          uint32_t code = 0;
          size_t n = 0;
          while (n < 3 && n < s.size() && s[n] >= '0' && s[n] <= '7') {
            code = code * 8 + static_cast<uint32_t>(s[n] - '0');
            ++n;
          }
          consumed = n;
          return code;
        }
        return static_cast<unsigned char>(c);
    }
  }

  static int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c - 'A' + 10;
  }

  void KeyLine(std::string_view t) {
    size_t close = t.rfind(']');
    if (close == std::string_view::npos) Fail("a key line without \"]\"");
    std::string_view inner = t.substr(1, close - 1);
    bool remove = !inner.empty() && inner[0] == '-';
    if (remove) inner.remove_prefix(1);
    std::string path = UnescapeKey(inner);
    if (std::count(path.begin(), path.end(), '\\') >= kMaxKeyDepth)
      Fail("the key nests deeper than " + std::to_string(kMaxKeyDepth) + " levels");
    std::string full;
    if (format_ == Format::Wine) {
      full = wine_root_ + "\\" + path;
    } else {
      size_t slash = path.find('\\');
      std::string_view root = RootPath(std::string_view(path).substr(0, slash));
      if (root.empty()) Fail("unknown root key in [" + path + "]");
      full = std::string(root) + (slash == std::string::npos ? "" : path.substr(slash));
    }
    if (remove) {
      reg_.RemoveKey(full);
      current_.clear();
      removed_current_ = true;
      return;
    }
    current_ = full;
    removed_current_ = false;
    reg_.CreateKey(current_);
  }

  // A quoted string starting at s[0] == '"'; returns the bytes and sets the end position.
  std::string QuotedString(std::string_view s, size_t& end) const {
    std::string out;
    size_t i = 1;
    for (; i < s.size(); ++i) {
      char c = s[i];
      if (c == '"') {
        end = i + 1;
        return out;
      }
      if (c == '\\' && i + 1 < s.size()) {
        if (format_ == Format::Wine) {
          size_t consumed = 0;
          AppendUtf16AsAnsi(out, Escape(s.substr(i + 1), consumed));
          i += consumed;
        } else {
          out += s[i + 1];
          ++i;
        }
        continue;
      }
      out += c;
    }
    Fail("a string without its closing quote");
  }

  std::string HexBytes(std::string_view s) const {
    std::string out;
    size_t i = 0;
    while (i < s.size()) {
      while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == ',')) ++i;
      if (i >= s.size()) break;
      size_t start = i;
      while (i < s.size() && std::isxdigit(static_cast<unsigned char>(s[i]))) ++i;
      size_t n = i - start;
      if (n == 0 || n > 2) Fail("bad hex byte list");
      int v = 0;
      for (size_t k = start; k < i; ++k) v = v * 16 + HexDigit(s[k]);
      out += static_cast<char>(v);
    }
    return out;
  }

  static std::string Utf16ToAnsi(const std::string& bytes) {
    std::string out;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
      AppendUtf16AsAnsi(out,
                        static_cast<unsigned char>(bytes[i]) |
                            (static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8));
    return out;
  }

  void ValueLine(std::string_view t) {
    if (current_.empty()) {
      if (removed_current_) return;
      Fail("a value before any key");
    }
    std::string name;
    size_t pos = 0;
    if (t[0] == '@') {
      pos = 1;
    } else if (t[0] == '"') {
      name = QuotedString(t, pos);
    } else {
      Fail("a value line must start with \"@\" or a quoted name");
    }
    while (pos < t.size() && (t[pos] == ' ' || t[pos] == '\t')) ++pos;
    if (pos >= t.size() || t[pos] != '=') Fail("\"=\" expected after the value name");
    std::string_view data = Trim(t.substr(pos + 1));
    if (data == "-") {
      reg_.RemoveValue(current_, name);
      return;
    }
    uint32_t type;
    std::string bytes;
    if (!data.empty() && data[0] == '"') {
      size_t end = 0;
      bytes = QuotedString(data, end) + '\0';
      type = kRegSz;
    } else if (data.substr(0, 4) == "str(") {
      size_t close = data.find("):");
      if (close == std::string_view::npos || close + 2 >= data.size() || data[close + 2] != '"')
        Fail("bad str(N) value");
      type = ParseNumber(data.substr(4, close - 4), 10);
      size_t end = 0;
      bytes = QuotedString(data.substr(close + 2), end) + '\0';
      if (type == kRegMultiSz) bytes += '\0';
    } else if (data.substr(0, 6) == "dword:") {
      std::string_view digits = Trim(data.substr(6));
      if (digits.empty() || digits.size() > 8) Fail("bad dword value");
      uint32_t v = ParseNumber(digits, 16);
      bytes.assign({static_cast<char>(v & 0xFF), static_cast<char>((v >> 8) & 0xFF),
                    static_cast<char>((v >> 16) & 0xFF), static_cast<char>(v >> 24)});
      type = kRegDword;
    } else if (data.substr(0, 4) == "hex:") {
      type = kRegBinary;
      bytes = HexBytes(data.substr(4));
    } else if (data.substr(0, 4) == "hex(") {
      size_t close = data.find("):");
      if (close == std::string_view::npos) Fail("bad hex(N) value");
      type = ParseNumber(data.substr(4, close - 4), 16);
      bytes = HexBytes(data.substr(close + 2));
      bool text = type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
      if (text && format_ != Format::Regedit4) bytes = Utf16ToAnsi(bytes);
    } else {
      Fail("unknown value data \"" + std::string(data.substr(0, 20)) + "\"");
    }
    reg_.SetValue(current_, name, type, std::move(bytes));
  }

  uint32_t ParseNumber(std::string_view s, int base) const {
    if (s.empty()) Fail("a number is missing");
    uint64_t v = 0;
    for (char c : s) {
      int d;
      if (c >= '0' && c <= '9')
        d = c - '0';
      else if (base == 16 && std::isxdigit(static_cast<unsigned char>(c)))
        d = HexDigit(c);
      else
        Fail("bad number \"" + std::string(s) + "\"");
      v = v * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
      if (v > UINT32_MAX) Fail("number out of range \"" + std::string(s) + "\"");
    }
    return static_cast<uint32_t>(v);
  }

  FileRegistry& reg_;
  std::string_view text_;
  std::string_view where_;
  size_t pos_ = 0;
  int line_number_ = 0;
  Format format_ = Format::Regedit4;
  std::string wine_root_;
  std::string current_;
  bool removed_current_ = false;
};

}  // namespace

FileRegistry::Key* FileRegistry::Walk(Key* from, std::string_view path, bool create,
                                      bool* created) {
  if (create && std::count(path.begin(), path.end(), '\\') >= kMaxKeyDepth) return nullptr;
  Key* k = from;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('\\', start);
    if (end == std::string_view::npos) end = path.size();
    std::string part(path.substr(start, end - start));
    start = end + 1;
    if (part.empty()) continue;
    auto it = k->subkeys.find(part);
    if (it == k->subkeys.end()) {
      if (!create) return nullptr;
      auto child = std::make_unique<Key>();
      child->name = part;
      it = k->subkeys.emplace(part, std::move(child)).first;
      if (created) *created = true;
    }
    k = it->second.get();
  }
  return k;
}

void FileRegistry::SetValue(std::string_view key_path, std::string_view name, uint32_t type,
                            std::string bytes) {
  Walk(root_.get(), key_path, true, nullptr)->values[std::string(name)] = {type, std::move(bytes)};
}

void FileRegistry::CreateKey(std::string_view key_path) {
  Walk(root_.get(), key_path, true, nullptr);
}

void FileRegistry::RemoveKey(std::string_view key_path) {
  size_t slash = key_path.rfind('\\');
  Key* parent = slash == std::string_view::npos
                    ? root_.get()
                    : Walk(root_.get(), key_path.substr(0, slash), false, nullptr);
  if (!parent) return;
  auto it = parent->subkeys.find(std::string(key_path.substr(slash + 1)));
  if (it == parent->subkeys.end()) return;
  // Open handles on the removed subtree become invalid.
  std::vector<const Key*> gone{it->second.get()};
  for (size_t i = 0; i < gone.size(); ++i)
    for (const auto& [n, child] : gone[i]->subkeys) gone.push_back(child.get());
  std::erase_if(handles_, [&](const auto& h) {
    return std::find(gone.begin(), gone.end(), h.second) != gone.end();
  });
  parent->subkeys.erase(it);
}

void FileRegistry::RemoveValue(std::string_view key_path, std::string_view name) {
  if (Key* k = Walk(root_.get(), key_path, false, nullptr)) k->values.erase(std::string(name));
}

FileRegistry::Key* FileRegistry::Resolve(HKEY key) const {
  if (auto it = handles_.find(key); it != handles_.end()) return it->second;
  std::string_view path = PredefinedPath(key);
  if (path.empty()) return nullptr;
  return const_cast<FileRegistry*>(this)->Walk(root_.get(), path, true, nullptr);
}

int32_t FileRegistry::RegOpenKeyExA(HKEY key, std::string_view sub_key, uint32_t, uint32_t,
                                    HKEY* result) {
  Key* k = Resolve(key);
  if (!k) return kErrorInvalidHandle;
  Key* found = Walk(k, sub_key, false, nullptr);
  if (!found) return kErrorFileNotFound;
  *result = next_handle_++;
  handles_[*result] = found;
  return kErrorSuccess;
}

int32_t FileRegistry::RegCreateKeyExA(HKEY key, std::string_view sub_key, uint32_t,
                                      std::string_view, uint32_t, uint32_t, const void*,
                                      HKEY* result, uint32_t* disposition) {
  Key* k = Resolve(key);
  if (!k) return kErrorInvalidHandle;
  bool created = false;
  Key* found = Walk(k, sub_key, true, &created);
  if (!found) return kErrorInvalidParameter;
  if (disposition) *disposition = created ? 1 : 2;
  *result = next_handle_++;
  handles_[*result] = found;
  return kErrorSuccess;
}

int32_t FileRegistry::RegQueryValueExA(HKEY key, std::string_view value_name, uint32_t*,
                                       uint32_t* type, uint8_t* data, uint32_t* size) {
  Key* k = Resolve(key);
  if (!k) return kErrorInvalidHandle;
  auto it = k->values.find(std::string(value_name));
  if (it == k->values.end()) return kErrorFileNotFound;
  const auto& v = it->second;
  if (type) *type = v.type;
  uint32_t needed = static_cast<uint32_t>(v.bytes.size());
  if (!data) {
    if (size) *size = needed;
    return kErrorSuccess;
  }
  if (!size) return kErrorInvalidParameter;
  if (*size < needed) {
    *size = needed;
    return kErrorMoreData;
  }
  if (needed) std::memcpy(data, v.bytes.data(), needed);
  *size = needed;
  return kErrorSuccess;
}

int32_t FileRegistry::RegEnumKeyExA(HKEY key, uint32_t index, std::string* name,
                                    uint32_t name_size) {
  Key* k = Resolve(key);
  if (!k) return kErrorInvalidHandle;
  if (index >= k->subkeys.size()) return kErrorNoMoreItems;
  auto it = k->subkeys.begin();
  std::advance(it, index);
  if (it->second->name.size() + 1 > name_size) return kErrorMoreData;
  *name = it->second->name;
  return kErrorSuccess;
}

int32_t FileRegistry::RegCloseKey(HKEY key) {
  if (!PredefinedPath(key).empty()) return kErrorSuccess;
  return handles_.erase(key) ? kErrorSuccess : kErrorInvalidHandle;
}

void FileRegistry::Parse(std::string_view text, std::string_view where) {
  RegParser(*this, text, where).Run();
}

std::shared_ptr<FileRegistry> FileRegistry::Load(const fs::path& path) {
  auto reg = std::make_shared<FileRegistry>();
  std::string text = ReadWholeFile(path);
  reg->Parse(text, path.string());
  reg->SetFolder(path.parent_path().empty() ? fs::path(".") : path.parent_path());
  return reg;
}

std::shared_ptr<Registry> OpenRegistryFile(const fs::path& path) {
  return FileRegistry::Load(path);
}

std::shared_ptr<Registry> OpenRegistryInUse(const fs::path& fallback) {
  if (const char* r = std::getenv("KXEXPR_REGISTRY"); r && *r) return FileRegistry::Load(r);
  if (std::shared_ptr<Registry> system = OpenSystemRegistry()) return system;
  std::vector<fs::path> candidates;
  if (const char* p = std::getenv("WINEPREFIX"); p && *p)
    candidates.push_back(fs::path(p) / "system.reg");
  if (const char* h = std::getenv("HOME"); h && *h)
    candidates.push_back(fs::path(h) / ".wine" / "system.reg");
  if (!fallback.empty()) candidates.push_back(fallback);
  for (const fs::path& c : candidates)
    if (FileExists(c)) return FileRegistry::Load(c);
  return std::make_shared<FileRegistry>();
}

uint32_t ExpandEnvironmentStringsA(std::string_view source, char* destination, uint32_t size) {
  std::string out;
  size_t i = 0;
  while (i < source.size()) {
    size_t open = source.find('%', i);
    if (open == std::string_view::npos) {
      out.append(source.substr(i));
      break;
    }
    size_t close = source.find('%', open + 1);
    if (close == std::string_view::npos) {
      out.append(source.substr(i));
      break;
    }
    out.append(source.substr(i, open - i));
    std::string name(source.substr(open + 1, close - open - 1));
    const char* value = name.empty() ? nullptr : std::getenv(name.c_str());
    if (value) {
      out.append(value);
      i = close + 1;
    } else {
      // Unknown: keep "%NAME" and look again from the closing percent sign.
      out.append(source.substr(open, close - open));
      i = close;
    }
  }
  uint32_t needed = static_cast<uint32_t>(out.size() + 1);
  if (destination && size >= needed) std::memcpy(destination, out.c_str(), needed);
  return needed;
}

int32_t QueryValueEx(Registry& registry, HKEY key, std::string_view value_name, RegValue& value) {
  try {
    uint32_t type = 0, size = 0;
    int32_t result = registry.RegQueryValueExA(key, value_name, nullptr, &type, nullptr, &size);
    if (result != kErrorSuccess) return result;
    switch (type) {
      case kRegSz: {
        std::string buffer(255, '\0');
        size = 255;
        result = registry.RegQueryValueExA(key, value_name, nullptr, &type,
                                           reinterpret_cast<uint8_t*>(buffer.data()), &size);
        if (result == kErrorSuccess) value = buffer.substr(0, size ? size - 1 : 0);
        break;
      }
      case kRegExpandSz: {
        std::string buffer(size, '\0');
        result = registry.RegQueryValueExA(key, value_name, nullptr, &type,
                                           reinterpret_cast<uint8_t*>(buffer.data()), &size);
        if (result == kErrorSuccess) {
          std::string text = buffer.substr(0, size ? size - 1 : 0);
          char probe[1];
          uint32_t needed = ExpandEnvironmentStringsA(text, probe, 1);
          std::string expanded(needed, '\0');
          ExpandEnvironmentStringsA(text, expanded.data(), needed);
          value = expanded.substr(0, expanded.find('\0'));
        }
        break;
      }
      case kRegDword: {
        uint8_t bytes[4] = {};
        size = 4;
        result = registry.RegQueryValueExA(key, value_name, nullptr, &type, bytes, &size);
        if (result == kErrorSuccess)
          value = static_cast<int32_t>(bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) |
                                       (static_cast<uint32_t>(bytes[3]) << 24));
        break;
      }
      default:
        break;
    }
    return result;
  } catch (...) {
    ReportError("QueryValueEx(regcode)");
    return kErrorSuccess;
  }
}

std::string GetKXTypeLibPath(Registry& registry) {
  try {
    HKEY key = 0;
    uint32_t disposition = 0;
    int32_t result = registry.RegCreateKeyExA(
        kHkeyClassesRoot, "CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}\\InprocServer32", 0, "", 0,
        0x3F, nullptr, &key, &disposition);
    if (result != kErrorSuccess) return {};
    RegValue value;
    QueryValueEx(registry, key, "", value);
    registry.RegCloseKey(key);
    if (auto* s = std::get_if<std::string>(&value)) return LowerCase(*s);
    return {};
  } catch (...) {
    return {};
  }
}

}  // namespace kx
