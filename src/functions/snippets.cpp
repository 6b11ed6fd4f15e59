#include "functions/snippets.h"

#include <iterator>

#include "runtime/text.h"
#include "ui/report.h"

namespace kx {

namespace {

const OperatorButton kButtons[] = {
    {"cmdAmpersand", " & "},   {"cmdAnd", " And "},      {"cmdContains", " ~ "},
    {"cmdEqual", " = "},       {"cmdGreater", " > "},    {"cmdGreaterEqual", " >= "},
    {"cmdLess", " < "},        {"cmdLessEqual", " <= "}, {"cmdLike", " Like "},
    {"cmdLParen", "("},        {"cmdMinus", " - "},      {"cmdNot", " Not "},
    {"cmdNotContain", " !~ "}, {"cmdNotEqual", " <> "},  {"cmdOr", " Or "},
    {"cmdPlus", " + "},        {"cmdRParen", ")"},       {"cmdSlash", " / "},
    {"cmdStar", " * "},
};

// Appends `indent + part + CR LF` unless the part is empty.
void AppendOptional(std::string& text, std::string_view indent, const std::string& part) {
  if (part.empty()) return;
  text.append(indent).append(part).append(kCrLf);
}

}  // namespace

const OperatorButton* OperatorButtons(size_t& count) {
  count = std::size(kButtons);
  return kButtons;
}

std::string_view OperatorText(std::string_view control) {
  for (const OperatorButton& b : kButtons)
    if (b.control == control) return b.text;
  return {};
}

std::string BuildIfThenElseTag(const std::string& condition, const std::string& then_part,
                               const std::string& else_part) {
  std::string text;
  try {
    text.append("If ").append(condition).append(" Then").append(kCrLf);
    AppendOptional(text, "  ", then_part);
    text.append("Else").append(kCrLf);
    AppendOptional(text, "  ", else_part);
    text.append("End if");
  } catch (...) {
    ReportError("BuildIfThenElseTag(expressn)");
  }
  return text;
}

std::string BuildWhileWendTag(const std::string& condition, const std::string& body) {
  std::string text;
  try {
    text.append("While ").append(condition).append(kCrLf);
    AppendOptional(text, "  ", body);
    text.append("Wend");
  } catch (...) {
    ReportError("BuildWhileWendTag(expressn)");
  }
  return text;
}

std::string BuildSelectCaseTag(const std::string& test, const std::string& case1,
                               const std::string& body1, const std::string& case2,
                               const std::string& body2) {
  std::string text;
  try {
    text.append("Select Case ").append(test).append(kCrLf);
    text.append("  Case ").append(case1).append(kCrLf);
    AppendOptional(text, "    ", body1);
    text.append("  Case ").append(case2).append(kCrLf);
    AppendOptional(text, "    ", body2);
    text.append("End Select");
  } catch (...) {
    ReportError("BuildSelectCaseTag(expressn)");
  }
  return text;
}

std::string BuildForNextTag(const std::string& counter, const std::string& start,
                            const std::string& end, const std::string& step,
                            const std::string& body) {
  std::string text;
  try {
    text.append("For ").append(counter).append(" = ").append(start).append(" to ").append(end);
    if (!step.empty()) text.append(" Step ").append(step);
    text.append(kCrLf);
    AppendOptional(text, "    ", body);
    text.append("Next '").append(counter);
  } catch (...) {
    ReportError("BuildForNextTag(expressn)");
  }
  return text;
}

}  // namespace kx
