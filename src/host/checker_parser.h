#pragma once
// The syntax checker of the expression language: finds every error of a text, recovering
// at the next line after each one.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx::host {

struct SyntaxError {
  std::string message;  // what was expected and what was found
  int32_t start = 0;    // 1-based byte position in the text: what the editor selects
  int32_t length = 0;   // in bytes; 0 when the error is at the end of a line or of the text
  int32_t line = 0;     // 1-based
  int32_t column = 0;   // 1-based, in characters of that line as a person counts them
};

// Parentheses, calls, unary operators and single-line Ifs may nest this deep; deeper
// nesting is an error rather than a risk to the stack. Blocks nest without limit.
constexpr int kMaxExpressionDepth = 256;

// A text that is wrong on nearly every line would otherwise cost memory in proportion to
// its size; past this many errors checking stops with a last error saying so.
constexpr size_t kMaxReportedErrors = 1000;

// Every error of `text` in order of position (at most `max_errors`, then one more that says
// checking stopped); empty when the text is valid.
std::vector<SyntaxError> CheckExpressionSyntax(std::string_view text,
                                               size_t max_errors = kMaxReportedErrors);

}  // namespace kx::host
