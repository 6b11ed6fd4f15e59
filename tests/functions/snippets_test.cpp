#include <gtest/gtest.h>

#include <set>

#include "functions/snippets.h"

namespace kx {
namespace {

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
