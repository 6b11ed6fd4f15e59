#pragma once
// The headless code-editor control: a small real text buffer with a caret and a
// selection, undo/redo, bookmarks that follow their lines, the clipboard, find/replace
// answered by the Driver, and the keyword file read with the project's reader.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ui/editor_control.h"
#include "ui/headless/controls.h"
#include "ui/keyword_file.h"

namespace kx::ui::headless {

class Driver;

// What the editor needs from its environment. Not owned.
struct EditorContext {
  Driver* driver = nullptr;
  std::string* clipboard = nullptr;
  // Folders a keyword file named without a folder is looked for in, in order, before the
  // current directory.
  const std::vector<std::filesystem::path>* keyword_dirs = nullptr;
};

class HeadlessEditor : public ControlOf<EditorControl> {
 public:
  HeadlessEditor(std::string name, std::string* focus, EditorContext context);

  std::string Text() const override { return text_; }
  void InsertText(const std::string& text) override;
  void Clear() override;

  int32_t CaretPosition() const override { return caret_ + 1; }
  void SetCaretPosition(int32_t position) override;
  int32_t SelectionStart() const override;
  int32_t SelectionLength() const override;
  // The caret ends at the selection's end.
  void Select(int32_t start, int32_t length) override;

  void Copy() override;
  void Cut() override;
  void Paste() override;
  void Undo() override;
  void Redo() override;
  bool CanUndo() const override { return !undo_.empty(); }
  bool CanRedo() const override { return !redo_.empty(); }

  // Case-insensitive (ASCII), as the control's dialogs start. Find selects the next match
  // at or after the caret, wrapping to the top; no match leaves everything as it was.
  void Find() override;
  // Replace-all replaces every match as one undo step, scanning on after each replacement
  // (so a replacement that contains the text sought cannot loop). A single replace
  // replaces the next match at or after the selection's start and selects what it put.
  void Replace() override;

  void ToggleBookmark() override;
  void DeleteAllBookmarks() override { bookmarks_.clear(); }
  void NextBookmark() override;
  void PrevBookmark() override;
  std::vector<int32_t> Bookmarks() const override;

  void SetKeywordFile(const std::string& path) override { keyword_file_ = path; }
  std::string KeywordFile() const override { return keyword_file_; }
  // Reads the keyword file. A name that finds no file turns colouring off (no error); a
  // malformed file raises the reader's error and leaves the previous keywords.
  void ReloadKeywords() override;

  void LoadFile(const std::string& path) override;
  void SaveFile(const std::string& path) override;

  void SetStyle(const std::string& name) override { styles_.push_back(name); }

  void MarkError(int32_t start, int32_t length) override;
  void ClearErrorMark() override { error_mark_ = {0, 0}; }
  std::pair<int32_t, int32_t> ErrorMark() const override { return error_mark_; }

  // For tests and scripts.
  // The keywords in use, nullptr while colouring is off.
  const KeywordSet* Keywords() const { return keywords_ ? &*keywords_ : nullptr; }
  // The file the keywords were read from, empty while colouring is off.
  const std::filesystem::path& KeywordPath() const { return keyword_path_; }
  // The style names set, in order.
  const std::vector<std::string>& Styles() const { return styles_; }
  int32_t LineCount() const;
  // The 1-based line of a 1-based position (clipped).
  int32_t LineOf(int32_t position) const;
  // Whether the last Find or Replace found its text.
  bool LastSearchFound() const { return last_found_; }

 private:
  // One primitive change: at `at` (0-based), `removed` became `inserted`.
  struct Change {
    size_t at;
    std::string removed;
    std::string inserted;
  };
  // One undo step: its changes in the order they were made, and the caret around it.
  struct Step {
    std::vector<Change> changes;
    size_t anchor_before, caret_before, anchor_after, caret_after;
  };

  void Apply(size_t at, size_t remove, const std::string& insert);
  void Commit(Step step);
  void Edit(size_t at, size_t remove, const std::string& insert, Step& step);
  size_t SelMin() const { return std::min(anchor_, caret_); }
  size_t SelMax() const { return std::max(anchor_, caret_); }
  std::optional<size_t> Search(const std::string& what, size_t from) const;
  size_t LineStartOf(int32_t line) const;

  EditorContext context_;
  std::string text_;
  size_t anchor_ = 0;  // 0-based; the selection lies between anchor and caret
  size_t caret_ = 0;
  std::vector<Step> undo_;
  std::vector<Step> redo_;
  std::set<int32_t> bookmarks_;
  std::string keyword_file_;
  std::filesystem::path keyword_path_;
  std::optional<KeywordSet> keywords_;
  std::vector<std::string> styles_;
  bool last_found_ = false;
  std::pair<int32_t, int32_t> error_mark_{0, 0};
};

}  // namespace kx::ui::headless
