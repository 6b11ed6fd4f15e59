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
  int32_t start = 0;    // 1-based character position in the text
  int32_t length = 0;   // 0 when the error is at the end of a line or of the text
  int32_t line = 0;     // 1-based
  int32_t column = 0;   // 1-based, in characters of that line
};

// Parentheses, calls, unary operators and single-line Ifs may nest this deep; deeper
// nesting is an error rather than a risk to the stack. Blocks nest without limit.
constexpr int kMaxExpressionDepth = 256;

// Every error of `text` in order of position; empty when the text is valid.
std::vector<SyntaxError> CheckExpressionSyntax(std::string_view text);

}  // namespace kx::host
