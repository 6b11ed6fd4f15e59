// Property: every text the builder itself writes checks clean when its arguments are valid.
// The arguments are generated, so each run covers thousands of shapes the tests did not
// spell out; the seed is fixed so a failure can be replayed.

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

#include "functions/compose.h"
#include "functions/function_info.h"
#include "functions/snippets.h"
#include "host/checker_parser.h"
#include "runtime/text.h"

namespace kx::host {
namespace {

class Generator {
 public:
  explicit Generator(uint32_t seed) : rng_(seed) {}

  int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  bool Chance(int percent) { return Below(100) < percent; }

  // A variable or function name that is not a reserved word.
  std::string Name() {
    static const std::set<std::string> reserved = {
        "and",   "as",     "case",   "dim",    "else",     "elseif", "end",  "exit", "for",
        "goto",  "if",     "is",     "let",    "like",     "mod",    "next", "not",  "on",
        "or",    "resume", "return", "select", "set",      "step",   "then", "to",   "wend",
        "while", "xor",    "rem",    "each",   "function", "sub"};
    static const char kStart[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    static const char kRest[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    for (;;) {
      std::string name(1, kStart[Below(52)]);
      for (int n = Below(10); n > 0; --n) name += kRest[Below(63)];
      if (!reserved.count(LowerCase(name))) return name;
    }
  }

  // Field and record names as a conversion may hold them: anything printable but a quote.
  std::string FieldName() {
    std::string name;
    for (int n = 1 + Below(12); n > 0; --n) {
      char c = static_cast<char>(' ' + Below(95));
      name += c == '"' ? 'q' : c;
    }
    return name;
  }

  // The forms the token grid inserts, with their trailing blank, and the "[field]" form a
  // template's first-field marker gives.
  std::string FieldReference() {
    switch (Below(4)) {
      case 0:
        return "Records(\"" + FieldName() + "\").Fields(\"" + FieldName() + "\") ";
      case 1:
        return "Fields(\"" + FieldName() + "\") ";
      case 2:
        return "Targets(0).Records(\"" + FieldName() + "\").Fields(\"" + FieldName() + "\") ";
      default: {
        std::string name = FieldName();
        for (char& c : name)
          if (c == ']' || c == '[') c = '_';
        return "[" + name + "]";
      }
    }
  }

  std::string StringLiteral() {
    std::string text = "\"";
    for (int n = Below(8); n > 0; --n) {
      char c = static_cast<char>(' ' + Below(95));
      text += c;
      if (c == '"') text += '"';
    }
    return text + "\"";
  }

  std::string Number() {
    std::string n = std::to_string(Below(100000));
    if (Chance(30)) n += "." + std::to_string(Below(1000));
    return n;
  }

  // A call as the argument dialog composes it for a library function: required values,
  // then optional ones up to the first left empty or equal to its name.
  std::string Call(int depth) {
    FunctionInfo info;
    // Library names carry "_" only in a seven-character type suffix.
    info.Name = Name();
    for (char& c : info.Name)
      if (c == '_') c = 'u';
    if (Chance(25))
      info.Name += "_String";  // shown and called as Name$
    else if (Chance(10))
      info.Name += "KX";
    info.ArgumentCount = static_cast<int16_t>(Below(5));
    for (int i = 0; i < info.ArgumentCount; ++i) {
      ArgumentInfo& a = info.Arguments[static_cast<size_t>(i)];
      a.Name = "arg" + std::to_string(i);
      a.Required = Chance(60);
      a.Default = (!a.Required && Chance(30)) ? (Chance(50) ? "" : a.Name) : Expression(depth + 1);
    }
    return ComposeFunctionResult(info);
  }

  std::string Operand(int depth) {
    switch (Below(depth > 3 ? 4 : 6)) {
      case 0:
        return FieldReference();
      case 1:
        return StringLiteral();
      case 2:
        return Number();
      case 3:
        return Name();
      case 4:
        return Call(depth);
      default:
        return OperatorText("cmdLParen").data() + Expression(depth + 1) +
               std::string(OperatorText("cmdRParen"));
    }
  }

  // Operands joined by what the operator pad inserts.
  std::string Expression(int depth = 0) {
    size_t count = 0;
    const OperatorButton* buttons = OperatorButtons(count);
    std::string text = Chance(10) ? std::string(OperatorText("cmdNot")) : std::string();
    text += Operand(depth);
    for (int n = depth > 3 ? 0 : Below(4); n > 0; --n) {
      std::string_view op;
      do op = buttons[Below(static_cast<int>(count))].text;
      while (op == "(" || op == ")" || op == " Not ");
      text += op;
      if (Chance(10)) text += OperatorText("cmdNot");
      text += Operand(depth + 1);
    }
    return text;
  }

  // What a body may hold: an expression, an assignment, or a nested construct.
  std::string Statement(int depth) {
    switch (Below(depth > 2 ? 2 : 3)) {
      case 0:
        return Expression(depth);
      case 1:
        return Name() + " = " + Expression(depth);
      default:
        return Snippet(depth + 1);
    }
  }
  std::string OptionalStatement(int depth) { return Chance(25) ? "" : Statement(depth); }

  std::string Snippet(int depth) {
    switch (Below(4)) {
      case 0:
        return BuildIfThenElseTag(Expression(depth), OptionalStatement(depth),
                                  OptionalStatement(depth));
      case 1:
        return BuildWhileWendTag(Expression(depth), OptionalStatement(depth));
      case 2:
        return BuildSelectCaseTag(Expression(depth), Expression(depth), OptionalStatement(depth),
                                  Expression(depth), OptionalStatement(depth));
      default:
        return BuildForNextTag(Name(), Expression(depth), Expression(depth),
                               Chance(50) ? "" : Expression(depth), OptionalStatement(depth));
    }
  }

  // A value for argument `i` of a catalogue construct, fitting what the argument is.
  std::string ConstructArgument(const std::string& construct, int i) {
    if ((construct == "For...Next" && i == 0) || construct == "GoTo" ||
        construct == "On Error GoTo")
      return Name();
    if (construct == "For...Next" && i == 3) return Chance(30) ? "" : Expression();
    const std::string& name = construct;
    bool block = (name == "For...Next" && i == 4) || (name == "If...Then...Else" && i > 0) ||
                 (name == "While...Wend" && i == 1) ||
                 (name == "Select Case...End Select" && (i == 2 || i == 4));
    return block ? OptionalStatement(1) : Expression();
  }

 private:
  std::mt19937 rng_;
};

void ExpectClean(const std::string& text, const std::string& origin) {
  auto errors = CheckExpressionSyntax(text);
  if (errors.empty()) return;
  ADD_FAILURE() << origin << " produced text that does not check:\n"
                << text << "\n-> " << errors.front().line << ":" << errors.front().column << ": "
                << errors.front().message;
}

constexpr int kRounds = 1500;

TEST(CheckerBuilderProperty, OperatorPadAndFieldReferences) {
  Generator g(1);
  size_t count = 0;
  const OperatorButton* buttons = OperatorButtons(count);
  for (int round = 0; round < kRounds; ++round) {
    // Each button on its own between two operands (the parentheses around one).
    for (size_t b = 0; b < count; ++b) {
      std::string op(buttons[b].text);
      std::string text = op == "(" || op == ")" ? "(" + g.Operand(1) + ")"
                         : op == " Not "        ? op + g.Operand(1)
                                                : g.Operand(1) + op + g.Operand(1);
      ExpectClean(text, std::string(buttons[b].control));
    }
    ExpectClean(g.FieldReference(), "a field reference");
    ExpectClean(g.Expression(), "the operator pad");
    if (HasFailure()) return;
  }
}

TEST(CheckerBuilderProperty, SnippetBuilders) {
  Generator g(2);
  for (int round = 0; round < kRounds; ++round) {
    ExpectClean(g.Snippet(0), "a snippet builder");
    // The edge shapes: every optional part empty.
    ExpectClean(BuildIfThenElseTag(g.Expression(), "", ""), "BuildIfThenElseTag");
    ExpectClean(BuildWhileWendTag(g.Expression(), ""), "BuildWhileWendTag");
    ExpectClean(BuildSelectCaseTag(g.Expression(), g.Number(), "", g.StringLiteral(), ""),
                "BuildSelectCaseTag");
    ExpectClean(BuildForNextTag(g.Name(), g.Number(), g.Number(), "", ""), "BuildForNextTag");
    if (HasFailure()) return;
  }
}

TEST(CheckerBuilderProperty, CallCompositionOfEveryConstructAndFunction) {
  Generator g(3);
  for (const std::string& name : BuildFunctionLists()) {
    if (name.empty()) continue;
    FunctionInfo info;
    info.Name = name;
    GetFunctionInfo(info);
    ExpectClean(ComposeFunctionResult(info), name + " with its defaults");
    for (int round = 0; round < kRounds / 10; ++round) {
      FunctionInfo filled = info;
      for (int i = 0; i < filled.ArgumentCount; ++i)
        filled.Arguments[static_cast<size_t>(i)].Default = g.ConstructArgument(name, i);
      ExpectClean(ComposeFunctionResult(filled), name);
    }
  }
  for (int round = 0; round < kRounds; ++round) ExpectClean(g.Call(0), "a composed call");
}

TEST(CheckerBuilderProperty, SampleTemplateFilledIn) {
  Generator g(4);
  const std::string body = "If <<Field>> = \"\" Then <<Default>> Else <<Field>>";
  for (int round = 0; round < kRounds; ++round) {
    std::string field = g.FieldReference();
    std::string fallback;
    switch (g.Below(4)) {
      case 0:
        break;  // the template's own default: empty
      case 1:
        fallback = g.StringLiteral();
        break;
      case 2:
        fallback = g.Expression();
        break;
      default:
        fallback = g.FieldReference();
        break;
    }
    std::string text = ReplaceAll(ReplaceAll(body, "<<Field>>", field), "<<Default>>", fallback);
    ExpectClean(text, "the IfBlank template");
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace kx::host
