#include <gtest/gtest.h>

#include <set>

#include "functions/compose.h"
#include "functions/function_info.h"
#include "functions/snippets.h"

namespace kx {
namespace {

FunctionInfo Lookup(const std::string& name, int32_t help = 0) {
  FunctionInfo info;
  info.Name = name;
  info.HelpContextID = help;
  GetFunctionInfo(info);
  return info;
}

// Their order and the blank slot show in the palette's grid.
TEST(Catalogue, EveryConstructIsDescribed) {
  ConstructList list = BuildFunctionLists();
  for (size_t i = 0; i < 10; ++i) EXPECT_NE(Lookup(list[i]).Description, "<Unknown>") << list[i];
}

TEST(Catalogue, KeptOddities) {
  FunctionInfo on_goto = Lookup("On Error GoTo"), on_next = Lookup("On Error Resume Next");
  EXPECT_EQ(on_goto.HelpContextID, 4099);
  EXPECT_EQ(on_next.HelpContextID, 4099);
  EXPECT_EQ(on_next.Syntax, "On Error GoTo Resume Next");
  EXPECT_EQ(on_next.ArgumentCount, 0);
  const std::string if_text = Lookup("If...Then...Else").Description;
  EXPECT_EQ(Lookup("Select Case...End Select").Description, if_text);
  EXPECT_EQ(Lookup("While...Wend").Description, if_text);
  EXPECT_EQ(Lookup("For...Next").Syntax,
            "For counter = start to end [Step incr]\r\n  statement block\r\nNext counter");
}

TEST(Catalogue, ArgumentsAsTabled) {
  FunctionInfo f = Lookup("For...Next");
  ASSERT_EQ(f.ArgumentCount, 5);
  EXPECT_EQ(f.Arguments[1].Name, "start");
  EXPECT_EQ(f.Arguments[1].Kind, 7);
  EXPECT_EQ(f.Arguments[2].Default, "100");
  EXPECT_FALSE(f.Arguments[3].Required);
  EXPECT_EQ(f.Arguments[4].Default, "[statement block]");
  FunctionInfo r = Lookup("Return");
  ASSERT_EQ(r.ArgumentCount, 1);
  EXPECT_FALSE(r.Arguments[0].Required);
  FunctionInfo s = Lookup("Select Case...End Select");
  EXPECT_TRUE(s.Arguments[3].Required);
  EXPECT_EQ(s.Arguments[3].Name, "val2");
}

TEST(Catalogue, UnknownNames) {
  FunctionInfo lower = Lookup("for...next", 77);
  EXPECT_EQ(lower.HelpContextID, 77);  // left as the caller set it
  EXPECT_EQ(lower.ArgumentCount, 0);
  EXPECT_EQ(Lookup("  Foo ").Syntax, "Foo(???)");
}

TEST(Compose, NameAdjustmentsAndDescriptionSplit) {
  EXPECT_EQ(AdjustFunctionName("GetObjectKX"), "GetObject");  // "_Dollar" in the calls below
  DescriptionParts parts = SplitDescription("Returns text;the string;how many");
  EXPECT_EQ(parts.description, "Returns text");
  EXPECT_EQ(parts.parameters, "the string;how many");
  EXPECT_EQ(ParameterTextForRow(parts.parameters, 1), "how many");
  EXPECT_EQ(ParameterTextForRow(parts.parameters, 2), "");
  EXPECT_EQ(SplitDescription("plain").parameters, "");
}

FunctionInfo Call(const std::string& name,
                  std::vector<std::tuple<std::string, bool, std::string>> args) {
  FunctionInfo info;
  info.Name = name;
  info.ArgumentCount = static_cast<int16_t>(args.size());
  for (size_t i = 0; i < args.size(); ++i) {
    info.Arguments[i].Name = std::get<0>(args[i]);
    info.Arguments[i].Required = std::get<1>(args[i]);
    info.Arguments[i].Default = std::get<2>(args[i]);
  }
  return info;
}

TEST(Compose, CallsStopAtTheFirstUnsetOptionalArgument) {
  EXPECT_EQ(ComposeFunctionResult(Call("Abs", {{"number", true, "5"}})), "Abs(5)");
  EXPECT_EQ(ComposeFunctionResult(Call("Mid_Dollar", {{"string", true, "[Name]"},
                                                      {"start", true, "2"},
                                                      {"length", false, "length"},
                                                      {"extra", false, "9"}})),
            "Mid$([Name], 2)");
  EXPECT_EQ(ComposeFunctionResult(Call("InStr", {{"start", false, ""}, {"s", true, "x"}})),
            "InStr()");
  EXPECT_EQ(
      ComposeFunctionResult(Call(
          "DateAdd", {{"interval", true, "\"d\""}, {"number", false, "3"}, {"date", true, "Now"}})),
      "DateAdd(\"d\", 3, Now)");
  // A name with a parameter list is cut two characters before its "(".
  EXPECT_EQ(ComposeFunctionResult(Call("Now ()", {})), "Now()");
  // Bare constructs are composed as calls, as the dialog always has.
  FunctionInfo go = Lookup("GoTo");
  go.Arguments[0].Default = "done";
  EXPECT_EQ(ComposeFunctionResult(go), "GoTo(done)");
  EXPECT_EQ(ComposeFunctionResult(Lookup("Return")), "Return()");
}

TEST(Compose, ConstructsUseTheSnippetBuilders) {
  FunctionInfo f = Lookup("For...Next");
  f.Arguments[3].Default = "";
  f.Arguments[4].Default = "";
  EXPECT_EQ(ComposeFunctionResult(f), "For counter = 1 to 100\r\nNext 'counter");
  FunctionInfo w = Lookup("While...Wend");
  w.Arguments[0].Default = "i < 3";
  EXPECT_EQ(ComposeFunctionResult(w), "While i < 3\r\n  [statement block1]\r\nWend");
  FunctionInfo unknown;
  unknown.Name = "Do...Loop";
  EXPECT_EQ(ComposeFunctionResult(unknown), "");
}

TEST(Operators, BlanksAroundAllButParentheses) {
  size_t count = 0;
  const OperatorButton* buttons = OperatorButtons(count);
  ASSERT_EQ(count, 19u);
  std::set<std::string_view> controls;
  for (size_t i = 0; i < count; ++i) {
    std::string_view text = buttons[i].text;
    controls.insert(buttons[i].control);
    if (text == "(" || text == ")") continue;
    EXPECT_EQ(text.front(), ' ') << buttons[i].control;
    EXPECT_EQ(text.back(), ' ') << buttons[i].control;
  }
  EXPECT_EQ(controls.size(), count);
  EXPECT_EQ(OperatorText("cmdNope"), "");
}

// Bodies are indented; an empty part leaves its line out.
TEST(Snippets, BuildersIndentBodiesAndLeaveEmptyPartsOut) {
  EXPECT_EQ(BuildIfThenElseTag("a = 1", "x", "y"), "If a = 1 Then\r\n  x\r\nElse\r\n  y\r\nEnd if");
  EXPECT_EQ(BuildIfThenElseTag("c", "", ""), "If c Then\r\nElse\r\nEnd if");
  EXPECT_EQ(BuildIfThenElseTag("c", "", "y"), "If c Then\r\nElse\r\n  y\r\nEnd if");
  EXPECT_EQ(BuildWhileWendTag("i < 3", ""), "While i < 3\r\nWend");
  EXPECT_EQ(BuildWhileWendTag("i < 3", "i = i + 1"), "While i < 3\r\n  i = i + 1\r\nWend");
  EXPECT_EQ(BuildSelectCaseTag("x", "1", "a", "2", ""),
            "Select Case x\r\n  Case 1\r\n    a\r\n  Case 2\r\nEnd Select");
  EXPECT_EQ(BuildSelectCaseTag("x", "", "", "", ""),
            "Select Case x\r\n  Case \r\n  Case \r\nEnd Select");
  EXPECT_EQ(BuildForNextTag("i", "1", "10", "", ""), "For i = 1 to 10\r\nNext 'i");
  EXPECT_EQ(BuildForNextTag("i", "10", "1", "-1", "s = s & i"),
            "For i = 10 to 1 Step -1\r\n    s = s & i\r\nNext 'i");
}

}  // namespace
}  // namespace kx
