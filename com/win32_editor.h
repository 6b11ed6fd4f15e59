#pragma once
// The code editor over a rich edit control: plain text, many undo levels, bookmarks kept by
// line and moved with the text, find and replace through the system's common dialogs. The keyword
// file is read (a bad one is an error, as elsewhere) but not shown: colours in a rich edit are undo
// steps.

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ui/keyword_file.h"
#include "win32_controls.h"

namespace kx::com::win32 {

class Win32Editor : public Win32Control<ui::EditorControl>, public Notified {
 public:
  struct Events {
    std::function<void()> key_down;
    std::function<void()> mouse_down;
  };
  Win32Editor(std::string name, HWND parent, std::vector<std::filesystem::path> keyword_dirs,
              Events events);
  ~Win32Editor() override;

  std::string Text() const override;
  void InsertText(const std::string& text) override;
  void Clear() override;
  int32_t CaretPosition() const override;
  void SetCaretPosition(int32_t position) override;
  int32_t SelectionStart() const override;
  int32_t SelectionLength() const override;
  void Select(int32_t start, int32_t length) override;
  void Copy() override;
  void Cut() override { SendMessageW(window_, WM_CUT, 0, 0); }
  void Paste() override;
  void Undo() override { SendMessageW(window_, EM_UNDO, 0, 0); }
  void Redo() override;
  bool CanUndo() const override { return SendMessageW(window_, EM_CANUNDO, 0, 0) != 0; }
  bool CanRedo() const override;
  void Find() override;
  void Replace() override;
  void ToggleBookmark() override;
  void DeleteAllBookmarks() override;
  void NextBookmark() override;
  void PrevBookmark() override;
  std::vector<int32_t> Bookmarks() const override;
  void SetKeywordFile(const std::string& path) override { keyword_file_ = path; }
  std::string KeywordFile() const override { return keyword_file_; }
  void ReloadKeywords() override;
  void LoadFile(const std::string& path) override;
  void SaveFile(const std::string& path) override;
  void SetStyle(const std::string&) override {}
  // The mark is kept, not drawn: formatting a rich edit control's text would be an undo step.
  void MarkError(int32_t start, int32_t length) override;
  void ClearErrorMark() override { marked_text_.reset(); }
  std::pair<int32_t, int32_t> ErrorMark() const override;

  // Subclass procedure: the presenter hears of a key or click before the control acts.
  LRESULT Procedure(UINT message, WPARAM wparam, LPARAM lparam);
  // Every change of the text, typed or not, moves the bookmarks along.
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  struct Range {
    long start;
    long end;
  };
  Range RichSelection() const;
  // Byte positions (CR LF counted as two, 0-based) <-> the control's (a line break is one).
  long ToRich(const std::string& text, size_t offset) const;
  size_t FromRich(const std::string& text, long index) const;
  int32_t LineOfRich(long index) const;
  void GoToLine(int32_t line);
  void RunSearchDialog(bool replace);
  // Moves the bookmarks with what changed since the text was last seen. Called on each
  // change the control reports, and before bookmarks are used, should a report not come.
  void Follow() const;

  std::vector<std::filesystem::path> keyword_dirs_;
  Events events_;
  std::string keyword_file_;
  std::optional<ui::KeywordSet> keywords_;
  mutable std::set<int32_t> bookmarks_;
  mutable std::string seen_;
  // The text the error mark belongs to: an edit since then drops the mark.
  std::optional<std::string> marked_text_;
  std::pair<int32_t, int32_t> mark_{0, 0};
};

}  // namespace kx::com::win32
