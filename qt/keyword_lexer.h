#pragma once
// Keyword colouring for the editor control from our keyword file: a style per category of
// the file, and styles of their own for comments, strings, numbers and field references.

#include <Qsci/qscilexercustom.h>

#include <QFont>

#include <string>
#include <unordered_map>

#include "ui/keyword_file.h"

namespace kx::qt {

class KeywordLexer : public QsciLexerCustom {
  Q_OBJECT
 public:
  enum Style : int {
    kDefault = 0,
    kComment = 1,
    kString = 2,
    kNumber = 3,
    kField = 4,
    kFirstCategory = 8,
  };
  // Styles 32..39 are Scintilla's own, so categories stop below them.
  static constexpr int kCategoryStyles = 24;

  explicit KeywordLexer(QObject* parent = nullptr);

  const char* language() const override { return "kxexpr"; }
  QString description(int style) const override;
  void styleText(int start, int end) override;
  QColor defaultColor(int style) const override;
  QFont defaultFont(int style) const override;

  // The words to colour; nullptr colours none. The set must outlive its use here.
  void SetKeywords(const ui::KeywordSet* keywords);
  // The style a category gets (its position in the file).
  static int CategoryStyle(size_t category);

 private:
  int WordStyle(std::string_view word) const;

  QFont fixed_font_;  // what every style starts from
  const ui::KeywordSet* keywords_ = nullptr;
  std::unordered_map<std::string, int> symbols_;  // operator words such as "<>" -> style
  size_t longest_symbol_ = 0;
};

}  // namespace kx::qt
