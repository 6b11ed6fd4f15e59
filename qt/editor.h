#pragma once
// The code-editor control on QScintilla. The document is UTF-8 inside Scintilla; the
// control's text is bytes shown as Windows-1252, and positions count those bytes from 1.

#include <Qsci/qsciscintilla.h>
#include <Qsci/qscistyle.h>

#include <QPointer>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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
  void completionRequested();  // Ctrl+Space

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
};

// The first syntax error of a text, as a live check reports it.
struct LiveError {
  int32_t start = 1;  // 1-based byte position
  int32_t length = 0;
  std::string message;
};
using LiveCheck = std::function<std::optional<LiveError>(const std::string& text)>;

class QtEditor : public QtControl<ui::EditorControl> {
 public:
  // Folders a keyword file named without a folder is looked for in, before the current
  // directory (not owned; may be null).
  QtEditor(std::string name, EditorWidget* editor,
           const std::vector<std::filesystem::path>* keyword_dirs);
  ~QtEditor() override;

  std::string Text() const override;
  bool Empty() const override { return Length() == 0; }
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
  // A squiggle under the text; an empty range marks the character at it (or the last one).
  void MarkError(int32_t start, int32_t length) override;
  void ClearErrorMark() override;
  std::pair<int32_t, int32_t> ErrorMark() const override { return error_mark_; }

  // Checks the text once typing has paused for `delay_ms`: the first error gets the
  // squiggle and its message under its line; a text without errors loses both. Never a
  // dialog. An empty `check` turns it off.
  void SetLiveCheck(LiveCheck check, int delay_ms = 500);
  // The check's message under the text, empty when none.
  const std::string& LiveMessage() const { return live_message_; }
  bool LiveCheckPending() const { return live_timer_->isActive(); }
  void RunLiveCheck();

  void SetAssist(ui::EditorAssist* assist) override;
  // Opens the completion list for the caret's place: a word, or a record or field name in
  // Records("…").Fields("…"). `typed`: asked by a keystroke, so a word needs three
  // characters first. False when there is nothing to offer.
  bool ShowCompletion(bool typed);
  // The call tip for the innermost host-library function whose argument list holds the
  // caret (its prototype and description, the current argument highlighted), or none.
  void UpdateCallTip();
  // The call tip shown, empty when none.
  std::string CallTip() const;

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
  const ui::KeywordSet* Keywords() const { return keywords_.get(); }
  const std::filesystem::path& KeywordPath() const { return keyword_path_; }
  // The style of the byte at a 1-based position (its line is styled first if need be).
  int StyleAt(int32_t position) const;
  // The last search text and whether it was found, for the dialogs.
  bool LastSearchFound() const { return last_found_; }

 private:
  long ToSci(int32_t position) const;  // 1-based byte position -> document position
  int32_t FromSci(long position) const;
  long Length() const;
  // The line-number margin as wide as the widest number, never narrower than three digits.
  void FitLineMargin();
  std::optional<std::pair<long, long>> Search(const std::string& what, long from, long to,
                                              bool match_case) const;

  const std::vector<std::filesystem::path>* keyword_dirs_;
  QPointer<KeywordLexer> lexer_;  // the widget's: it may go first
  std::string keyword_file_;
  std::filesystem::path keyword_path_;
  std::shared_ptr<const ui::KeywordSet> keywords_;
  std::string keyword_bytes_;  // the file as read, to tell a reload that changes nothing
  bool last_found_ = false;
  int margin_digits_ = 0;  // digits the line-number margin is wide enough for
  std::pair<int32_t, int32_t> error_mark_{0, 0};
  LiveCheck live_check_;
  QTimer* live_timer_;  // the widget's child
  std::string live_message_;
  QsciStyle live_style_;
  ui::EditorAssist* assist_ = nullptr;
  std::string call_tip_;
};

}  // namespace kx::qt
