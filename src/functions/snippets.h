#pragma once
// Text the operator pad inserts and the four flow-control snippet builders.

#include <string>
#include <string_view>

namespace kx {

struct OperatorButton {
  std::string_view control;  // e.g. "cmdAmpersand"
  std::string_view text;     // exactly what goes in at the caret
};

// Every operator button in the pad, in alphabetical order of the control name.
const OperatorButton* OperatorButtons(size_t& count);
// The inserted text of a button by control name; empty when there is no such button.
std::string_view OperatorText(std::string_view control);

// Optional parts (an empty argument) are left out together with their line break; lines
// are joined by CR LF and the last line has none.
std::string BuildIfThenElseTag(const std::string& condition, const std::string& then_part,
                               const std::string& else_part);
std::string BuildWhileWendTag(const std::string& condition, const std::string& body);
std::string BuildSelectCaseTag(const std::string& test, const std::string& case1,
                               const std::string& body1, const std::string& case2,
                               const std::string& body2);
std::string BuildForNextTag(const std::string& counter, const std::string& start,
                            const std::string& end, const std::string& step,
                            const std::string& body);

}  // namespace kx
