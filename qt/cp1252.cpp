#include "qt/cp1252.h"

#include <array>
#include <unordered_map>

namespace kx::qt {

namespace {

// 0x80..0x9F; the holes (0x81, 0x8D, 0x8F, 0x90, 0x9D) keep their own code point.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

const std::unordered_map<char16_t, char>& Reverse() {
  static const std::unordered_map<char16_t, char> map = [] {
    std::unordered_map<char16_t, char> m;
    for (size_t i = 0; i < kHigh.size(); ++i) m[kHigh[i]] = static_cast<char>(0x80 + i);
    return m;
  }();
  return map;
}

}  // namespace

// Latin-1 but for 0x80..0x9F; a whole expression is mostly ASCII, which Qt's widening and
// a test of the high bits that the compiler vectorises get through far faster than a table.
QString ToQt(std::string_view bytes) {
  QString text = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
  unsigned char high = 0;
  for (char c : bytes) high |= static_cast<unsigned char>(c);
  if (high < 0x80) return text;
  QChar* out = text.data();
  for (char c : bytes) {
    auto b = static_cast<unsigned char>(c);
    if (b >= 0x80 && b < 0xA0) *out = QChar(kHigh[b - 0x80]);
    ++out;
  }
  return text;
}

std::string FromQt(const QString& text) {
  std::string bytes;
  bytes.reserve(static_cast<size_t>(text.size()));
  for (QChar ch : text) {
    char16_t u = ch.unicode();
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) {
      bytes.push_back(static_cast<char>(u));
      continue;
    }
    auto it = Reverse().find(u);
    bytes.push_back(it != Reverse().end() ? it->second : '?');
  }
  return bytes;
}

}  // namespace kx::qt
