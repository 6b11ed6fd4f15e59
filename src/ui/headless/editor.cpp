#include "ui/headless/editor.h"

#include <algorithm>

#include "runtime/files.h"
#include "runtime/text.h"
#include "ui/headless/driver.h"
#include "ui/line_marks.h"

namespace kx::ui::headless {

HeadlessEditor::HeadlessEditor(std::string name, std::string* focus, EditorContext context)
    : ControlOf(std::move(name), focus), context_(context) {}

void HeadlessEditor::InsertText(const std::string& text) {
  Step step{{}, anchor_, caret_, 0, 0};
  size_t at = SelMin();
  Edit(at, SelMax() - at, text, step);
  anchor_ = caret_ = at + text.size();
  Commit(std::move(step));
}

void HeadlessEditor::Clear() {
  Step step{{}, anchor_, caret_, 0, 0};
  Edit(0, text_.size(), "", step);
  anchor_ = caret_ = 0;
  Commit(std::move(step));
}

void HeadlessEditor::SetCaretPosition(int32_t position) {
  anchor_ = caret_ = static_cast<size_t>(std::clamp<int64_t>(position, 1, text_.size() + 1) - 1);
}

int32_t HeadlessEditor::SelectionStart() const {
  return static_cast<int32_t>(SelMin()) + 1;
}

int32_t HeadlessEditor::SelectionLength() const {
  return static_cast<int32_t>(SelMax() - SelMin());
}

void HeadlessEditor::Select(int32_t start, int32_t length) {
  int64_t from = std::clamp<int64_t>(start, 1, text_.size() + 1) - 1;
  int64_t count = std::clamp<int64_t>(length, 0, static_cast<int64_t>(text_.size()) - from);
  anchor_ = static_cast<size_t>(from);
  caret_ = static_cast<size_t>(from + count);
}

void HeadlessEditor::Copy() {
  if (SelMax() > SelMin() && context_.clipboard)
    *context_.clipboard = text_.substr(SelMin(), SelMax() - SelMin());
}

void HeadlessEditor::Cut() {
  if (SelMax() == SelMin()) return;
  Copy();
  InsertText("");
}

void HeadlessEditor::Paste() {
  if (context_.clipboard && !context_.clipboard->empty()) InsertText(*context_.clipboard);
}

void HeadlessEditor::Undo() {
  if (undo_.empty()) return;
  Step step = std::move(undo_.back());
  undo_.pop_back();
  for (auto it = step.changes.rbegin(); it != step.changes.rend(); ++it)
    Apply(it->at, it->inserted.size(), it->removed);
  anchor_ = step.anchor_before;
  caret_ = step.caret_before;
  redo_.push_back(std::move(step));
}

void HeadlessEditor::Redo() {
  if (redo_.empty()) return;
  Step step = std::move(redo_.back());
  redo_.pop_back();
  for (const Change& change : step.changes)
    Apply(change.at, change.removed.size(), change.inserted);
  anchor_ = step.anchor_after;
  caret_ = step.caret_after;
  undo_.push_back(std::move(step));
}

std::optional<size_t> HeadlessEditor::Search(const std::string& what, size_t from) const {
  if (what.empty() || what.size() > text_.size()) return std::nullopt;
  std::string text = LowerCase(text_);
  std::string sought = LowerCase(what);
  size_t at = text.find(sought, std::min(from, text.size()));
  if (at == std::string::npos) at = text.find(sought);
  if (at == std::string::npos) return std::nullopt;
  return at;
}

void HeadlessEditor::Find() {
  std::string what = context_.driver->AnswerFind();
  std::optional<size_t> at = Search(what, caret_);
  last_found_ = at.has_value();
  if (!at) return;
  anchor_ = *at;
  caret_ = *at + what.size();
}

void HeadlessEditor::Replace() {
  ReplaceAnswer answer = context_.driver->AnswerReplace();
  const std::string& find = answer.find;
  const std::string& with = answer.replacement;
  last_found_ = false;
  if (find.empty()) return;
  Step step{{}, anchor_, caret_, 0, 0};
  if (!answer.all) {
    // A selection that is the text sought is the match the user is looking at.
    bool on_match = SelMax() - SelMin() == find.size() &&
                    EqualsIgnoreCase(std::string_view(text_).substr(SelMin(), find.size()), find);
    std::optional<size_t> at = Search(find, on_match ? SelMin() : caret_);
    if (!at) return;
    Edit(*at, find.size(), with, step);
    anchor_ = caret_ = *at + with.size();
  } else {
    // Matches are found in the text as it was, so what a replacement puts in is never
    // searched again.
    std::string text = LowerCase(text_);
    std::string sought = LowerCase(find);
    std::vector<size_t> matches;
    for (size_t at = text.find(sought); at != std::string::npos;
         at = text.find(sought, at + sought.size()))
      matches.push_back(at);
    if (matches.empty()) return;
    size_t end = matches.back() + find.size();
    if (bookmarks_.empty()) {
      // One change over the span keeps a large replace-all linear.
      std::string span;
      size_t from = matches.front();
      for (size_t at : matches) {
        span.append(text_, from, at - from);
        span += with;
        from = at + find.size();
      }
      Edit(matches.front(), end - matches.front(), span, step);
      anchor_ = caret_ = matches.front() + span.size();
    } else {
      // Change by change, so that bookmarks between matches keep their lines.
      int64_t shift = 0;
      for (size_t at : matches) {
        Edit(static_cast<size_t>(static_cast<int64_t>(at) + shift), find.size(), with, step);
        shift += static_cast<int64_t>(with.size()) - static_cast<int64_t>(find.size());
      }
      anchor_ = caret_ = static_cast<size_t>(static_cast<int64_t>(end) + shift);
    }
  }
  last_found_ = true;
  Commit(std::move(step));
}

void HeadlessEditor::ToggleBookmark() {
  int32_t line = LineOf(CaretPosition());
  if (!bookmarks_.erase(line)) bookmarks_.insert(line);
}

void HeadlessEditor::NextBookmark() {
  if (bookmarks_.empty()) return;
  auto it = bookmarks_.upper_bound(LineOf(CaretPosition()));
  if (it == bookmarks_.end()) it = bookmarks_.begin();
  anchor_ = caret_ = LineStartOf(*it);
}

void HeadlessEditor::PrevBookmark() {
  if (bookmarks_.empty()) return;
  auto it = bookmarks_.lower_bound(LineOf(CaretPosition()));
  it = it == bookmarks_.begin() ? std::prev(bookmarks_.end()) : std::prev(it);
  anchor_ = caret_ = LineStartOf(*it);
}

std::vector<int32_t> HeadlessEditor::Bookmarks() const {
  return {bookmarks_.begin(), bookmarks_.end()};
}

void HeadlessEditor::ReloadKeywords() {
  std::filesystem::path name(std::string(Trim(keyword_file_)));
  std::filesystem::path found;
  if (!name.empty()) {
    std::vector<std::filesystem::path> candidates;
    if (name.is_relative() && context_.keyword_dirs)
      for (const auto& dir : *context_.keyword_dirs) candidates.push_back(dir / name);
    candidates.push_back(name);
    for (const auto& candidate : candidates) {
      std::error_code ec;
      if (std::filesystem::is_regular_file(candidate, ec)) {
        found = candidate;
        break;
      }
    }
  }
  if (found.empty()) {
    keywords_.reset();
    keyword_path_.clear();
    return;
  }
  keywords_ = ReadKeywordFile(found);
  keyword_path_ = found;
}

void HeadlessEditor::LoadFile(const std::string& path) {
  text_ = ReadWholeFile(path);
  anchor_ = caret_ = 0;
  undo_.clear();
  redo_.clear();
  bookmarks_.clear();
  ClearErrorMark();
}

void HeadlessEditor::SaveFile(const std::string& path) {
  WriteFileAtomic(path, text_);
}

int32_t HeadlessEditor::LineCount() const {
  return static_cast<int32_t>(LineStarts(text_).size());
}

int32_t HeadlessEditor::LineOf(int32_t position) const {
  int64_t offset = std::clamp<int64_t>(position, 1, text_.size() + 1) - 1;
  return LineAt(LineStarts(text_), static_cast<size_t>(offset));
}

size_t HeadlessEditor::LineStartOf(int32_t line) const {
  std::vector<size_t> starts = LineStarts(text_);
  return starts[static_cast<size_t>(std::clamp<int32_t>(line, 1, starts.size()) - 1)];
}

void HeadlessEditor::Edit(size_t at, size_t remove, const std::string& insert, Step& step) {
  if (remove == 0 && insert.empty()) return;
  step.changes.push_back({at, text_.substr(at, remove), insert});
  Apply(at, remove, insert);
}

void HeadlessEditor::Commit(Step step) {
  if (step.changes.empty()) return;
  step.anchor_after = anchor_;
  step.caret_after = caret_;
  undo_.push_back(std::move(step));
  redo_.clear();
}

void HeadlessEditor::Apply(size_t at, size_t remove, const std::string& insert) {
  if (!bookmarks_.empty())
    bookmarks_ = MoveLineMarks(bookmarks_, text_, {at, remove, insert.size()}, insert);
  text_.replace(at, remove, insert);
  ClearErrorMark();
}

void HeadlessEditor::MarkError(int32_t start, int32_t length) {
  const int32_t end = static_cast<int32_t>(text_.size()) + 1;
  start = std::clamp(start, 1, end);
  error_mark_ = {start, std::clamp(length, 0, end - start)};
}

}  // namespace kx::ui::headless
