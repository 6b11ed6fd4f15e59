// Any bytes: the checker must end, without a crash, and every error it reports must point
// inside the text at the line and column its position says.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/checker_parser.h"

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
    if (static_cast<size_t>(e.column) != e.start - line_start) abort();
  }
  return 0;
}
