#include "qt/keyword_lexer.h"

#include <Qsci/qsciscintilla.h>

#include <QFontDatabase>

#include <algorithm>
#include <array>
#include <vector>

#include "qt/cp1252.h"
#include "runtime/text.h"

namespace kx::qt {

namespace {

bool IsWordStart(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80;
}
bool IsWordByte(unsigned char c) {
  return IsWordStart(c) || (c >= '0' && c <= '9');
}
bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}
bool IsHexDigit(unsigned char c) {
  return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

struct Look {
  QColor color;
  bool bold = false;
};

// Categories the colouring knows by name; any other gets the next colour of a small wheel.
Look CategoryLook(std::string_view name, size_t index) {
  if (EqualsIgnoreCase(name, "Constructs")) return {QColor(0x00, 0x00, 0xC0), true};
  if (EqualsIgnoreCase(name, "Keywords")) return {QColor(0x00, 0x00, 0xC0), false};
  if (EqualsIgnoreCase(name, "Operators")) return {QColor(0x80, 0x40, 0x00), false};
  if (EqualsIgnoreCase(name, "Functions")) return {QColor(0x00, 0x70, 0x80), false};
  static const std::array<QColor, 5> wheel = {QColor(0x80, 0x00, 0x80), QColor(0x40, 0x60, 0x00),
                                              QColor(0xA0, 0x30, 0x30), QColor(0x30, 0x50, 0x90),
                                              QColor(0x60, 0x60, 0x60)};
  return {wheel[index % wheel.size()], false};
}

// The byte string a run of the document's UTF-8 stands for.
std::string WordBytes(std::string_view utf8) {
  for (char c : utf8)
    if (static_cast<unsigned char>(c) >= 0x80)
      return FromQt(QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())));
  return std::string(utf8);
}

}  // namespace

KeywordLexer::KeywordLexer(QObject* parent)
    : QsciLexerCustom(parent), fixed_font_(QFontDatabase::systemFont(QFontDatabase::FixedFont)) {
  fixed_font_.setPointSize(10);
}

QString KeywordLexer::description(int style) const {
  switch (style) {
    case kDefault:
      return QStringLiteral("Default");
    case kComment:
      return QStringLiteral("Comment");
    case kString:
      return QStringLiteral("String");
    case kNumber:
      return QStringLiteral("Number");
    case kField:
      return QStringLiteral("Field reference");
    default:
      break;
  }
  if (style >= kFirstCategory && style < kFirstCategory + kCategoryStyles)
    return QStringLiteral("Category %1").arg(style - kFirstCategory + 1);
  return QString();
}

QColor KeywordLexer::defaultColor(int style) const {
  switch (style) {
    case kComment:
      return QColor(0x00, 0x80, 0x00);
    case kString:
      return QColor(0xA0, 0x20, 0x20);
    case kNumber:
      return QColor(0x09, 0x86, 0x58);
    case kField:
      return QColor(0x80, 0x00, 0x80);
    default:
      break;
  }
  if (style >= kFirstCategory && style < kFirstCategory + kCategoryStyles && keywords_) {
    size_t index = static_cast<size_t>(style - kFirstCategory);
    if (index < keywords_->Categories().size())
      return CategoryLook(keywords_->Categories()[index].name, index).color;
  }
  return QColor(Qt::black);
}

QFont KeywordLexer::defaultFont(int style) const {
  QFont font = fixed_font_;
  if (style == kComment) font.setItalic(true);
  if (style >= kFirstCategory && style < kFirstCategory + kCategoryStyles && keywords_) {
    size_t index = static_cast<size_t>(style - kFirstCategory);
    if (index < keywords_->Categories().size())
      font.setBold(CategoryLook(keywords_->Categories()[index].name, index).bold);
  }
  return font;
}

int KeywordLexer::CategoryStyle(size_t category) {
  return kFirstCategory + static_cast<int>(category % kCategoryStyles);
}

void KeywordLexer::SetKeywords(const ui::KeywordSet* keywords) {
  keywords_ = keywords;
  symbols_.clear();
  longest_symbol_ = 0;
  if (keywords) {
    const auto& categories = keywords->Categories();
    for (const ui::KeywordCategory& category : categories)
      for (const std::string& word : category.words) {
        if (word.empty() || IsWordStart(static_cast<unsigned char>(word[0]))) continue;
        const ui::KeywordCategory* owner = keywords->CategoryOf(word);
        symbols_[word] = CategoryStyle(static_cast<size_t>(owner - categories.data()));
        longest_symbol_ = std::max(longest_symbol_, word.size());
      }
  }
  // Each change is a round of calls into Scintilla: only the styles that differ get one.
  for (int style = 0; style < kFirstCategory + kCategoryStyles; ++style) {
    const QColor color_wanted = defaultColor(style);
    if (color(style) != color_wanted) setColor(color_wanted, style);
    const QFont font_wanted = defaultFont(style);
    if (font(style) != font_wanted) setFont(font_wanted, style);
  }
  // Everything is restyled, but only as it comes into view: styling a long text whole
  // at once would hold up the window's opening.
  if (QsciScintilla* e = editor()) {
    e->SendScintilla(QsciScintillaBase::SCI_STARTSTYLING, 0UL, 0L);
    e->viewport()->update();
  }
}

int KeywordLexer::WordStyle(std::string_view word) const {
  if (!keywords_) return kDefault;
  const ui::KeywordCategory* category = keywords_->CategoryOf(WordBytes(word));
  if (!category) return kDefault;
  return CategoryStyle(static_cast<size_t>(category - keywords_->Categories().data()));
}

// Lines are styled whole: nothing the language has spans a line, so each line starts fresh.
// Scintilla asks for everything from the last styled position to the end of what it shows;
// lines above the view are left for when they come into view, so that a window opening on
// the end of a long text styles one screenful. Scintilla is then told that styling still
// stops where it asked from: it asks again as it paints, and restyling shown lines that
// did not change costs little and repaints nothing.
void KeywordLexer::styleText(int start, int end) {
  QsciScintilla* sci = editor();
  if (!sci || end <= start) return;
  const int asked_from = start;
  const long shown_line =
      sci->SendScintilla(QsciScintilla::SCI_DOCLINEFROMVISIBLE,
                         sci->SendScintilla(QsciScintilla::SCI_GETFIRSTVISIBLELINE));
  const long shown_from = sci->SendScintilla(QsciScintilla::SCI_POSITIONFROMLINE, shown_line);
  if (shown_from > start && shown_from < end) start = static_cast<int>(shown_from);
  const long first_line = sci->SendScintilla(QsciScintilla::SCI_LINEFROMPOSITION, start);
  const long last_line = sci->SendScintilla(QsciScintilla::SCI_LINEFROMPOSITION, end - 1);
  start = static_cast<int>(sci->SendScintilla(QsciScintilla::SCI_POSITIONFROMLINE, first_line));
  end = static_cast<int>(sci->SendScintilla(QsciScintilla::SCI_GETLINEENDPOSITION, last_line));
  const long length = sci->SendScintilla(QsciScintilla::SCI_GETLENGTH);
  while (end < length) {
    char c = static_cast<char>(sci->SendScintilla(QsciScintilla::SCI_GETCHARAT, end));
    if (c != '\r' && c != '\n') break;
    ++end;
  }
  std::vector<char> buffer(static_cast<size_t>(end - start) + 1);
  sci->SendScintilla(QsciScintilla::SCI_GETTEXTRANGE, start, end, buffer.data());
  const std::string_view text(buffer.data(), static_cast<size_t>(end - start));

  startStyling(start);
  const size_t n = text.size();
  std::string styles(n, static_cast<char>(kDefault));
  auto byte = [&](size_t i) { return i < n ? static_cast<unsigned char>(text[i]) : 0; };
  auto line_end = [&](size_t i) {
    while (i < n && text[i] != '\r' && text[i] != '\n') ++i;
    return i;
  };
  size_t i = 0;
  while (i < n) {
    const unsigned char c = byte(i);
    size_t j = i + 1;
    int style = kDefault;
    if (c == '\'') {
      j = line_end(i);
      style = kComment;
    } else if (c == '"') {
      // A doubled quote stands for one; a string ends on its own line.
      while (j < n && text[j] != '\r' && text[j] != '\n') {
        if (text[j] == '"' && byte(j + 1) != '"') {
          ++j;
          break;
        }
        j += text[j] == '"' ? 2 : 1;
      }
      style = kString;
    } else if (c == '[') {
      while (j < n && text[j] != ']' && text[j] != '\r' && text[j] != '\n') ++j;
      if (j < n && text[j] == ']') ++j;
      style = kField;
    } else if (c == '&' && (byte(j) == 'H' || byte(j) == 'h') && IsHexDigit(byte(j + 1))) {
      j += 1;
      while (IsHexDigit(byte(j))) ++j;
      style = kNumber;
    } else if (c == '&' && (byte(j) == 'O' || byte(j) == 'o') && IsDigit(byte(j + 1))) {
      j += 1;
      while (IsDigit(byte(j))) ++j;
      style = kNumber;
    } else if (IsDigit(c) || (c == '.' && IsDigit(byte(j)))) {
      while (IsDigit(byte(j)) || byte(j) == '.') ++j;
      if ((byte(j) == 'E' || byte(j) == 'e') &&
          (IsDigit(byte(j + 1)) ||
           ((byte(j + 1) == '+' || byte(j + 1) == '-') && IsDigit(byte(j + 2))))) {
        j += 2;
        while (IsDigit(byte(j))) ++j;
      }
      style = kNumber;
    } else if (IsWordStart(c)) {
      while (IsWordByte(byte(j))) ++j;
      if (byte(j) == '$') ++j;
      std::string_view word = text.substr(i, j - i);
      if (EqualsIgnoreCase(word, "Rem")) {
        j = line_end(i);
        style = kComment;
      } else if ((EqualsIgnoreCase(word, "Records") || EqualsIgnoreCase(word, "Fields") ||
                  EqualsIgnoreCase(word, "Targets")) &&
                 byte(j) == '(') {
        // Records("In").Fields("Name"): the reference with its argument, as one.
        size_t k = j + 1;
        if (byte(k) == '"') {
          ++k;
          while (k < n && text[k] != '"' && text[k] != '\r' && text[k] != '\n') ++k;
          if (byte(k) == '"') ++k;
        } else {
          while (IsDigit(byte(k))) ++k;
        }
        if (byte(k) == ')') j = k + 1;
        style = kField;
      } else {
        style = WordStyle(word);
      }
    } else if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
      for (size_t len = std::min(longest_symbol_, n - i); len > 0; --len) {
        auto it = symbols_.find(std::string(text.substr(i, len)));
        if (it != symbols_.end()) {
          j = i + len;
          style = it->second;
          break;
        }
      }
    }
    std::fill(styles.begin() + static_cast<std::ptrdiff_t>(i),
              styles.begin() + static_cast<std::ptrdiff_t>(std::min(j, n)),
              static_cast<char>(style));
    i = j;
  }
  // One call for the whole range: Scintilla announces every styling call as a change.
  sci->SendScintilla(QsciScintilla::SCI_SETSTYLINGEX, static_cast<unsigned long>(n), styles.data());
  if (start > asked_from) startStyling(asked_from);
}

}  // namespace kx::qt
