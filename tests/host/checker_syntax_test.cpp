// The checker on hand-written texts: every construct, every kind of error with its place.

#include <gtest/gtest.h>

#include <string>

#include "host/checker_object.h"
#include "host/checker_parser.h"
#include "host/conversion_locate.h"

namespace kx::host {
namespace {

// A syntax error as the tables here spell it: "line:column start+length message".
std::string Where(const SyntaxError& e) {
  return std::to_string(e.line) + ":" + std::to_string(e.column) + " " + std::to_string(e.start) +
         "+" + std::to_string(e.length) + " " + e.message;
}

std::string FirstMessage(const std::string& text) {
  auto errors = CheckExpressionSyntax(text);
  return errors.empty() ? std::string() : errors.front().message;
}

// Every text passes the check; a failure names the text and the first error.
template <size_t N>
void ExpectAccepted(const char* const (&texts)[N]) {
  for (const char* text : texts) {
    auto errors = CheckExpressionSyntax(text);
    EXPECT_TRUE(errors.empty()) << text << "\n-> " << errors.front().message << " at "
                                << errors.front().line << ":" << errors.front().column;
  }
}

TEST(CheckerSyntax, AcceptsEveryConstruct) {
  const char* texts[] = {
      // block If with ElseIf and Else, keywords in any case, comments, Rem
      "If a > 1 Then ' big\r\n  x = 1\r\nElseIf a < 0 Then\r\n  x = 2\r\nelse\r\n  x = 3\r\n"
      "END IF\r\nRem done",
      "If a Then\r\nElse x = 1\r\nEnd If",
      // single-line forms, empty branches, nesting, statement lists
      "If a Then b Else c",
      "If a Then x = 1: y = 2 Else GoTo fail",
      "If a Then If b Then c Else d Else e",
      "If a Then Else b",
      "If a Then Return 5",
      // Select Case with lists, ranges, Is and Case Else
      "Select Case x\r\n  Case 1, 2 To 5, Is >= 10\r\n    y = 1\r\n  Case \"a\"\r\n"
      "  Case Else\r\n    y = 0\r\nEnd Select",
      "Select Case x\r\nEnd Select",
      // For with and without Step, counters after Next, Exit For, For Each
      "For i = 1 to 10 Step -2\r\n  If i = 5 Then Exit For\r\nNext i",
      "For i = 1 To 3\r\nFor j = 1 To 3\r\nNext j, i",
      "For counter = 1 to 100\r\n    x = x + counter\r\nNext 'counter",
      "For Each f In Fields\r\nNext",
      "While x < 10\r\n  x = x + 1\r\nWend",
      // jumps and error handling
      "On Error GoTo failed\r\nGoTo done\r\nfailed:\r\n  Resume Next\r\ndone: Return x",
      "On Error Resume Next\r\nResume\r\nResume 0\r\nResume failed\r\nOn Error GoTo 0",
      "Return",
      // expressions: every operator, field references, calls, literals
      "Records(\"r\").Fields(\"f\") & Fields(\"g\") & Targets(0).Records(\"r\").Fields(\"f\")",
      "a And b Or Not c Xor d",
      "a Like \"x*\" And b ~ \"y\" And c !~ \"z\" And d Is Nothing",
      "a = b <> c < d <= e > f >= g",
      "-a + b - c * d / e \\ f Mod g ^ -h",
      "Left$(\"it\"\"s\", 2) & Trim$([first name]) & Mid(x, , 3) & f() & g(n := 1)",
      "&HFF + &o17 + 1.5E3 + .5 + 2e-3 + #1/2/2003#",
      // assignments, declarations, continuation, separators, line ends
      "Dim a, b(1 To 10) As Integer, c As New Collection\r\nSet c = Nothing\r\nLet a = 1",
      "x = a + _\r\n    b",
      "x = 1: y = 2 ::",
      "Call Log(\"done\")\r\ncall = 1",
      "x = 1\ny = 2\rz = 3\n",
      "",
      "\r\n\r\n",
  };
  ExpectAccepted(texts);
}

TEST(CheckerSyntax, ReportsWhatWasExpectedAndWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"If a\r\nEnd If", "1:5 5+0 Expected Then after the If condition, found end of line"},
      {"x = 1 +", "1:8 8+0 Expected an expression after \"+\", found end of text"},
      {"x = (1 + 2", "1:11 11+0 Expected \")\" to close the \"(\" at column 5, found end of text"},
      {"x = f(1, )", "1:10 10+1 Expected an argument after \",\", found \")\""},
      {"x = f(1 2)", "1:9 9+1 Expected \")\" to close the \"(\" at column 6, found number 2"},
      {"x = a b", "1:7 7+1 Expected an operator or end of line after the expression, found name b"},
      {"\r\n  ) x", "2:3 5+1 Expected a statement, found \")\""},
      {"x = \"abc",
       "1:5 5+4 String is not closed: expected a closing \" before the end of the line"},
      {"x = [abc", "1:5 5+4 Bracketed name is not closed: expected ] before the end of the line"},
      {"x = []",
       "1:5 5+2 Empty bracketed name []: put a field or variable name between the brackets"},
      {"x = 12ab", "1:5 5+4 Malformed number 12ab"},
      {"x = a ! b", "1:7 7+1 Unexpected character \"!\" (\"!~\" is the does-not-contain operator)"},
      {"x = a\x01", "1:6 6+1 Unexpected character (byte 0x01)"},
      {"For 1 = 2 To 3\r\nNext", "1:5 5+1 Expected a counter name after For, found number 1"},
      {"For i 2 To 3\r\nNext", "1:7 7+1 Expected = after the For counter, found number 2"},
      {"For i = 2\r\nNext", "1:10 10+0 Expected To after the For start value, found end of line"},
      {"Select x\r\nEnd Select", "1:8 8+1 Expected Case after Select, found name x"},
      {"Select Case x\r\n  y = 1\r\nEnd Select",
       "2:3 18+1 Expected Case in the Select Case on line 1, found name y"},
      {"Select Case x\r\nCase Is 3\r\nEnd Select",
       "2:9 24+1 Expected a comparison operator after Is, found number 3"},
      {"On Err GoTo x", "1:4 4+3 Expected Error after On, found name Err"},
      {"On Error Resume", "1:16 16+0 Expected Next after On Error Resume, found end of text"},
      {"On Error x", "1:10 10+1 Expected GoTo or Resume Next after On Error, found name x"},
      {"GoTo", "1:5 5+0 Expected a label after GoTo, found end of text"},
      {"End While", "1:5 5+5 Expected If, Select, Function or Sub after End, found While"},
      {"If a Then For i = 1 To 2",
       "1:11 11+3 For cannot be used in a single-line If; use a block If"},
      {"If a Then If b Then\r\nEnd If",
       "1:11 11+2 A block If cannot begin inside a single-line If; put something after Then"},
      {"  failed:\r\n", "1:3 3+6 A label must begin in column 1: remove the blanks before failed:"},
      {"Dim 5", "1:5 5+1 Expected a variable name after Dim, found number 5"},
      {"x = a.", "1:7 7+0 Expected a member name after \".\", found end of text"},
      {"x = #1/2", "1:5 5+4 Date is not closed: expected # before the end of the line"},
      {"For Each f Fields\r\nNext",
       "1:12 12+6 Expected In after the For Each variable, found name Fields"},
      {"If a Then\r\nElseIf b\r\nEnd If",
       "2:9 20+0 Expected Then after the ElseIf condition, found end of line"},
      {"Select Case a\r\nCase 1,\r\nEnd Select",
       "2:8 23+0 Expected a value after \",\", found end of line"},
  };
  for (const auto& [text, where_and_message] : cases) {
    auto errors = CheckExpressionSyntax(text);
    ASSERT_FALSE(errors.empty()) << text;
    EXPECT_EQ(Where(errors.front()), where_and_message);
  }
}

// Columns count characters as a person sees them (a UTF-8 sequence once, a tab once, a byte
// of a single-byte code page once); start and length stay in bytes for the editor.
TEST(CheckerSyntax, ColumnsCountCharactersStartCountsBytes) {
  struct ColumnCase {
    const char* text;
    const char* where;  // "line:column start+length"
    bool utf8;          // then the column agrees with a conversion document's error positions
  };
  const ColumnCase cases[] = {
      {"x = \"\xc3\xa9\" +", "1:10 11+0", true},
      {"x = \"\xf0\x9f\x98\x80\" y", "1:9 12+1", true},
      {"\xc3\xa9 = 1\r\ny = )", "2:5 13+1", true},
      {"s = \"\xc3\xbc\" & _\r\n  \"\xc3\xb6\" +", "2:8 23+0", true},
      {"x = \"5\xb0 caf\xe9\" +", "1:16 16+0", false},  // Latin-1 bytes
      {"x = [\xe2\x82] +", "1:11 11+0", false},         // a cut-off sequence
  };
  for (const ColumnCase& c : cases) {
    SCOPED_TRACE(c.text);
    auto errors = CheckExpressionSyntax(c.text);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(Where(errors[0]).rfind(std::string(c.where) + " ", 0), 0u) << Where(errors[0]);
    if (c.utf8) {
      TextLocation loc = LocationOf(c.text, static_cast<size_t>(errors[0].start - 1));
      EXPECT_EQ(std::pair(loc.line, loc.column),
                std::pair(size_t(errors[0].line), size_t(errors[0].column)));
    }
  }
  // Columns named inside a message count the same way.
  EXPECT_EQ(FirstMessage("\t[\xe2\x82\xac] = (1"),
            "Expected \")\" to close the \"(\" at column 8, found end of text");
}

TEST(CheckerSyntax, BlocksThatDoNotCloseOrDoNotOpen) {
  // Unclosed blocks point at their opening keyword, the outermost first.
  auto errors = CheckExpressionSyntax("x = 1\r\nWhile a\r\n  For i = 1 To 2\r\n");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(Where(errors[0]),
            "2:1 8+5 While without Wend: expected Wend before the end of the text");
  EXPECT_EQ(Where(errors[1]),
            "3:3 19+3 For without Next: expected Next before the end of the text");

  // A closer that skips an open block closes its own and names the one left open.
  errors = CheckExpressionSyntax("While a\r\n  If b Then\r\nWend");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(Where(errors[0]),
            "2:3 12+2 If without End If: expected End If before the Wend on line 3");

  const std::pair<const char*, const char*> strays[] = {
      {"End If", "End If without If"},
      {"x\r\nend select", "End Select without Select Case"},
      {"Next", "Next without For"},
      {"Wend", "Wend without While"},
      {"Else", "Else without If"},
      {"ElseIf a Then", "ElseIf without If"},
      {"Case 1", "Case without Select Case"},
      {"If a Then\r\nElse\r\nElse\r\nEnd If", "Second Else in the If on line 1"},
      {"If a Then\r\nElse\r\nElseIf b Then\r\nEnd If", "ElseIf after the Else of the If on line 1"},
      {"Select Case a\r\nCase Else\r\nCase 1\r\nEnd Select",
       "Case after the Case Else of the Select Case on line 1"},
      {"For i = 1 To 2\r\nNext j", "Next j does not match the For i on line 1"},
      {"Select Case a\r\nCase 1\r\nFor i = 1 To 2\r\nCase 2\r\nNext\r\nEnd Select",
       "Expected Next to close the For on line 3, found Case"},
  };
  for (const auto& [text, message] : strays) EXPECT_EQ(FirstMessage(text), message) << text;

  // A broken block header still opens its block: the closing line adds no second error.
  errors = CheckExpressionSyntax("If a b Then\r\n  x\r\nEnd If\r\nFor i = \r\nNext i");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].line, 1);
  EXPECT_EQ(errors[1].line, 4);
}

TEST(CheckerSyntax, ReportsEveryErrorRecoveringAtTheNextLine) {
  auto errors =
      CheckExpressionSyntax("x = \r\ny = 1\r\nz = (\r\n\"open\r\nIf q Then r = s t\r\nok = 1");
  ASSERT_EQ(errors.size(), 4u);
  EXPECT_EQ(errors[0].line, 1);
  EXPECT_EQ(errors[1].line, 3);
  EXPECT_EQ(errors[2].line, 4);
  EXPECT_EQ(errors[3].line, 5);
  // One error per line: the rest of a failed line is skipped.
  EXPECT_EQ(CheckExpressionSyntax("x = ) ) ) \"unclosed").size(), 1u);
  // A continued line is one line for recovery, and positions stay right across the join.
  errors = CheckExpressionSyntax("x = 1 + _\r\n  * 2\r\ny = ");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(Where(errors[0]).substr(0, 8), "2:3 14+1");
}

TEST(CheckerSyntax, DeepNestingIsAnErrorNotACrash) {
  const int n = 10000;
  for (const auto& [open, close] : {std::pair<std::string, std::string>{"(", ")"},
                                    {"f(", ")"},
                                    {"Not ", ""},
                                    {"-", ""},
                                    {"If a Then ", ""}}) {
    std::string text = "x = ";
    if (open.rfind("If", 0) == 0) text.clear();
    for (int i = 0; i < n; ++i) text += open;
    text += "1";
    for (int i = 0; i < n; ++i) text += close;
    auto errors = CheckExpressionSyntax(text);
    ASSERT_EQ(errors.size(), 1u) << open;
    EXPECT_EQ(errors[0].message, "Nested more than 256 levels deep: simplify the expression");
  }
  // Just inside the limit is fine.
  std::string ok =
      std::string(kMaxExpressionDepth - 1, '(') + "1" + std::string(kMaxExpressionDepth - 1, ')');
  EXPECT_TRUE(CheckExpressionSyntax(ok).empty());

  // Blocks are kept on the heap: ten thousand nested loops are simply valid...
  std::string openers;
  for (int i = 0; i < n; ++i) openers += "While a\r\nIf b Then\r\n";
  std::string closers;
  for (int i = 0; i < n; ++i) closers += "End If\r\nWend\r\n";
  EXPECT_TRUE(CheckExpressionSyntax(openers + closers).empty());
  // ...and left open they give one error each.
  EXPECT_EQ(CheckExpressionSyntax(openers).size(), static_cast<size_t>(2 * n));
}

TEST(CheckerObject, AnswersWhatValidateAsks) {
  BasicCompiler checker;
  ExpressionChecker& validate_view = checker;
  validate_view.Check("x = 1\r\nIf x = 1\r\n  y\r\nEnd If\r\nz = (");
  EXPECT_EQ(validate_view.ErrorText(), "Expected Then after the If condition, found end of line");
  EXPECT_EQ(validate_view.ErrorStart(), 16);
  EXPECT_EQ(validate_view.ErrorLength(), 0);
  EXPECT_EQ(checker.Errors().size(), 2u);

  validate_view.Check("Fields(\"a\") & \"b\"");
  EXPECT_EQ(validate_view.ErrorText() + std::to_string(validate_view.ErrorStart()) +
                std::to_string(validate_view.ErrorLength()),
            "00");
  EXPECT_TRUE(checker.Errors().empty());
}

TEST(CheckerSyntax, StopsAfterTheErrorLimit) {
  std::string text = "While a\r\n";
  for (int i = 0; i < 50; ++i) text += "x = = 1\r\n";
  auto errors = CheckExpressionSyntax(text, 10);
  ASSERT_EQ(errors.size(), 11u);
  EXPECT_EQ(errors.back().message, "Too many errors (10); checking stopped here");
  EXPECT_EQ(errors.back().line, 11);
  // The While is not reported unclosed: the rest of the text was never read.
  for (const auto& e : errors) EXPECT_EQ(e.message.find("While"), std::string::npos);
  EXPECT_EQ(CheckExpressionSyntax(text).size(), 51u);
}

// Code modules: Function and Sub definitions and call statements without parentheses. The
// sample modules in data/modules are checked through kxexpr check (tests/cli).
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
  ExpectAccepted(texts);
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
