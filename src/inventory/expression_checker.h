#pragma once
// What Validate needs from a checker of the expression language. The host supplies one
// (the target's "BasicCompiler"); the bundled host implements it.

#include <cstdint>
#include <memory>
#include <string>

namespace kx {

class ExpressionChecker {
 public:
  virtual ~ExpressionChecker() = default;
  // Checks `text`; the results below describe its first error.
  virtual void Check(const std::string& text) = 0;
  // The first error's message; empty when the text is valid.
  virtual std::string ErrorText() const = 0;
  // The first error's 1-based character position in the text, and its length.
  virtual int32_t ErrorStart() const = 0;
  virtual int32_t ErrorLength() const = 0;
};

}  // namespace kx
