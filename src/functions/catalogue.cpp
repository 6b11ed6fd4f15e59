#include <string_view>

#include "functions/function_info.h"
#include "runtime/text.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr std::string_view kConditionalDescription =
    "Expression language construct used for conditional execution of one or more statements.  "
    "See on-line help for more details.";
constexpr std::string_view kStatementsDescription = "One or more expression language statements.";

struct ArgumentRow {
  std::string_view name, description;
  bool required;
  int16_t kind;
  std::string_view default_value;
};

struct ConstructRow {
  std::string_view name;
  int32_t help;
  std::string_view description;
  std::string_view syntax;
  std::array<ArgumentRow, 5> arguments;
  int16_t argument_count;
};

const ConstructRow kConstructs[] = {
    {"For...Next",
     4058,
     "Expression language construct used for executing one or more statements, a fixed number "
     "of times.  See on-line help for more details.",
     "For counter = start to end [Step incr]\r\n  statement block\r\nNext counter",
     {{{"counter", "A numeric variable that can be incremented/decremented.", true, 0, "counter"},
       {"start", "A numeric constant or a numeric variable.", true, 7, "1"},
       {"end", "A numeric constant or numeric variable.", true, 7, "100"},
       {"incr",
        "A positive or negative numeric constant or a numeric variable containing a positive "
        "or negative value.",
        false, 7, "1"},
       {"statement block", kStatementsDescription, false, 7, "[statement block]"}}},
     5},
    {"GoTo",
     4064,
     "Flow control statement that forces code execution to the string label name.",
     "GoTo label",
     {{{"label", "Any valid string expression.", true, 0, "label"}}},
     1},
    {"If...Then...Else",
     4067,
     kConditionalDescription,
     "If condition then\r\n  statement block1\r\nElse\r\n  statement block2\r\nEnd if",
     {{{"condition", "A numeric or string expression that evaluates to either true or false.", true,
        0, "condition"},
       {"statement block1", kStatementsDescription, false, 0, "[statement block1]"},
       {"statement block2", kStatementsDescription, false, 0, "[statement block2]"}}},
     3},
    {"On Error GoTo",
     4099,
     "Causes a trappable runtime error to jump to a label.",
     "On Error GoTo errlabel",
     {{{"errlabel", "A string name, beginning in column 1 and ending with a colon.", true, 0,
        "errlabel"}}},
     1},
    // Shares its help topic with "On Error GoTo", and its syntax really reads "GoTo Resume".
    {"On Error Resume Next",
     4099,
     "Causes a trappable runtime error to jump to the next line.",
     "On Error GoTo Resume Next",
     {},
     0},
    {"Resume",
     4104,
     "This statement, executed while in the body of an error handler, will cause execution to "
     "branch back to the beginning of the statement in which the runtime error occurred.",
     "Resume",
     {},
     0},
    {"Resume Next",
     4105,
     "This statement, executed while in the body of an error handler, will cause execution to "
     "branch back to the line after the statement in which the runtime error occurred.",
     "Resume Next",
     {},
     0},
    {"Return",
     4106,
     "Allows processing in the main module of an expression to return early.",
     "Return value",
     {{{"value", "Any valid expression.", false, 0, "value"}}},
     1},
    // This one and "While...Wend" reuse the If construct's description.
    {"Select Case...End Select",
     4112,
     kConditionalDescription,
     "Select Case string\r\n  Case val1 (one or more)\r\n    statement block1 (one or "
     "more)\r\nEnd Select",
     {{{"condition", "A numeric or string expression.", true, 0, "condition"},
       {"val1", "A numeric or string constant.", true, 7, "val1"},
       {"statement block1", kStatementsDescription, false, 0, "[statement block1]"},
       {"val2", "A numeric or string constant.", true, 7, "val2"},
       {"statement block2", kStatementsDescription, false, 0, "[statement block2]"}}},
     5},
    {"While...Wend",
     4134,
     kConditionalDescription,
     "While condition\r\n  statement block1\r\nWend",
     {{{"condition", "A numeric or string expression that evaluates to true or false.", true, 0,
        "condition"},
       {"statement block1", kStatementsDescription, false, 0, "[statement block1]"}}},
     2},
};

}  // namespace

ConstructList BuildFunctionLists() {
  ConstructList list;
  try {
    for (size_t i = 0; i < std::size(kConstructs); ++i) list[i] = kConstructs[i].name;
  } catch (...) {
    ReportError("BuildFunctionLists(funcbld)");
  }
  return list;
}

void GetFunctionInfo(FunctionInfo& info) {
  try {
    for (const ConstructRow& row : kConstructs) {
      if (info.Name != row.name) continue;
      info.Origin.clear();
      info.Description = row.description;
      info.HelpContextID = row.help;
      info.Syntax = row.syntax;
      info.ArgumentCount = row.argument_count;
      for (int16_t i = 0; i < row.argument_count; ++i) {
        const ArgumentRow& a = row.arguments[static_cast<size_t>(i)];
        info.Arguments[static_cast<size_t>(i)] = {std::string(a.name), std::string(a.description),
                                                  a.required, a.kind, std::string(a.default_value)};
      }
      return;
    }
    info.Origin.clear();
    info.Description = "<Unknown>";
    info.Syntax = std::string(Trim(info.Name)) + "(???)";
    info.ArgumentCount = 0;
  } catch (...) {
    ReportError("GetFunctionInfo(funcbld)");
  }
}

bool IsConstructName(const std::string& name) {
  static constexpr std::string_view kBare[] = {"GoTo",   "On Error GoTo", "On Error Resume Next",
                                               "Resume", "Resume Next",   "Return"};
  if (name.find("...") != std::string::npos) return true;
  for (std::string_view bare : kBare)
    if (name == bare) return true;
  return false;
}

}  // namespace kx
