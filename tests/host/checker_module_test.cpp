// Code modules: Function and Sub definitions and call statements without parentheses. The
// sample modules in data/modules are checked through kxexpr check (tests/cli).

#include <gtest/gtest.h>

#include <string>

#include "host/checker_parser.h"
#include "where.h"

namespace kx::host {
namespace {

TEST(CheckerModule, AcceptsDefinitionsAndCallStatements) {
  const char* texts[] = {
      "Function RegionOf(country)\r\n  RegionOf = \"EU\"\r\nEnd Function",
      "Sub Log(ByVal text As String, ByRef count, values() As Variant)\r\n"
      "  If count = 0 Then Exit Sub\r\n  count = count + 1\r\nEnd Sub",
      "function F() As Scripting.Dictionary\r\n  For i = 1 To 2\r\n"
      "    If i = 2 Then Exit Function\r\n  Next\r\nEND FUNCTION",
      "Sub S\r\nEnd Sub\r\nx = 1\r\nFunction f(a)\r\n  f = a\r\nEnd Function\r\nCall f(2)",
      // call statements: a name or member path, then arguments
      "SetVariable \"RejectCount\", GetVariable(\"RejectCount\") + 1\r\nMarkRejected orderId",
      "Log \"a\", , #1/2/2003#, 5 * 2, [Name] & \"!\"",
      "Records(\"r\").Fields(\"f\").Clear [Name], reason := \"x\"",
      "If a Then Log \"y\" Else Log \"z\": Done 1",
  };
  for (const char* text : texts) {
    auto errors = CheckExpressionSyntax(text);
    EXPECT_TRUE(errors.empty()) << text << "\n-> " << errors.front().message << " at "
                                << errors.front().line << ":" << errors.front().column;
  }
}

TEST(CheckerModule, ReportsMisplacedAndUnclosedDefinitions) {
  const std::pair<const char*, const char*> cases[] = {
      {"Function f(a)\r\n  f = a\r\n",
       "1:1 1+8 Function without End Function: expected End Function before the end of the text"},
      {"Function f()\r\nEnd Sub",
       "2:1 15+7 End Sub does not match the Function on line 1: expected End Function"},
      {"Sub s\r\n  If a Then\r\nEnd Sub",
       "2:3 10+2 If without End If: expected End If before the End Sub on line 3"},
      {"Function f(a)\r\n  x = 1\r\nSub g\r\nEnd Sub",
       "1:1 1+8 Function without End Function: expected End Function before the Sub on line 3"},
      {"End Function", "1:1 1+12 End Function without Function"},
      {"Sub s()\r\n  Exit Function\r\nEnd Sub",
       "2:3 12+13 Exit Function inside a Sub: use Exit Sub"},
      {"Exit Sub", "1:1 1+8 Exit Sub outside a Sub"},
      {"Exit For", "1:1 1+8 Exit For outside a For loop"},
      {"Exit Do", "1:6 6+2 Expected For, Function or Sub after Exit, found name Do"},
      {"If a Then Sub s", "1:11 11+3 Sub cannot be used in a single-line If"},
      {"If a Then End Function", "1:11 11+3 End Function cannot be used in a single-line If"},
      // a broken header still opens its definition
      {"Function (a)\r\nEnd Function", "1:10 10+1 Expected a name after Function, found \"(\""},
      {"Sub s(ByVal 1)\r\nEnd Sub",
       "1:13 13+1 Expected a parameter name after ByVal, found number 1"},
      {"Sub s(a b)\r\nEnd Sub",
       "1:9 9+1 Expected \")\" to close the \"(\" at column 6, found name b"},
      {"Sub s() As String\r\nEnd Sub", "1:9 9+2 Expected end of line after the Sub line, found As"},
      // what stays an error next to a call statement
      {"Log \"a\" \"b\"",
       "1:9 9+3 Expected an operator, \",\" or end of line after the argument, found string \"b\""},
      {"Log \"a\",", "1:9 9+0 Expected an argument after \",\", found end of text"},
      {"Fields(\"a\") \"b\"",
       "1:13 13+3 Expected an operator or end of line after the expression, found string \"b\""},
      {"[First Name] [Last Name]",
       "1:14 14+11 Expected an operator or end of line after the expression, found name [Last "
       "Name]"},
      {"total -1 x",
       "1:10 10+1 Expected an operator or end of line after the expression, found name x"},
      {"Call Log \"x\"",
       "1:10 10+3 Expected an operator or end of line after the expression, found string \"x\""},
      {"x = Sub", "1:5 5+3 Expected an expression after \"=\", found Sub"},
  };
  for (const auto& [text, where_and_message] : cases) {
    auto errors = CheckExpressionSyntax(text);
    ASSERT_EQ(errors.size(), 1u) << text;  // recovery must not add misleading ones
    EXPECT_EQ(Where(errors.front()), where_and_message);
  }
}

}  // namespace
}  // namespace kx::host
