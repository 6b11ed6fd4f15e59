#pragma once
// The bundled host's checker object: what Validate talks to when the host has no checker
// of its own, and what `kxexpr check` uses.

#include <vector>

#include "host/checker_parser.h"
#include "inventory/expression_checker.h"

namespace kx::host {

class BasicCompiler : public ExpressionChecker {
 public:
  void Check(const std::string& text) override;
  std::string ErrorText() const override;
  int32_t ErrorStart() const override;
  int32_t ErrorLength() const override;

  // Every error of the last text checked, in order of position.
  const std::vector<SyntaxError>& Errors() const { return errors_; }

 private:
  std::vector<SyntaxError> errors_;
};

}  // namespace kx::host
