#include "host/checker_lexer.h"

#include <array>

namespace kx::host {

namespace {

struct KeywordEntry {
  std::string_view lower;
  std::string_view name;
  Keyword keyword;
};

// Case-folded spellings; LookUp compares the length first, so most entries cost one test.
constexpr std::array kKeywords{
    KeywordEntry{"as", "As", Keyword::As},
    KeywordEntry{"if", "If", Keyword::If},
    KeywordEntry{"is", "Is", Keyword::Is},
    KeywordEntry{"on", "On", Keyword::On},
    KeywordEntry{"or", "Or", Keyword::Or},
    KeywordEntry{"to", "To", Keyword::To},
    KeywordEntry{"and", "And", Keyword::And},
    KeywordEntry{"dim", "Dim", Keyword::Dim},
    KeywordEntry{"end", "End", Keyword::End},
    KeywordEntry{"for", "For", Keyword::For},
    KeywordEntry{"let", "Let", Keyword::Let},
    KeywordEntry{"mod", "Mod", Keyword::Mod},
    KeywordEntry{"not", "Not", Keyword::Not},
    KeywordEntry{"set", "Set", Keyword::Set},
    KeywordEntry{"sub", "Sub", Keyword::Sub},
    KeywordEntry{"xor", "Xor", Keyword::Xor},
    KeywordEntry{"case", "Case", Keyword::Case},
    KeywordEntry{"else", "Else", Keyword::Else},
    KeywordEntry{"exit", "Exit", Keyword::Exit},
    KeywordEntry{"goto", "GoTo", Keyword::GoTo},
    KeywordEntry{"like", "Like", Keyword::Like},
    KeywordEntry{"next", "Next", Keyword::Next},
    KeywordEntry{"step", "Step", Keyword::Step},
    KeywordEntry{"then", "Then", Keyword::Then},
    KeywordEntry{"wend", "Wend", Keyword::Wend},
    KeywordEntry{"while", "While", Keyword::While},
    KeywordEntry{"elseif", "ElseIf", Keyword::ElseIf},
    KeywordEntry{"resume", "Resume", Keyword::Resume},
    KeywordEntry{"return", "Return", Keyword::Return},
    KeywordEntry{"select", "Select", Keyword::Select},
    KeywordEntry{"function", "Function", Keyword::Function},
};

constexpr size_t kLongestKeyword = 8;

bool IsLetter(unsigned char c) {
  return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}
bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}
bool IsHexDigit(unsigned char c) {
  return IsDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f');
}
// Bytes above 127 are letters of the text's code page.
bool IsNameStart(unsigned char c) {
  return IsLetter(c) || c >= 0x80;
}
bool IsNamePart(unsigned char c) {
  return IsNameStart(c) || IsDigit(c) || c == '_';
}
bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

Keyword LookUp(std::string_view word) {
  if (word.size() < 2 || word.size() > kLongestKeyword) return Keyword::None;
  char lower[kLongestKeyword];
  for (size_t i = 0; i < word.size(); ++i) {
    char c = word[i];
    lower[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c | 0x20) : c;
  }
  std::string_view w(lower, word.size());
  for (const KeywordEntry& k : kKeywords)
    if (k.lower.size() == w.size() && k.lower == w) return k.keyword;
  return Keyword::None;
}

}  // namespace

std::string_view KeywordName(Keyword k) {
  for (const KeywordEntry& e : kKeywords)
    if (e.keyword == k) return e.name;
  return {};
}

std::string_view OpText(Op op) {
  switch (op) {
    case Op::Ampersand:
      return "&";
    case Op::Plus:
      return "+";
    case Op::Minus:
      return "-";
    case Op::Star:
      return "*";
    case Op::Slash:
      return "/";
    case Op::Backslash:
      return "\\";
    case Op::Caret:
      return "^";
    case Op::Equal:
      return "=";
    case Op::NotEqual:
      return "<>";
    case Op::Less:
      return "<";
    case Op::LessEqual:
      return "<=";
    case Op::Greater:
      return ">";
    case Op::GreaterEqual:
      return ">=";
    case Op::Contains:
      return "~";
    case Op::NotContains:
      return "!~";
    case Op::LParen:
      return "(";
    case Op::RParen:
      return ")";
    case Op::Comma:
      return ",";
    case Op::Dot:
      return ".";
    case Op::Colon:
      return ":";
    case Op::ColonEqual:
      return ":=";
    case Op::None:
      break;
  }
  return {};
}

// A well-formed UTF-8 sequence is one character; any other byte is one too, so a text in a
// single-byte code page counts one character per byte.
size_t CountCharacters(std::string_view text, size_t from, size_t to) {
  size_t count = 0;
  while (from < to) {
    unsigned char c = static_cast<unsigned char>(text[from]);
    size_t n = 1;
    if (c >= 0xC2 && c <= 0xF4) {
      size_t want = c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
      unsigned char low = c == 0xE0 ? 0xA0 : c == 0xF0 ? 0x90 : 0x80;
      unsigned char high = c == 0xED ? 0x9F : c == 0xF4 ? 0x8F : 0xBF;
      if (from + want <= text.size() && static_cast<unsigned char>(text[from + 1]) >= low &&
          static_cast<unsigned char>(text[from + 1]) <= high) {
        n = 2;
        while (n < want && (static_cast<unsigned char>(text[from + n]) & 0xC0) == 0x80) ++n;
        if (n < want) n = 1;
      }
    }
    from += n;
    ++count;
  }
  return count;
}

bool Lexer::AtLineEnd(size_t pos) const {
  return pos >= text_.size() || text_[pos] == '\r' || text_[pos] == '\n';
}

size_t Lexer::SkipLineBreak(size_t pos) const {
  if (pos < text_.size() && text_[pos] == '\r') ++pos;
  if (pos < text_.size() && text_[pos] == '\n') ++pos;
  return pos;
}

size_t Lexer::FindLineEnd(size_t pos) const {
  while (!AtLineEnd(pos)) ++pos;
  return pos;
}

void Lexer::SkipBlanks() {
  for (;;) {
    while (pos_ < text_.size() && IsBlank(text_[pos_])) ++pos_;
    // " _" at the end of a line joins the next line to this one.
    if (pos_ < text_.size() && text_[pos_] == '_' && pos_ > line_start_ &&
        IsBlank(text_[pos_ - 1])) {
      size_t after = pos_ + 1;
      while (after < text_.size() && IsBlank(text_[after])) ++after;
      if (AtLineEnd(after)) {
        if (after >= text_.size()) {
          pos_ = after;
          return;
        }
        pos_ = SkipLineBreak(after);
        ++line_;
        line_start_ = pos_;
        continue;
      }
    }
    return;
  }
}

Token Lexer::Next() {
  SkipBlanks();
  Token t;
  t.start = pos_;
  t.line = line_;
  t.column = static_cast<uint32_t>(pos_ - line_start_ + 1);
  if (pos_ >= text_.size()) {
    t.kind = TokenKind::EndOfText;
    return t;
  }
  unsigned char c = static_cast<unsigned char>(text_[pos_]);
  if (c == '\'') {
    // A comment runs to the end of the line and counts as the line's end.
    pos_ = FindLineEnd(pos_);
    t.start = pos_;
    t.column = static_cast<uint32_t>(pos_ - line_start_ + 1);
    c = pos_ < text_.size() ? static_cast<unsigned char>(text_[pos_]) : 0;
    if (pos_ >= text_.size()) {
      t.kind = TokenKind::EndOfText;
      return t;
    }
  }
  if (c == '\r' || c == '\n') {
    t.kind = TokenKind::EndOfLine;
    pos_ = SkipLineBreak(pos_);
    ++line_;
    line_start_ = pos_;
    return t;
  }
  if (IsNameStart(c)) {
    ScanName(t);
  } else if (IsDigit(c) || (c == '.' && pos_ + 1 < text_.size() &&
                            IsDigit(static_cast<unsigned char>(text_[pos_ + 1])))) {
    ScanNumber(t);
  } else if (c == '&' && pos_ + 2 < text_.size() && ((text_[pos_ + 1] | 0x20) == 'h') &&
             IsHexDigit(static_cast<unsigned char>(text_[pos_ + 2]))) {
    ScanNumber(t);
  } else if (c == '&' && pos_ + 2 < text_.size() && ((text_[pos_ + 1] | 0x20) == 'o') &&
             text_[pos_ + 2] >= '0' && text_[pos_ + 2] <= '7') {
    ScanNumber(t);
  } else if (c == '"') {
    ScanString(t);
  } else if (c == '[') {
    ScanDelimited(t, ']', TokenKind::Bracketed, LexProblem::UnclosedBracket);
    if (t.kind == TokenKind::Bracketed && t.length == 2) {
      t.kind = TokenKind::Invalid;
      t.problem = LexProblem::EmptyBracket;
    }
  } else if (c == '#') {
    ScanDelimited(t, '#', TokenKind::Date, LexProblem::UnclosedDate);
  } else {
    ScanOperator(t);
  }
  return t;
}

void Lexer::ScanName(Token& t) {
  size_t end = pos_ + 1;
  while (end < text_.size() && IsNamePart(static_cast<unsigned char>(text_[end]))) ++end;
  bool dollar = end < text_.size() && text_[end] == '$';
  if (dollar) ++end;
  t.length = end - pos_;
  t.kind = TokenKind::Name;
  if (!dollar) {
    t.keyword = LookUp(text_.substr(pos_, t.length));
    if (t.keyword != Keyword::None) t.kind = TokenKind::Keyword;
  }
  // "Rem" starts a comment, as the apostrophe does.
  if (t.kind == TokenKind::Name && t.length == 3 && (text_[pos_] | 0x20) == 'r' &&
      (text_[pos_ + 1] | 0x20) == 'e' && (text_[pos_ + 2] | 0x20) == 'm') {
    pos_ = FindLineEnd(pos_);
    t.start = pos_;
    t.length = 0;
    t.column = static_cast<uint32_t>(pos_ - line_start_ + 1);
    if (pos_ >= text_.size()) {
      t.kind = TokenKind::EndOfText;
      return;
    }
    t.kind = TokenKind::EndOfLine;
    pos_ = SkipLineBreak(pos_);
    ++line_;
    line_start_ = pos_;
    return;
  }
  pos_ = end;
}

void Lexer::ScanNumber(Token& t) {
  size_t p = pos_;
  bool bad = false;
  if (text_[p] == '&') {
    bool hex = (text_[p + 1] | 0x20) == 'h';
    p += 2;
    while (p < text_.size() && (hex ? IsHexDigit(static_cast<unsigned char>(text_[p]))
                                    : (text_[p] >= '0' && text_[p] <= '7')))
      ++p;
  } else {
    while (p < text_.size() && IsDigit(static_cast<unsigned char>(text_[p]))) ++p;
    if (p < text_.size() && text_[p] == '.') {
      ++p;
      while (p < text_.size() && IsDigit(static_cast<unsigned char>(text_[p]))) ++p;
    }
    if (p < text_.size() && (text_[p] | 0x20) == 'e') {
      size_t e = p + 1;
      if (e < text_.size() && (text_[e] == '+' || text_[e] == '-')) ++e;
      if (e < text_.size() && IsDigit(static_cast<unsigned char>(text_[e]))) {
        p = e;
        while (p < text_.size() && IsDigit(static_cast<unsigned char>(text_[p]))) ++p;
      } else {
        bad = true;
        p = e;
      }
    }
  }
  // "12ab" or "1.2.3" is one malformed number, not a number followed by something.
  while (p < text_.size() &&
         (IsNamePart(static_cast<unsigned char>(text_[p])) || text_[p] == '.')) {
    bad = true;
    ++p;
  }
  t.length = p - pos_;
  t.kind = bad ? TokenKind::Invalid : TokenKind::Number;
  if (bad) t.problem = LexProblem::BadNumber;
  pos_ = p;
}

void Lexer::ScanDelimited(Token& t, char close, TokenKind kind, LexProblem unclosed) {
  size_t p = pos_ + 1;
  while (!AtLineEnd(p) && text_[p] != close) ++p;
  if (AtLineEnd(p)) {
    t.kind = TokenKind::Invalid;
    t.problem = unclosed;
    t.length = p - pos_;
  } else {
    t.kind = kind;
    t.length = p + 1 - pos_;
  }
  pos_ = t.start + t.length;
}

void Lexer::ScanString(Token& t) {
  size_t p = pos_ + 1;
  for (;;) {
    while (!AtLineEnd(p) && text_[p] != '"') ++p;
    if (AtLineEnd(p)) {
      t.kind = TokenKind::Invalid;
      t.problem = LexProblem::UnclosedString;
      t.length = p - pos_;
      break;
    }
    if (p + 1 < text_.size() && text_[p + 1] == '"') {  // a doubled quote stands for one
      p += 2;
      continue;
    }
    t.kind = TokenKind::String;
    t.length = p + 1 - pos_;
    break;
  }
  pos_ = t.start + t.length;
}

void Lexer::ScanOperator(Token& t) {
  char c = text_[pos_];
  char next = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
  Op op = Op::None;
  size_t length = 1;
  switch (c) {
    case '&':
      op = Op::Ampersand;
      break;
    case '+':
      op = Op::Plus;
      break;
    case '-':
      op = Op::Minus;
      break;
    case '*':
      op = Op::Star;
      break;
    case '/':
      op = Op::Slash;
      break;
    case '\\':
      op = Op::Backslash;
      break;
    case '^':
      op = Op::Caret;
      break;
    case '=':
      op = Op::Equal;
      break;
    case '~':
      op = Op::Contains;
      break;
    case '(':
      op = Op::LParen;
      break;
    case ')':
      op = Op::RParen;
      break;
    case ',':
      op = Op::Comma;
      break;
    case '.':
      op = Op::Dot;
      break;
    case '<':
      op = next == '>' ? Op::NotEqual : next == '=' ? Op::LessEqual : Op::Less;
      if (op != Op::Less) length = 2;
      break;
    case '>':
      op = next == '=' ? Op::GreaterEqual : Op::Greater;
      if (op != Op::Greater) length = 2;
      break;
    case '!':
      if (next == '~') {
        op = Op::NotContains;
        length = 2;
      }
      break;
    case ':':
      op = next == '=' ? Op::ColonEqual : Op::Colon;
      if (op == Op::ColonEqual) length = 2;
      break;
    default:
      break;
  }
  t.length = length;
  if (op == Op::None) {
    t.kind = TokenKind::Invalid;
    t.problem = LexProblem::BadCharacter;
  } else {
    t.kind = TokenKind::Operator;
    t.op = op;
  }
  pos_ += length;
}

}  // namespace kx::host
