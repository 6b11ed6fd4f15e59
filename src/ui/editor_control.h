#pragma once
// The code-editor control. Text is bytes; positions are 1-based (position 1 is before the
// first character), lines are 1-based. Line breaks are whatever the text holds (CR LF).

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ui/controls.h"
#include "ui/editor_assist.h"

namespace kx::ui {

class EditorControl : public Control {
 public:
  virtual std::string Text() const = 0;
  // Whether there is no text; a control may answer without copying a long one out.
  virtual bool Empty() const { return Text().empty(); }
  // Inserts at the caret, replacing the selection; the caret ends after the text. One
  // undo step.
  virtual void InsertText(const std::string& text) = 0;
  // Empties the text (one undo step).
  virtual void Clear() = 0;

  virtual int32_t CaretPosition() const = 0;
  virtual void SetCaretPosition(int32_t position) = 0;  // clipped to 1..length+1
  // Selection as start position and length (length 0: no selection, start = caret).
  virtual int32_t SelectionStart() const = 0;
  virtual int32_t SelectionLength() const = 0;
  virtual void Select(int32_t start, int32_t length) = 0;  // clipped to the text

  virtual void Copy() = 0;
  virtual void Cut() = 0;
  virtual void Paste() = 0;
  virtual void Undo() = 0;
  virtual void Redo() = 0;
  virtual bool CanUndo() const = 0;
  virtual bool CanRedo() const = 0;

  // Opens the control's own find or replace function (a modal dialog of the control).
  virtual void Find() = 0;
  virtual void Replace() = 0;

  virtual void ToggleBookmark() = 0;  // on the caret's line
  virtual void DeleteAllBookmarks() = 0;
  virtual void NextBookmark() = 0;  // caret to the next bookmarked line, wrapping
  virtual void PrevBookmark() = 0;
  virtual std::vector<int32_t> Bookmarks() const = 0;  // line numbers, ascending

  // The keyword (colouring) file; a relative name is found as the view's environment says.
  virtual void SetKeywordFile(const std::string& path) = 0;
  virtual std::string KeywordFile() const = 0;
  virtual void ReloadKeywords() = 0;

  // Replaces the text with a file's bytes (clears undo) / writes the text to a file
  // through the safe save. Failures raise the platform's file errors.
  virtual void LoadFile(const std::string& path) = 0;
  virtual void SaveFile(const std::string& path) = 0;

  // Colour styles by name ("style_winhighlight", "style_tokennormal").
  virtual void SetStyle(const std::string& name) = 0;

  // Underlines the text of a syntax error (clipped to the text). The mark goes with the
  // next edit: once the text changed it no longer says where the error is.
  virtual void MarkError(int32_t start, int32_t length) = 0;
  virtual void ClearErrorMark() = 0;
  // The marked start and length; length 0 when nothing is marked.
  virtual std::pair<int32_t, int32_t> ErrorMark() const = 0;

  // What the editor offers while the user types (completion, call tips); null: nothing.
  // Not owned. An editor without a screen offers nothing and ignores it.
  virtual void SetAssist(EditorAssist* assist) { (void)assist; }
};

}  // namespace kx::ui
