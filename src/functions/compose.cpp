#include "functions/compose.h"

#include "functions/snippets.h"
#include "runtime/text.h"

namespace kx {

std::string AdjustFunctionName(std::string_view name) {
  if (InStr(name, "_") > 0)
    return std::string(Left(name, static_cast<int64_t>(name.size()) - 7)) + "$";
  if (Right(name, 2) == "KX") return std::string(Left(name, static_cast<int64_t>(name.size()) - 2));
  return std::string(name);
}

DescriptionParts SplitDescription(std::string_view description) {
  size_t at = description.find(';');
  if (at == std::string_view::npos) return {std::string(description), {}};
  return {std::string(description.substr(0, at)), std::string(description.substr(at + 1))};
}

std::string ParameterTextForRow(std::string_view parameters, int row) {
  if (row < 0) return {};
  std::vector<std::string> pieces = Split(parameters, ";");
  return static_cast<size_t>(row) < pieces.size() ? pieces[static_cast<size_t>(row)]
                                                  : std::string();
}

namespace {

const std::string& Value(const FunctionInfo& info, size_t i) {
  return info.Arguments[i].Default;
}

}  // namespace

std::string ComposeFunctionResult(const FunctionInfo& info) {
  std::string name = AdjustFunctionName(info.Name);
  if (InStr(name, "...") == 0) {
    std::string call_name = name;
    if (int64_t k = InStr(name, "("); k > 0) call_name = std::string(Left(name, k - 2));
    std::string result = call_name + "(";
    for (size_t i = 0; i < static_cast<size_t>(info.ArgumentCount); ++i) {
      const ArgumentInfo& a = info.Arguments.at(i);
      if (!a.Required && (a.Default.empty() || a.Default == a.Name)) break;
      if (i > 0) result += ", ";
      result += a.Default;
    }
    return result + ")";
  }
  if (name == "For...Next")
    return BuildForNextTag(Value(info, 0), Value(info, 1), Value(info, 2), Value(info, 3),
                           Value(info, 4));
  if (name == "If...Then...Else")
    return BuildIfThenElseTag(Value(info, 0), Value(info, 1), Value(info, 2));
  if (name == "Select Case...End Select")
    return BuildSelectCaseTag(Value(info, 0), Value(info, 1), Value(info, 2), Value(info, 3),
                              Value(info, 4));
  if (name == "While...Wend") return BuildWhileWendTag(Value(info, 0), Value(info, 1));
  return {};
}

}  // namespace kx
