// Any bytes: the checker must end, without a crash, and every error it reports must point
// inside the text at the line and column its position says.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/checker_parser.h"

// Decodes the code point and checks its range, rather than the byte ranges the checker uses.
static size_t WellFormedLength(std::string_view text, size_t i) {
  unsigned char c = static_cast<unsigned char>(text[i]);
  size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
  if (n == 1 || c > 0xF7 || i + n > text.size()) return 1;
  uint32_t cp = c & (0x7F >> n);
  for (size_t k = 1; k < n; ++k) {
    unsigned char d = static_cast<unsigned char>(text[i + k]);
    if ((d & 0xC0) != 0x80) return 1;
    cp = cp << 6 | (d & 0x3F);
  }
  static const uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kLeast[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 1;
  return n;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  auto errors = kx::host::CheckExpressionSyntax(text);
  int32_t previous = 0;
  for (const kx::host::SyntaxError& e : errors) {
    if (e.message.empty() || e.start < 1 || e.length < 0 || e.line < 1 || e.column < 1) abort();
    if (static_cast<size_t>(e.start) + static_cast<size_t>(e.length) > size + 1) abort();
    if (e.start < previous) abort();  // in order of position
    previous = e.start;
    // Recount line and column up to the start; line breaks are CR LF, LF or CR, and a
    // continued line (" _" at its end) keeps its own number.
    size_t line = 1, line_start = 0;
    for (size_t i = 0; i + 1 < static_cast<size_t>(e.start); ++i) {
      if (text[i] == '\r' && i + 1 < size && text[i + 1] == '\n') continue;
      if (text[i] == '\r' || text[i] == '\n') {
        ++line;
        line_start = i + 1;
      }
    }
    if (static_cast<size_t>(e.line) != line) abort();
    // The column counts characters: a well-formed UTF-8 sequence once, any other byte once.
    size_t column = 1;
    for (size_t i = line_start; i + 1 < static_cast<size_t>(e.start); ++column)
      i += WellFormedLength(text, i);
    if (static_cast<size_t>(e.column) != column) abort();
  }
  return 0;
}
