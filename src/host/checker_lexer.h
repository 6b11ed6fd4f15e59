#pragma once
// Tokens of the expression language. The lexer hands out one token at a time and keeps
// nothing but its position, so checking a text needs no memory in proportion to it.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx::host {

enum class TokenKind : uint8_t {
  EndOfText,
  EndOfLine,  // a line break, or the comment that runs up to it
  Name,       // total, Left$, Error
  Bracketed,  // [field name]
  Number,     // 12, 1.5E3, &HFF
  String,     // "a ""quoted"" word"
  Date,       // #1/2/2003#
  Keyword,
  Operator,
  Invalid,  // a lexical fault; `problem` says which
};

// Reserved words. Words that only matter in one place (Error, Each, In, New, ByVal, ByRef)
// stay names.
enum class Keyword : uint8_t {
  None,
  And,
  As,
  Case,
  Dim,
  Else,
  ElseIf,
  End,
  Exit,
  For,
  Function,
  GoTo,
  If,
  Is,
  Let,
  Like,
  Mod,
  Next,
  Not,
  On,
  Or,
  Resume,
  Return,
  Select,
  Set,
  Step,
  Sub,
  Then,
  To,
  Wend,
  While,
  Xor,
};

enum class Op : uint8_t {
  None,
  Ampersand,
  Plus,
  Minus,
  Star,
  Slash,
  Backslash,
  Caret,
  Equal,
  NotEqual,
  Less,
  LessEqual,
  Greater,
  GreaterEqual,
  Contains,     // ~
  NotContains,  // !~
  LParen,
  RParen,
  Comma,
  Dot,
  Colon,
  ColonEqual,  // named argument
};

enum class LexProblem : uint8_t {
  None,
  UnclosedString,
  UnclosedBracket,
  EmptyBracket,
  UnclosedDate,
  BadNumber,
  BadCharacter,
};

struct Token {
  TokenKind kind = TokenKind::EndOfLine;
  Keyword keyword = Keyword::None;
  Op op = Op::None;
  LexProblem problem = LexProblem::None;
  size_t start = 0;   // 0-based offset in the text
  size_t length = 0;  // 0 for the end of a line or of the text
  uint32_t line = 1;
  uint32_t column = 1;  // 1-based, in bytes
};

// How a keyword is spelled in messages.
std::string_view KeywordName(Keyword k);
// How an operator is written.
std::string_view OpText(Op op);
// Characters a person sees in text[from, to): columns count these, not bytes.
size_t CountCharacters(std::string_view text, size_t from, size_t to);

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  Token Next();
  std::string_view Text(const Token& t) const { return text_.substr(t.start, t.length); }
  std::string_view text() const { return text_; }

 private:
  void SkipBlanks();
  bool AtLineEnd(size_t pos) const;
  size_t SkipLineBreak(size_t pos) const;  // past CR LF, LF or CR at pos
  size_t FindLineEnd(size_t pos) const;
  void ScanName(Token& t);
  void ScanNumber(Token& t);
  void ScanDelimited(Token& t, char close, TokenKind kind, LexProblem unclosed);
  void ScanString(Token& t);
  void ScanOperator(Token& t);

  std::string_view text_;
  size_t pos_ = 0;
  uint32_t line_ = 1;
  size_t line_start_ = 0;
};

}  // namespace kx::host
