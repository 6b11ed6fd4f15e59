#include "host/checker_object.h"

namespace kx::host {

void BasicCompiler::Check(const std::string& text) {
  errors_ = CheckExpressionSyntax(text);
}

std::string BasicCompiler::ErrorText() const {
  return errors_.empty() ? std::string() : errors_.front().message;
}

int32_t BasicCompiler::ErrorStart() const {
  return errors_.empty() ? 0 : errors_.front().start;
}

int32_t BasicCompiler::ErrorLength() const {
  return errors_.empty() ? 0 : errors_.front().length;
}

}  // namespace kx::host
