// Code modules: Function and Sub definitions and call statements without parentheses. The
// sample modules in data/modules are checked through kxexpr check (tests/cli).

#include <gtest/gtest.h>

#include <string>

#include "host/checker_parser.h"

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
  struct Case {
    const char* text;
    const char* message;
    int start, length, line, column;
    size_t count;  // errors in all: recovery must not add misleading ones
  };
  const Case cases[] = {
      {"Function f(a)\r\n  f = a\r\n",
       "Function without End Function: expected End Function before the end of the text", 1, 8, 1,
       1, 1},
      {"Function f()\r\nEnd Sub",
       "End Sub does not match the Function on line 1: expected End Function", 15, 7, 2, 1, 1},
      {"Sub s\r\n  If a Then\r\nEnd Sub",
       "If without End If: expected End If before the End Sub on line 3", 10, 2, 2, 3, 1},
      {"Function f(a)\r\n  x = 1\r\nSub g\r\nEnd Sub",
       "Function without End Function: expected End Function before the Sub on line 3", 1, 8, 1, 1,
       1},
      {"End Function", "End Function without Function", 1, 12, 1, 1, 1},
      {"Sub s()\r\n  Exit Function\r\nEnd Sub", "Exit Function inside a Sub: use Exit Sub", 12, 13,
       2, 3, 1},
      {"Exit Sub", "Exit Sub outside a Sub", 1, 8, 1, 1, 1},
      {"Exit For", "Exit For outside a For loop", 1, 8, 1, 1, 1},
      {"Exit Do", "Expected For, Function or Sub after Exit, found name Do", 6, 2, 1, 6, 1},
      {"If a Then Sub s", "Sub cannot be used in a single-line If", 11, 3, 1, 11, 1},
      {"If a Then End Function", "End Function cannot be used in a single-line If", 11, 3, 1, 11,
       1},
      // a broken header still opens its definition
      {"Function (a)\r\nEnd Function", "Expected a name after Function, found \"(\"", 10, 1, 1, 10,
       1},
      {"Sub s(ByVal 1)\r\nEnd Sub", "Expected a parameter name after ByVal, found number 1", 13, 1,
       1, 13, 1},
      {"Sub s(a b)\r\nEnd Sub", "Expected \")\" to close the \"(\" at column 6, found name b", 9, 1,
       1, 9, 1},
      {"Sub s() As String\r\nEnd Sub", "Expected end of line after the Sub line, found As", 9, 2, 1,
       9, 1},
      // what stays an error next to a call statement
      {"Log \"a\" \"b\"",
       "Expected an operator, \",\" or end of line after the argument, found string \"b\"", 9, 3, 1,
       9, 1},
      {"Log \"a\",", "Expected an argument after \",\", found end of text", 9, 0, 1, 9, 1},
      {"Fields(\"a\") \"b\"",
       "Expected an operator or end of line after the expression, found string \"b\"", 13, 3, 1, 13,
       1},
      {"[First Name] [Last Name]",
       "Expected an operator or end of line after the expression, found name [Last Name]", 14, 11,
       1, 14, 1},
      {"total -1 x", "Expected an operator or end of line after the expression, found name x", 10,
       1, 1, 10, 1},
      {"Call Log \"x\"",
       "Expected an operator or end of line after the expression, found string \"x\"", 10, 3, 1, 10,
       1},
      {"x = Sub", "Expected an expression after \"=\", found Sub", 5, 3, 1, 5, 1},
  };
  for (const Case& c : cases) {
    auto errors = CheckExpressionSyntax(c.text);
    ASSERT_FALSE(errors.empty()) << c.text;
    const SyntaxError& e = errors.front();
    EXPECT_EQ(e.message, c.message) << c.text;
    EXPECT_EQ(e.start, c.start) << c.text;
    EXPECT_EQ(e.length, c.length) << c.text;
    EXPECT_EQ(e.line, c.line) << c.text;
    EXPECT_EQ(e.column, c.column) << c.text;
    EXPECT_EQ(errors.size(), c.count) << c.text;
  }
}

}  // namespace
}  // namespace kx::host
