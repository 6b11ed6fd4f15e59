#include "host/checker_parser.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "host/checker_lexer.h"

namespace kx::host {

namespace {

enum class BlockKind : uint8_t { If, Select, For, While, Function, Sub };

bool IsProcedure(BlockKind k) {
  return k == BlockKind::Function || k == BlockKind::Sub;
}

struct Block {
  BlockKind kind;
  Token opener;
  Token counter;  // For: the loop variable, when the header got that far
  bool has_counter = false;
  bool else_seen = false;       // If
  bool case_seen = false;       // Select
  bool case_else_seen = false;  // Select
};

std::string_view OpenerName(BlockKind k) {
  switch (k) {
    case BlockKind::If:
      return "If";
    case BlockKind::Select:
      return "Select Case";
    case BlockKind::For:
      return "For";
    case BlockKind::While:
      return "While";
    case BlockKind::Function:
      return "Function";
    case BlockKind::Sub:
      return "Sub";
  }
  return {};
}

std::string_view CloserName(BlockKind k) {
  switch (k) {
    case BlockKind::If:
      return "End If";
    case BlockKind::Select:
      return "End Select";
    case BlockKind::For:
      return "Next";
    case BlockKind::While:
      return "Wend";
    case BlockKind::Function:
      return "End Function";
    case BlockKind::Sub:
      return "End Sub";
  }
  return {};
}

// Binding strength of binary operators, loosest first, as in the VB family.
constexpr int kPrecXor = 1;
constexpr int kPrecOr = 2;
constexpr int kPrecAnd = 3;
constexpr int kPrecNot = 4;
constexpr int kPrecCompare = 5;
constexpr int kPrecConcat = 6;
constexpr int kPrecAdd = 7;
constexpr int kPrecMod = 8;
constexpr int kPrecIntDivide = 9;
constexpr int kPrecMultiply = 10;
constexpr int kPrecNegate = 11;
constexpr int kPrecPower = 12;

int BinaryPrecedence(const Token& t) {
  if (t.kind == TokenKind::Keyword) {
    switch (t.keyword) {
      case Keyword::Xor:
        return kPrecXor;
      case Keyword::Or:
        return kPrecOr;
      case Keyword::And:
        return kPrecAnd;
      case Keyword::Like:
      case Keyword::Is:
        return kPrecCompare;
      case Keyword::Mod:
        return kPrecMod;
      default:
        return 0;
    }
  }
  if (t.kind != TokenKind::Operator) return 0;
  switch (t.op) {
    case Op::Equal:
    case Op::NotEqual:
    case Op::Less:
    case Op::LessEqual:
    case Op::Greater:
    case Op::GreaterEqual:
    case Op::Contains:
    case Op::NotContains:
      return kPrecCompare;
    case Op::Ampersand:
      return kPrecConcat;
    case Op::Plus:
    case Op::Minus:
      return kPrecAdd;
    case Op::Backslash:
      return kPrecIntDivide;
    case Op::Star:
    case Op::Slash:
      return kPrecMultiply;
    case Op::Caret:
      return kPrecPower;
    default:
      return 0;
  }
}

bool IsComparison(const Token& t) {
  return t.kind == TokenKind::Operator && BinaryPrecedence(t) == kPrecCompare;
}

int32_t Clamp(size_t v) {
  return static_cast<int32_t>(std::min<size_t>(v, std::numeric_limits<int32_t>::max()));
}

std::string Shorten(std::string_view s) {
  constexpr size_t kMax = 40;
  if (s.size() <= kMax) return std::string(s);
  return std::string(s.substr(0, kMax - 3)) + "...";
}

// Thrown after an error is recorded; the line loop catches it and resumes at the next line.
struct Abandon {};

class Parser {
 public:
  Parser(std::string_view text, size_t max_errors) : lex_(text), max_errors_(max_errors) {}

  std::vector<SyntaxError> Run() {
    while (tok_.kind != TokenKind::EndOfText) {
      try {
        Next();
        if (tok_.kind == TokenKind::EndOfText) break;
        ParseLine();
      } catch (const Abandon&) {
        if (errors_.size() >= max_errors_) {
          // Blocks still open here are not known to be unclosed: report none of them.
          Report(tok_,
                 "Too many errors (" + std::to_string(errors_.size()) + "); checking stopped here");
          return Sorted();
        }
        Recover();
      }
    }
    for (size_t i = blocks_.size(); i-- > 0;)
      Report(blocks_[i].opener, Unclosed(blocks_[i], "the end of the text"));
    return Sorted();
  }

 private:
  std::vector<SyntaxError> Sorted() {
    std::stable_sort(errors_.begin(), errors_.end(),
                     [](const SyntaxError& a, const SyntaxError& b) { return a.start < b.start; });
    // Tokens carry byte columns, which cost nothing to keep; only the errors' columns are
    // counted in characters, in one pass since the errors are now in order.
    std::string_view text = lex_.text();
    size_t line_start = 0, counted_to = 0, characters = 0;
    for (SyntaxError& e : errors_) {
      size_t pos = static_cast<size_t>(e.start) - 1;
      size_t start = pos - static_cast<size_t>(e.column - 1);
      if (start != line_start || pos < counted_to) {
        line_start = counted_to = start;
        characters = 0;
      }
      characters += CountCharacters(text, counted_to, pos);
      counted_to = pos;
      e.column = Clamp(characters + 1);
    }
    return std::move(errors_);
  }

  // ---- tokens ----

  void Advance() {
    if (has_peek_) {
      tok_ = peek_;
      has_peek_ = false;
    } else {
      tok_ = lex_.Next();
    }
    ++tokens_;
  }

  // Moves to the next token; a lexical fault there is reported and ends the line.
  void Next() {
    Advance();
    if (tok_.kind == TokenKind::Invalid) Fail(tok_, LexicalMessage(tok_));
  }

  const Token& Peek() {
    if (!has_peek_) {
      peek_ = lex_.Next();
      has_peek_ = true;
    }
    return peek_;
  }

  bool IsOp(Op op) const { return tok_.kind == TokenKind::Operator && tok_.op == op; }
  bool IsKeyword(Keyword k) const { return tok_.kind == TokenKind::Keyword && tok_.keyword == k; }
  bool IsWord(std::string_view lower) const {
    if (tok_.kind != TokenKind::Name) return false;
    std::string_view w = lex_.Text(tok_);
    if (w.size() != lower.size()) return false;
    for (size_t i = 0; i < w.size(); ++i)
      if ((w[i] | 0x20) != lower[i]) return false;
    return true;
  }
  bool AtLineEnd() const {
    return tok_.kind == TokenKind::EndOfLine || tok_.kind == TokenKind::EndOfText;
  }
  bool AtStatementEnd(bool single_line_if) const {
    return AtLineEnd() || IsOp(Op::Colon) || (single_line_if && IsKeyword(Keyword::Else));
  }

  std::string Describe(const Token& t) const {
    std::string_view text = lex_.Text(t);
    switch (t.kind) {
      case TokenKind::EndOfLine:
        return "end of line";
      case TokenKind::EndOfText:
        return "end of text";
      case TokenKind::Keyword:
        return std::string(KeywordName(t.keyword));
      case TokenKind::Operator:
        return "\"" + std::string(OpText(t.op)) + "\"";
      case TokenKind::Name:
      case TokenKind::Bracketed:
        return "name " + Shorten(text);
      case TokenKind::Number:
        return "number " + Shorten(text);
      case TokenKind::String:
        return "string " + Shorten(text);
      case TokenKind::Date:
        return "date " + Shorten(text);
      case TokenKind::Invalid:
        break;
    }
    return "\"" + Shorten(text) + "\"";
  }

  std::string LexicalMessage(const Token& t) const {
    std::string_view text = lex_.Text(t);
    switch (t.problem) {
      case LexProblem::UnclosedString:
        return "String is not closed: expected a closing \" before the end of the line";
      case LexProblem::UnclosedBracket:
        return "Bracketed name is not closed: expected ] before the end of the line";
      case LexProblem::EmptyBracket:
        return "Empty bracketed name []: put a field or variable name between the brackets";
      case LexProblem::UnclosedDate:
        return "Date is not closed: expected # before the end of the line";
      case LexProblem::BadNumber:
        return "Malformed number " + Shorten(text);
      case LexProblem::BadCharacter:
      case LexProblem::None:
        break;
    }
    unsigned char c = text.empty() ? 0 : static_cast<unsigned char>(text[0]);
    if (c < 0x20 || c == 0x7f) {
      static const char kHex[] = "0123456789ABCDEF";
      return std::string("Unexpected character (byte 0x") + kHex[c >> 4] + kHex[c & 15] + ")";
    }
    std::string message = "Unexpected character \"" + std::string(1, static_cast<char>(c)) + "\"";
    if (c == '!') message += " (\"!~\" is the does-not-contain operator)";
    if (c == '_')
      message += " (a line continuation is a blank and \"_\" at the very end of a line)";
    return message;
  }

  // ---- errors ----

  void Report(const Token& at, std::string message) {
    SyntaxError e;
    e.message = std::move(message);
    e.start = Clamp(at.start + 1);
    e.length = Clamp(at.length);
    e.line = Clamp(at.line);
    e.column = Clamp(at.column);  // in bytes until Sorted counts characters
    errors_.push_back(std::move(e));
  }

  [[noreturn]] void Fail(const Token& at, std::string message) {
    Report(at, std::move(message));
    throw Abandon{};
  }

  // "Expected <what>, found <the current token>".
  [[noreturn]] void Expected(std::string_view what) {
    Fail(tok_, "Expected " + std::string(what) + ", found " + Describe(tok_));
  }

  std::string Unclosed(const Block& b, std::string_view before) const {
    return std::string(OpenerName(b.kind)) + " without " + std::string(CloserName(b.kind)) +
           ": expected " + std::string(CloserName(b.kind)) + " before " + std::string(before);
  }

  void Push(const Block& b) {
    blocks_.push_back(b);
    ++open_[static_cast<size_t>(b.kind)];
  }
  bool IsOpen(BlockKind kind) const { return open_[static_cast<size_t>(kind)] > 0; }

  // Skips the rest of a line after an error. A block header that failed still opens its
  // block, so that its closing line does not cause a second, misleading error; an If
  // header counts as a block header unless something follows its Then.
  void Recover() {
    bool saw_then = false;
    bool then_last = false;
    while (!AtLineEnd()) {
      if (IsKeyword(Keyword::Then)) {
        saw_then = true;
        then_last = true;
      } else {
        then_last = false;
      }
      Advance();
    }
    if (pending_) {
      if (pending_->kind != BlockKind::If || !saw_then || then_last) Push(*pending_);
      pending_.reset();
    }
  }

  // ---- lines and statements ----

  void ParseLine() {
    // A name in column 1 followed by a colon is a label; statements may follow it.
    if (tok_.kind == TokenKind::Name && tok_.column == 1 && Peek().kind == TokenKind::Operator &&
        Peek().op == Op::Colon) {
      Next();
      Next();
    }
    ParseStatements(false);
  }

  void ParseStatements(bool single_line_if) {
    for (;;) {
      if (AtLineEnd() || (single_line_if && IsKeyword(Keyword::Else))) return;
      if (IsOp(Op::Colon)) {
        Next();
        continue;
      }
      ParseStatement(single_line_if);
      if (continues_) {  // Else and ElseIf ... Then may carry a statement on their line
        continues_ = false;
        continue;
      }
      if (IsOp(Op::Colon)) {
        Next();
        continue;
      }
      if (AtLineEnd() || (single_line_if && IsKeyword(Keyword::Else))) return;
      Expected(after_);
    }
  }

  void ParseStatement(bool single_line_if) {
    after_ = "end of line after the statement";
    if (!single_line_if && !blocks_.empty() && blocks_.back().kind == BlockKind::Select &&
        !blocks_.back().case_seen && !IsKeyword(Keyword::Case) && !IsKeyword(Keyword::End) &&
        !IsKeyword(Keyword::Function) && !IsKeyword(Keyword::Sub))
      Expected("Case in the Select Case on line " + std::to_string(blocks_.back().opener.line));
    if (tok_.kind == TokenKind::Keyword) {
      switch (tok_.keyword) {
        case Keyword::If:
          ParseIf(single_line_if);
          return;
        case Keyword::ElseIf:
        case Keyword::Else:
        case Keyword::Select:
        case Keyword::Case:
        case Keyword::For:
        case Keyword::Next:
        case Keyword::While:
        case Keyword::Wend:
          if (single_line_if)
            Fail(tok_, std::string(KeywordName(tok_.keyword)) +
                           " cannot be used in a single-line If; use a block If");
          ParseBlockStatement();
          return;
        case Keyword::Function:
        case Keyword::Sub:
          if (single_line_if)
            Fail(tok_,
                 std::string(KeywordName(tok_.keyword)) + " cannot be used in a single-line If");
          ParseProcedure();
          return;
        case Keyword::End:
          ParseEnd(single_line_if);
          return;
        case Keyword::GoTo:
          Next();
          ParseExpr(0, "a label after GoTo");
          return;
        case Keyword::On:
          ParseOnError();
          return;
        case Keyword::Resume:
          ParseResume(single_line_if);
          return;
        case Keyword::Return:
          Next();
          after_ = "an operator or end of line after the Return value";
          if (!AtStatementEnd(single_line_if) && !SkipEmptyParentheses())
            ParseExpr(0, "a value after Return");
          return;
        case Keyword::Dim:
          ParseDim();
          return;
        case Keyword::Exit:
          ParseExit();
          return;
        case Keyword::Let:
        case Keyword::Set: {
          Token kw = tok_;
          Next();
          ParseExpr(0, "an assignment after " + std::string(KeywordName(kw.keyword)));
          after_ = "an operator or end of line after the expression";
          return;
        }
        default:
          break;
      }
    }
    // "Call Name(...)" is the VB family's explicit call statement.
    bool explicit_call = IsWord("call") && Peek().kind == TokenKind::Name;
    if (explicit_call) Next();
    Token first = tok_;
    uint64_t before = tokens_;
    if (tok_.kind == TokenKind::Name && !explicit_call) {
      bool ends_in_call;
      {
        DepthGuard guard(*this);
        Next();
        ends_in_call = ParsePostfix();
      }
      // A call without parentheses: the path must end in a name and the first argument
      // must start with something no operator could be, so "a b" calls but "a -b" and
      // "f(x) y" stay what they were.
      if (!ends_in_call && StartsCallArgument()) {
        ParseCallArguments();
        return;
      }
      ParseOperators(0);
    } else {
      ParseExpr(0, "a statement");
    }
    after_ = "an operator or end of line after the expression";
    // "  name:" alone on a line is a label that lost its place in column 1.
    if (!single_line_if && first.kind == TokenKind::Name && tokens_ == before + 1 &&
        IsOp(Op::Colon) &&
        (Peek().kind == TokenKind::EndOfLine || Peek().kind == TokenKind::EndOfText))
      Fail(first, "A label must begin in column 1: remove the blanks before " +
                      Shorten(lex_.Text(first)) + ":");
  }

  bool StartsCallArgument() const {
    switch (tok_.kind) {
      case TokenKind::Name:
      case TokenKind::Bracketed:
      case TokenKind::Number:
      case TokenKind::String:
      case TokenKind::Date:
        return true;
      default:
        return false;
    }
  }

  // The arguments of a call statement: a list as between parentheses, the first not empty.
  void ParseCallArguments() {
    Token separator;
    const Token* after = nullptr;  // the first argument follows no separator
    for (;;) {
      ParseArgument(after);
      if (!IsOp(Op::Comma)) break;
      do {  // an omitted argument: Log "a", , "c"
        separator = tok_;
        Next();
      } while (IsOp(Op::Comma));
      after = &separator;
    }
    after_ = "an operator, \",\" or end of line after the argument";
  }

  // Function or Sub name [(parameters)] [As type]; closed by End Function or End Sub.
  void ParseProcedure() {
    Token kw = tok_;
    BlockKind kind = IsKeyword(Keyword::Function) ? BlockKind::Function : BlockKind::Sub;
    // Procedures do not nest: whatever is still open ends before this one.
    std::string before;
    while (!blocks_.empty()) {
      if (before.empty())
        before = "the " + std::string(OpenerName(kind)) + " on line " + std::to_string(kw.line);
      Report(blocks_.back().opener, Unclosed(blocks_.back(), before));
      blocks_.pop_back();
    }
    open_ = {};
    pending_ = Block{kind, kw, {}};
    Next();
    if (tok_.kind != TokenKind::Name) Expected("a name after " + std::string(OpenerName(kind)));
    Next();
    if (IsOp(Op::LParen)) ParseParameters();
    if (kind == BlockKind::Function && IsKeyword(Keyword::As)) {
      Next();
      ParseTypeName();
    }
    Push(*pending_);
    pending_.reset();
    after_ = kind == BlockKind::Function ? "end of line after the Function line"
                                         : "end of line after the Sub line";
  }

  // ([ByVal | ByRef] name [()] [As type], ...)
  void ParseParameters() {
    Token open = tok_;
    Next();
    if (IsOp(Op::RParen)) {
      Next();
      return;
    }
    std::string_view what = "a parameter name after \"(\"";
    for (;;) {
      if (IsWord("byval") || IsWord("byref")) {
        what = IsWord("byval") ? "a parameter name after ByVal" : "a parameter name after ByRef";
        Next();
      }
      if (tok_.kind != TokenKind::Name) Expected(what);
      Next();
      if (IsOp(Op::LParen)) {  // an array: values()
        Next();
        if (!IsOp(Op::RParen)) Expected("\")\" after \"(\" of an array parameter");
        Next();
      }
      if (IsKeyword(Keyword::As)) {
        Next();
        ParseTypeName();
      }
      if (!IsOp(Op::Comma)) break;
      Next();
      what = "a parameter name after \",\"";
    }
    if (!IsOp(Op::RParen)) ExpectedClose(open);
    Next();
  }

  // The procedure around the current line; procedures only ever sit at the bottom.
  const Block* OpenProcedure() const {
    return !blocks_.empty() && IsProcedure(blocks_.front().kind) ? &blocks_.front() : nullptr;
  }

  void ParseIf(bool single_line_if) {
    Token opener = tok_;
    if (!single_line_if) pending_ = Block{BlockKind::If, opener, {}};
    Next();
    ParseExpr(0, "a condition after If");
    if (!IsKeyword(Keyword::Then)) Expected("Then after the If condition");
    Next();
    if (AtLineEnd()) {
      if (single_line_if)
        Fail(opener, "A block If cannot begin inside a single-line If; put something after Then");
      Push(*pending_);
      pending_.reset();
      after_ = "end of line after Then";
      return;
    }
    pending_.reset();
    // Single-line form: statements after Then, and after Else; either part may be empty.
    DepthGuard guard(*this);
    ParseStatements(true);
    if (IsKeyword(Keyword::Else)) {
      Next();
      ParseStatements(true);
    }
    after_ = "end of line after the single-line If";
  }

  // ElseIf, Else, Select Case, Case, For, Next, While, Wend outside a single-line If.
  void ParseBlockStatement() {
    Token kw = tok_;
    switch (kw.keyword) {
      case Keyword::ElseIf: {
        Block& b = InnermostOrFail(BlockKind::If, "ElseIf without If");
        if (b.else_seen)
          Fail(kw, "ElseIf after the Else of the If on line " + std::to_string(b.opener.line));
        Next();
        ParseExpr(0, "a condition after ElseIf");
        if (!IsKeyword(Keyword::Then)) Expected("Then after the ElseIf condition");
        Next();
        continues_ = true;
        return;
      }
      case Keyword::Else: {
        Block& b = InnermostOrFail(BlockKind::If, "Else without If");
        if (b.else_seen) Fail(kw, "Second Else in the If on line " + std::to_string(b.opener.line));
        b.else_seen = true;
        Next();
        continues_ = true;
        return;
      }
      case Keyword::Select:
        pending_ = Block{BlockKind::Select, kw, {}};
        Next();
        if (!IsKeyword(Keyword::Case)) Expected("Case after Select");
        Next();
        ParseExpr(0, "a test expression after Select Case");
        Push(*pending_);
        pending_.reset();
        after_ = "an operator or end of line after the Select Case expression";
        return;
      case Keyword::Case:
        ParseCase();
        return;
      case Keyword::For:
        ParseFor();
        return;
      case Keyword::Next:
        ParseNext();
        return;
      case Keyword::While:
        pending_ = Block{BlockKind::While, kw, {}};
        Next();
        ParseExpr(0, "a condition after While");
        Push(*pending_);
        pending_.reset();
        after_ = "an operator or end of line after the While condition";
        return;
      case Keyword::Wend:
        Next();
        Close(BlockKind::While, kw);
        after_ = "end of line after Wend";
        return;
      default:
        return;
    }
  }

  // The innermost open block must be of `kind`; otherwise the statement is misplaced.
  Block& InnermostOrFail(BlockKind kind, std::string_view without) {
    if (!blocks_.empty() && blocks_.back().kind == kind) return blocks_.back();
    if (IsOpen(kind)) {
      const Block& inner = blocks_.back();
      Fail(tok_, "Expected " + std::string(CloserName(inner.kind)) + " to close the " +
                     std::string(OpenerName(inner.kind)) + " on line " +
                     std::to_string(inner.opener.line) + ", found " + Describe(tok_));
    }
    Fail(tok_, std::string(without));
  }

  // Closes the innermost block of `kind`; blocks opened inside it and still open are errors.
  // Each block is popped once, so closing stays linear in the text however it is nested.
  Block Close(BlockKind kind, const Token& closer, std::string_view name = {}) {
    if (name.empty()) name = CloserName(kind);
    if (!IsOpen(kind))
      Fail(closer, std::string(name) + " without " + std::string(OpenerName(kind)));
    std::string before;
    for (;;) {
      Block b = blocks_.back();
      blocks_.pop_back();
      --open_[static_cast<size_t>(b.kind)];
      if (b.kind == kind) return b;
      if (before.empty())
        before = "the " + std::string(name) + " on line " + std::to_string(closer.line);
      Report(b.opener, Unclosed(b, before));
    }
  }

  void ParseEnd(bool single_line_if) {
    Token kw = tok_;
    Next();
    BlockKind kind;
    if (IsKeyword(Keyword::If)) {
      kind = BlockKind::If;
    } else if (IsKeyword(Keyword::Select)) {
      kind = BlockKind::Select;
    } else if (IsKeyword(Keyword::Function)) {
      kind = BlockKind::Function;
    } else if (IsKeyword(Keyword::Sub)) {
      kind = BlockKind::Sub;
    } else {
      if (!AtStatementEnd(single_line_if)) Expected("If, Select, Function or Sub after End");
      return;  // End on its own stops the expression
    }
    Token closer = Span(kw);
    if (single_line_if)
      Fail(kw, std::string(CloserName(kind)) + " cannot be used in a single-line If");
    Next();
    after_ = kind == BlockKind::If         ? "end of line after End If"
             : kind == BlockKind::Select   ? "end of line after End Select"
             : kind == BlockKind::Function ? "end of line after End Function"
                                           : "end of line after End Sub";
    const Block* procedure = OpenProcedure();
    if (!IsProcedure(kind) || !procedure || procedure->kind == kind) {
      Close(kind, closer);
      return;
    }
    // "End Sub" closing a Function still ends it, so the Function is not reported again.
    Block open = Close(procedure->kind, closer, CloserName(kind));
    Fail(closer, std::string(CloserName(kind)) + " does not match the " +
                     std::string(OpenerName(open.kind)) + " on line " +
                     std::to_string(open.opener.line) + ": expected " +
                     std::string(CloserName(open.kind)));
  }

  // A keyword and the one after it, as written ("End if", "Exit Function"), for a message
  // that points at both.
  Token Span(const Token& first) const {
    Token both = first;
    if (tok_.line == first.line) both.length = tok_.start + tok_.length - first.start;
    return both;
  }

  void ParseCase() {
    Token kw = tok_;
    Block& b = InnermostOrFail(BlockKind::Select, "Case without Select Case");
    if (b.case_else_seen)
      Fail(kw,
           "Case after the Case Else of the Select Case on line " + std::to_string(b.opener.line));
    b.case_seen = true;
    Next();
    if (IsKeyword(Keyword::Else)) {
      b.case_else_seen = true;
      Next();
      after_ = "end of line after Case Else";
      return;
    }
    const char* what = "a value after Case";
    for (;;) {
      if (IsKeyword(Keyword::Is)) {
        Next();
        if (!IsComparison(tok_)) Expected("a comparison operator after Is");
        Token op = tok_;
        Next();
        ParseExpr(kPrecConcat, "an expression", &op);
      } else {
        ParseExpr(0, what);
        if (IsKeyword(Keyword::To)) {
          Next();
          ParseExpr(0, "an upper bound after To");
        }
      }
      if (!IsOp(Op::Comma)) break;
      Next();
      what = "a value after \",\"";
    }
    after_ = "an operator, \",\" or end of line after the Case value";
  }

  void ParseFor() {
    pending_ = Block{BlockKind::For, tok_, {}};
    Next();
    if (IsWord("each")) {
      Next();
      if (tok_.kind != TokenKind::Name) Expected("a variable name after For Each");
      pending_->counter = tok_;
      pending_->has_counter = true;
      Next();
      if (!IsWord("in")) Expected("In after the For Each variable");
      Next();
      ParseExpr(0, "a collection after In");
    } else {
      if (tok_.kind != TokenKind::Name) Expected("a counter name after For");
      pending_->counter = tok_;
      pending_->has_counter = true;
      Next();
      if (!IsOp(Op::Equal)) Expected("= after the For counter");
      Next();
      ParseExpr(0, "a start value after =");
      if (!IsKeyword(Keyword::To)) Expected("To after the For start value");
      Next();
      ParseExpr(0, "an end value after To");
      if (IsKeyword(Keyword::Step)) {
        Next();
        ParseExpr(0, "a step value after Step");
      }
    }
    Push(*pending_);
    pending_.reset();
    after_ = "an operator or end of line after the For line";
  }

  void ParseNext() {
    Token kw = tok_;
    Next();
    Block closed = Close(BlockKind::For, kw);
    after_ = "end of line after Next";
    // "Next i, j" closes two loops, innermost first; the names must match their counters.
    while (tok_.kind == TokenKind::Name) {
      if (closed.has_counter && !EqualsIgnoringCase(lex_.Text(tok_), lex_.Text(closed.counter)))
        Fail(tok_, "Next " + Shorten(lex_.Text(tok_)) + " does not match the For " +
                       Shorten(lex_.Text(closed.counter)) + " on line " +
                       std::to_string(closed.opener.line));
      Next();
      if (!IsOp(Op::Comma)) return;
      Next();
      if (tok_.kind != TokenKind::Name) Expected("a counter name after \",\"");
      closed = Close(BlockKind::For, kw);
    }
  }

  void ParseOnError() {
    Next();
    if (!IsWord("error")) Expected("Error after On");
    Next();
    if (IsKeyword(Keyword::GoTo)) {
      Next();
      ParseExpr(0, "a label after On Error GoTo");
      return;
    }
    if (!IsKeyword(Keyword::Resume)) Expected("GoTo or Resume Next after On Error");
    Next();
    if (!IsKeyword(Keyword::Next)) Expected("Next after On Error Resume");
    Next();
    SkipEmptyParentheses();
    after_ = "end of line after On Error Resume Next";
  }

  void ParseResume(bool single_line_if) {
    Next();
    after_ = "end of line after Resume";
    if (IsKeyword(Keyword::Next)) {
      Next();
      SkipEmptyParentheses();
      after_ = "end of line after Resume Next";
      return;
    }
    if (AtStatementEnd(single_line_if) || SkipEmptyParentheses()) return;
    ParseExpr(0, "a label or Next after Resume");
  }

  void ParseDim() {
    std::string_view what = "a variable name after Dim";
    Next();
    for (;;) {
      if (tok_.kind != TokenKind::Name) Expected(what);
      Next();
      if (IsOp(Op::LParen)) {  // array bounds: (10) or (1 To 10, 5)
        Token open = tok_;
        Next();
        if (!IsOp(Op::RParen)) {
          for (;;) {
            ParseExpr(0, "a bound", &open);
            if (IsKeyword(Keyword::To)) {
              Next();
              ParseExpr(0, "an upper bound after To");
            }
            if (!IsOp(Op::Comma)) break;
            open = tok_;
            Next();
          }
          if (!IsOp(Op::RParen)) ExpectedClose(open);
        }
        Next();
      }
      if (IsKeyword(Keyword::As)) {
        Next();
        if (IsWord("new")) Next();
        ParseTypeName();
      }
      if (!IsOp(Op::Comma)) break;
      Next();
      what = "a variable name after \",\"";
    }
    after_ = "\",\" or end of line after the declaration";
  }

  void ParseExit() {
    Token kw = tok_;
    Next();
    Token exit = Span(kw);
    if (IsKeyword(Keyword::For)) {
      if (!IsOpen(BlockKind::For)) Fail(exit, "Exit For outside a For loop");
      Next();
      after_ = "end of line after Exit For";
      return;
    }
    if (!IsKeyword(Keyword::Function) && !IsKeyword(Keyword::Sub))
      Expected("For, Function or Sub after Exit");
    BlockKind kind = IsKeyword(Keyword::Function) ? BlockKind::Function : BlockKind::Sub;
    std::string name(OpenerName(kind));
    const Block* procedure = OpenProcedure();
    if (!procedure) Fail(exit, "Exit " + name + " outside a " + name);
    if (procedure->kind != kind)
      Fail(exit, "Exit " + name + " inside a " + std::string(OpenerName(procedure->kind)) +
                     ": use Exit " + std::string(OpenerName(procedure->kind)));
    Next();
    after_ = kind == BlockKind::Function ? "end of line after Exit Function"
                                         : "end of line after Exit Sub";
  }

  // After As: String, Scripting.Dictionary.
  void ParseTypeName() {
    if (tok_.kind != TokenKind::Name) Expected("a type name after As");
    Next();
    while (IsOp(Op::Dot)) {
      Next();
      if (tok_.kind != TokenKind::Name) Expected("a type name after \".\"");
      Next();
    }
  }

  // "()" after Return, Resume and friends: what the argument dialog writes for them.
  bool SkipEmptyParentheses() {
    if (!IsOp(Op::LParen) || Peek().kind != TokenKind::Operator || Peek().op != Op::RParen)
      return false;
    Next();
    Next();
    return true;
  }

  // ---- expressions ----

  // Counts nesting of operands so that deep input ends in an error, not in a full stack.
  struct DepthGuard {
    explicit DepthGuard(Parser& p) : parser(p) {
      if (++parser.depth_ > kMaxExpressionDepth) {
        --parser.depth_;
        parser.Fail(parser.tok_, "Nested more than " + std::to_string(kMaxExpressionDepth) +
                                     " levels deep: simplify the expression");
      }
    }
    ~DepthGuard() { --parser.depth_; }
    Parser& parser;
  };

  // An expression whose operators bind at least as tightly as `min_prec`. A missing operand
  // is reported as "Expected <what>[ after <after>], found ...".
  void ParseExpr(int min_prec, std::string_view what, const Token* after = nullptr) {
    ParseOperand(what, after);
    ParseOperators(min_prec);
  }

  // The operators and right operands that follow a left operand.
  void ParseOperators(int min_prec) {
    for (;;) {
      int prec = BinaryPrecedence(tok_);
      if (prec == 0 || prec < min_prec) return;
      Token op = tok_;
      Next();
      // One level tighter on the right makes operators of one level left-associative.
      ParseExpr(prec + 1, "an expression", &op);
    }
  }

  void ParseOperand(std::string_view what, const Token* after) {
    DepthGuard guard(*this);
    switch (tok_.kind) {
      case TokenKind::Number:
      case TokenKind::String:
      case TokenKind::Date:
        Next();
        return;
      case TokenKind::Name:
      case TokenKind::Bracketed:
        Next();
        ParsePostfix();
        return;
      case TokenKind::Operator:
        if (IsOp(Op::LParen)) {
          Token open = tok_;
          Next();
          ParseExpr(0, "an expression", &open);
          if (!IsOp(Op::RParen)) ExpectedClose(open);
          Next();
          ParsePostfix();
          return;
        }
        if (IsOp(Op::Minus) || IsOp(Op::Plus)) {
          Token op = tok_;
          Next();
          ParseExpr(kPrecNegate, "an expression", &op);
          return;
        }
        break;
      case TokenKind::Keyword:
        if (IsKeyword(Keyword::Not)) {
          Token op = tok_;
          Next();
          ParseExpr(kPrecNot, "an expression", &op);
          return;
        }
        break;
      default:
        break;
    }
    std::string message = "Expected " + std::string(what);
    if (after) {
      message += " after ";
      message += after->kind == TokenKind::Keyword ? std::string(KeywordName(after->keyword))
                                                   : "\"" + std::string(OpText(after->op)) + "\"";
    }
    Fail(tok_, message + ", found " + Describe(tok_));
  }

  // Calls and member access: Targets(0).Records("r").Fields("f"). True when the last part
  // was a call.
  bool ParsePostfix() {
    bool call = false;
    for (;;) {
      if (IsOp(Op::LParen)) {
        ParseArguments();
        call = true;
      } else if (IsOp(Op::Dot)) {
        Next();
        if (tok_.kind != TokenKind::Name && tok_.kind != TokenKind::Keyword &&
            tok_.kind != TokenKind::Bracketed)
          Expected("a member name after \".\"");
        Next();
        call = false;
      } else {
        return call;
      }
    }
  }

  void ParseArguments() {
    Token open = tok_;
    Next();
    if (IsOp(Op::RParen)) {
      Next();
      return;
    }
    Token separator = open;
    for (;;) {
      if (IsOp(Op::Comma)) {  // an omitted argument: f(a, , c)
        separator = tok_;
        Next();
        continue;
      }
      ParseArgument(&separator);
      if (IsOp(Op::Comma)) {
        separator = tok_;
        Next();
        if (IsOp(Op::RParen)) Expected("an argument after \",\"");
        continue;
      }
      if (!IsOp(Op::RParen)) ExpectedClose(open);
      Next();
      return;
    }
  }

  // [name :=] expression; `separator` is what came before it, for the message.
  void ParseArgument(const Token* separator) {
    Token named;
    if (tok_.kind == TokenKind::Name && Peek().kind == TokenKind::Operator &&
        Peek().op == Op::ColonEqual) {  // a named argument: name := value
      Next();
      named = tok_;
      separator = &named;
      Next();
    }
    ParseExpr(0, "an argument", separator);
  }

  size_t CharacterColumn(const Token& t) const {
    return CountCharacters(lex_.text(), t.start - (t.column - 1), t.start) + 1;
  }

  [[noreturn]] void ExpectedClose(const Token& open) {
    std::string where = "column " + std::to_string(CharacterColumn(open));
    if (open.line != tok_.line) where = "line " + std::to_string(open.line) + ", " + where;
    Expected("\")\" to close the \"(\" at " + where);
  }

  static bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
      char x = a[i], y = b[i];
      if (x >= 'A' && x <= 'Z') x = static_cast<char>(x | 0x20);
      if (y >= 'A' && y <= 'Z') y = static_cast<char>(y | 0x20);
      if (x != y) return false;
    }
    return true;
  }

  Lexer lex_;
  size_t max_errors_;
  Token tok_;  // starts as a line end, so the first line begins like every other
  Token peek_;
  bool has_peek_ = false;
  uint64_t tokens_ = 0;
  int depth_ = 0;
  bool continues_ = false;
  std::string_view after_;        // what may follow the statement just parsed (a literal)
  std::optional<Block> pending_;  // a block whose header is being read
  std::vector<Block> blocks_;
  std::array<size_t, 6> open_{};  // open blocks of each kind
  std::vector<SyntaxError> errors_;
};

}  // namespace

std::vector<SyntaxError> CheckExpressionSyntax(std::string_view text, size_t max_errors) {
  return Parser(text, max_errors).Run();
}

}  // namespace kx::host
