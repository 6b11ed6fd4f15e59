#pragma once
// The code-editor control on QScintilla. The document is UTF-8 inside Scintilla; the
// control's text is bytes shown as Windows-1252, and positions count those bytes from 1.

#include <Qsci/qsciscintilla.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "qt/controls.h"
#include "qt/keyword_lexer.h"
#include "ui/editor_control.h"
#include "ui/keyword_file.h"

namespace kx::qt {

// Says when the user is about to type or click, before the keystroke or click acts.
class EditorWidget : public QsciScintilla {
  Q_OBJECT
 public:
  explicit EditorWidget(QWidget* parent = nullptr);
 signals:
  void keyDown();
  void mouseDown();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
};

class QtEditor : public QtControl<ui::EditorControl> {
 public:
  // Folders a keyword file named without a folder is looked for in, before the current
  // directory (not owned; may be null).
  QtEditor(std::string name, EditorWidget* editor,
           const std::vector<std::filesystem::path>* keyword_dirs);
  ~QtEditor() override;

  std::string Text() const override;
  void InsertText(const std::string& text) override;
  void Clear() override;
  int32_t CaretPosition() const override;
  void SetCaretPosition(int32_t position) override;
  int32_t SelectionStart() const override;
  int32_t SelectionLength() const override;
  void Select(int32_t start, int32_t length) override;
  void Copy() override;
  void Cut() override;
  void Paste() override;
  void Undo() override;
  void Redo() override;
  bool CanUndo() const override;
  bool CanRedo() const override;
  // Open the find or replace dialog, modally.
  void Find() override;
  void Replace() override;
  void ToggleBookmark() override;
  void DeleteAllBookmarks() override;
  void NextBookmark() override;
  void PrevBookmark() override;
  std::vector<int32_t> Bookmarks() const override;
  void SetKeywordFile(const std::string& path) override { keyword_file_ = path; }
  std::string KeywordFile() const override { return keyword_file_; }
  // A name that finds no file turns colouring off; a malformed file raises the reader's
  // error and keeps the keywords in use.
  void ReloadKeywords() override;
  void LoadFile(const std::string& path) override;
  void SaveFile(const std::string& path) override;
  void SetStyle(const std::string& name) override;
  // The code keeps a fixed-pitch font: a proportional general font is not taken.
  void SetFontName(const std::string& name) override;

  // What the find and replace dialogs do. Searches ignore case unless asked; a find selects
  // the next match at or after the caret, wrapping to the top.
  bool FindNext(const std::string& what, bool match_case);
  // Replaces the selection when it is a match, then finds the next one. Returns whether
  // it replaced.
  bool ReplaceNext(const std::string& what, const std::string& with, bool match_case);
  // Replaces every match as one undo step. The search goes on after each replacement, so
  // a replacement that contains the text sought cannot loop. Returns the count.
  int ReplaceAll(const std::string& what, const std::string& with, bool match_case);

  // The dialogs Find and Replace open; tests and scripts put their own in.
  std::function<void(QtEditor&)> find_dialog;
  std::function<void(QtEditor&)> replace_dialog;

  EditorWidget* Widget() const { return static_cast<EditorWidget*>(widget_); }
  KeywordLexer& Lexer() { return *lexer_; }
  const ui::KeywordSet* Keywords() const { return keywords_ ? &*keywords_ : nullptr; }
  const std::filesystem::path& KeywordPath() const { return keyword_path_; }
  // The style Scintilla gave the byte at a 1-based position (styles lazily: colourise first).
  int StyleAt(int32_t position) const;
  // The last search text and whether it was found, for the dialogs.
  bool LastSearchFound() const { return last_found_; }

 private:
  long ToSci(int32_t position) const;  // 1-based byte position -> document position
  int32_t FromSci(long position) const;
  long Length() const;
  std::optional<std::pair<long, long>> Search(const std::string& what, long from, long to,
                                              bool match_case) const;

  const std::vector<std::filesystem::path>* keyword_dirs_;
  QPointer<KeywordLexer> lexer_;  // the widget's: it may go first
  std::string keyword_file_;
  std::filesystem::path keyword_path_;
  std::optional<ui::KeywordSet> keywords_;
  bool last_found_ = false;
};

}  // namespace kx::qt
