#include "host/conversion_locate.h"

#include <cstdint>

namespace kx::host {

namespace {

class Scanner {
 public:
  explicit Scanner(std::string_view text) : s_(text) {}

  size_t pos = 0;

  bool AtEnd() const { return pos >= s_.size(); }
  char Peek() const { return AtEnd() ? '\0' : s_[pos]; }

  void SkipSpace() {
    while (!AtEnd() && (s_[pos] == ' ' || s_[pos] == '\t' || s_[pos] == '\n' || s_[pos] == '\r'))
      ++pos;
  }

  // Reads a string at pos (which holds the opening quote) and decodes its escapes.
  bool ReadString(std::string* out) {
    if (Peek() != '"') return false;
    ++pos;
    while (!AtEnd()) {
      char c = s_[pos++];
      if (c == '"') return true;
      if (c != '\\') {
        if (out) *out += c;
        continue;
      }
      if (AtEnd()) return false;
      char e = s_[pos++];
      switch (e) {
        case 'b':
          Put(out, '\b');
          break;
        case 'f':
          Put(out, '\f');
          break;
        case 'n':
          Put(out, '\n');
          break;
        case 'r':
          Put(out, '\r');
          break;
        case 't':
          Put(out, '\t');
          break;
        case 'u': {
          uint32_t cp = 0;
          if (!Hex4(&cp)) return false;
          if (cp >= 0xD800 && cp <= 0xDBFF && pos + 1 < s_.size() && s_[pos] == '\\' &&
              s_[pos + 1] == 'u') {
            pos += 2;
            uint32_t low = 0;
            if (!Hex4(&low)) return false;
            cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          }
          if (out) AppendUtf8(out, cp);
          break;
        }
        default:
          Put(out, e);
          break;
      }
    }
    return false;
  }

  // Skips one value of any kind; false when the text ends or breaks.
  bool SkipValue() {
    SkipSpace();
    if (AtEnd()) return false;
    char c = Peek();
    if (c == '"') return ReadString(nullptr);
    if (c != '{' && c != '[') {
      while (!AtEnd() && std::string_view(",]} \t\r\n").find(s_[pos]) == std::string_view::npos)
        ++pos;
      return true;
    }
    int depth = 0;
    while (!AtEnd()) {
      char d = s_[pos];
      if (d == '"') {
        if (!ReadString(nullptr)) return false;
        continue;
      }
      ++pos;
      if (d == '{' || d == '[') ++depth;
      if (d == '}' || d == ']') {
        if (--depth == 0) return true;
      }
    }
    return false;
  }

 private:
  static void Put(std::string* out, char c) {
    if (out) *out += c;
  }
  bool Hex4(uint32_t* cp) {
    if (pos + 4 > s_.size()) return false;
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) {
      char h = s_[pos++];
      v <<= 4;
      if (h >= '0' && h <= '9')
        v |= static_cast<uint32_t>(h - '0');
      else if (h >= 'a' && h <= 'f')
        v |= static_cast<uint32_t>(h - 'a' + 10);
      else if (h >= 'A' && h <= 'F')
        v |= static_cast<uint32_t>(h - 'A' + 10);
      else
        return false;
    }
    *cp = v;
    return true;
  }
  static void AppendUtf8(std::string* out, uint32_t cp) {
    if (cp < 0x80) {
      *out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      *out += static_cast<char>(0xC0 | (cp >> 6));
      *out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      *out += static_cast<char>(0xE0 | (cp >> 12));
      *out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      *out += static_cast<char>(0xF0 | (cp >> 18));
      *out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      *out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }

  std::string_view s_;
};

// Moves the scanner from the container at pos to the start of the member or element
// `step`; false when there is none.
bool Enter(Scanner& sc, const PathStep& step) {
  sc.SkipSpace();
  if (const std::string_view* key = std::get_if<std::string_view>(&step)) {
    if (sc.Peek() != '{') return false;
    ++sc.pos;
    size_t found = std::string::npos;
    for (;;) {
      sc.SkipSpace();
      if (sc.Peek() == '}' || sc.AtEnd()) break;
      std::string name;
      if (!sc.ReadString(&name)) return false;
      sc.SkipSpace();
      if (sc.Peek() != ':') return false;
      ++sc.pos;
      sc.SkipSpace();
      // The last of repeated members is the one a reader keeps.
      if (name == *key) found = sc.pos;
      if (!sc.SkipValue()) break;
      sc.SkipSpace();
      if (sc.Peek() != ',') break;
      ++sc.pos;
    }
    if (found == std::string::npos) return false;
    sc.pos = found;
    return true;
  }
  size_t index = std::get<size_t>(step);
  if (sc.Peek() != '[') return false;
  ++sc.pos;
  for (size_t i = 0;; ++i) {
    sc.SkipSpace();
    if (sc.Peek() == ']' || sc.AtEnd()) return false;
    if (i == index) return true;
    if (!sc.SkipValue()) return false;
    sc.SkipSpace();
    if (sc.Peek() != ',') return false;
    ++sc.pos;
  }
}

}  // namespace

TextLocation LocationOf(std::string_view text, size_t offset) {
  if (offset > text.size()) offset = text.size();
  TextLocation loc;
  for (size_t i = 0; i < offset; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\n') {
      ++loc.line;
      loc.column = 1;
    } else if ((c & 0xC0) != 0x80) {
      ++loc.column;
    }
  }
  return loc;
}

size_t LocateValue(std::string_view text, const std::vector<PathStep>& path) {
  Scanner sc(text);
  sc.SkipSpace();
  size_t best = sc.pos;
  for (const PathStep& step : path) {
    if (!Enter(sc, step)) return best;
    sc.SkipSpace();
    best = sc.pos;
  }
  return best;
}

size_t LocateMemberKey(std::string_view text, const std::vector<PathStep>& object_path,
                       std::string_view key, size_t occurrence) {
  Scanner sc(text);
  sc.pos = LocateValue(text, object_path);
  if (sc.Peek() != '{') return std::string::npos;
  ++sc.pos;
  for (;;) {
    sc.SkipSpace();
    if (sc.Peek() != '"') return std::string::npos;
    const size_t at = sc.pos;
    std::string name;
    if (!sc.ReadString(&name)) return std::string::npos;
    if (name == key && occurrence-- == 0) return at;
    sc.SkipSpace();
    if (sc.Peek() != ':') return std::string::npos;
    ++sc.pos;
    if (!sc.SkipValue()) return std::string::npos;
    sc.SkipSpace();
    if (sc.Peek() != ',') return std::string::npos;
    ++sc.pos;
  }
}

std::string PathText(const std::vector<PathStep>& path) {
  std::string out;
  for (const PathStep& step : path) {
    if (const std::string_view* key = std::get_if<std::string_view>(&step)) {
      if (!out.empty()) out += '.';
      out += *key;
    } else {
      out += '[' + std::to_string(std::get<size_t>(step)) + ']';
    }
  }
  return out.empty() ? std::string("(document)") : out;
}

}  // namespace kx::host
