#include "ui/headless/controls.h"

#include "runtime/error.h"

namespace kx::ui::headless {

std::string HeadlessCombo::Item(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
  return items_[static_cast<size_t>(row)];
}

void HeadlessToolbar::AddButton(const ToolbarButtonDef& def) {
  if (!def.key.empty() && Find(def.key)) Raise(kErrKeyNotUnique);
  buttons_.push_back(std::make_unique<HeadlessToolbarButton>(def));
}

ToolbarButton& HeadlessToolbar::Button(int32_t position) {
  if (position < 1 || position > ButtonCount()) Raise(kErrIndexOutOfBounds);
  return *buttons_[static_cast<size_t>(position - 1)];
}

ToolbarButton& HeadlessToolbar::Button(std::string_view key) {
  HeadlessToolbarButton* button = Find(key);
  if (!button) Raise(kErrElementNotFound);
  return *button;
}

HeadlessToolbarButton* HeadlessToolbar::Find(std::string_view key) {
  if (key.empty()) return nullptr;
  for (auto& button : buttons_)
    if (button->Key() == key) return button.get();
  return nullptr;
}

void HeadlessTreeView::Clear() {
  entries_.clear();
  roots_.clear();
  by_key_.clear();
  selected_.clear();
}

void HeadlessTreeView::AddNode(const TreeNode& node) {
  if (!node.key.empty() && by_key_.contains(node.key)) Raise(kErrKeyNotUnique);
  std::vector<size_t>* level = &roots_;
  if (!node.parent.empty()) level = &entries_[IndexOf(node.parent)].children;
  size_t index = entries_.size();
  level->push_back(index);
  entries_.push_back({node, {}});
  if (!node.key.empty()) by_key_.emplace(node.key, index);
}

std::optional<TreeNode> HeadlessTreeView::Node(std::string_view key) const {
  auto it = by_key_.find(key);
  if (it == by_key_.end()) return std::nullopt;
  return entries_[it->second].node;
}

void HeadlessTreeView::SetTag(std::string_view key, const std::string& tag) {
  entries_[IndexOf(key)].node.tag = tag;
}

void HeadlessTreeView::SetExpanded(std::string_view key, bool expanded) {
  entries_[IndexOf(key)].node.expanded = expanded;
}

int32_t HeadlessTreeView::ChildCount(std::string_view key) const {
  return static_cast<int32_t>(entries_[IndexOf(key)].children.size());
}

void HeadlessTreeView::SelectNode(std::string_view key) {
  if (!key.empty()) IndexOf(key);
  selected_ = std::string(key);
}

std::vector<TreeNode> HeadlessTreeView::Nodes() const {
  std::vector<TreeNode> out;
  out.reserve(entries_.size());
  Walk(roots_, out);
  return out;
}

size_t HeadlessTreeView::IndexOf(std::string_view key) const {
  auto it = by_key_.find(key);
  if (it == by_key_.end()) Raise(kErrElementNotFound);
  return it->second;
}

void HeadlessTreeView::Walk(const std::vector<size_t>& level, std::vector<TreeNode>& out) const {
  for (size_t index : level) {
    out.push_back(entries_[index].node);
    Walk(entries_[index].children, out);
  }
}

void HeadlessGrid::RemoveAll() {
  rows_.clear();
  current_row_ = -1;
  scrolled_to_ = -1;
}

void HeadlessGrid::AddRow(const std::string& text) {
  Row row;
  row.cells.resize(static_cast<size_t>(columns_));
  row.cells[0] = text;
  rows_.push_back(std::move(row));
}

std::string HeadlessGrid::CellText(int32_t row, int32_t column) const {
  CheckRow(row);
  CheckColumn(column);
  return rows_[static_cast<size_t>(row)].cells[static_cast<size_t>(column)];
}

void HeadlessGrid::SetCellText(int32_t row, int32_t column, const std::string& text) {
  CheckRow(row);
  CheckColumn(column);
  rows_[static_cast<size_t>(row)].cells[static_cast<size_t>(column)] = text;
}

void HeadlessGrid::SetCurrentRow(int32_t row) {
  if (row != -1) CheckRow(row);
  current_row_ = row;
}

void HeadlessGrid::SetCurrentColumn(int32_t column) {
  CheckColumn(column);
  current_column_ = column;
}

void HeadlessGrid::SetRowStyle(int32_t row, const std::string& style) {
  CheckRow(row);
  rows_[static_cast<size_t>(row)].style = style;
}

std::string HeadlessGrid::RowStyle(int32_t row) const {
  CheckRow(row);
  return rows_[static_cast<size_t>(row)].style;
}

void HeadlessGrid::ScrollTo(int32_t row) {
  CheckRow(row);
  scrolled_to_ = row;
}

void HeadlessGrid::SetColumns(int32_t count) {
  if (count < 1) Raise(kErrIndexOutOfBounds);
  columns_ = count;
  widths_.resize(static_cast<size_t>(count), 0);
  for (Row& row : rows_) row.cells.resize(static_cast<size_t>(count));
  if (current_column_ >= count) current_column_ = 0;
}

void HeadlessGrid::SetColumnWidth(int32_t column, int32_t twips) {
  CheckColumn(column);
  widths_[static_cast<size_t>(column)] = twips;
}

int32_t HeadlessGrid::ColumnWidth(int32_t column) const {
  CheckColumn(column);
  return widths_[static_cast<size_t>(column)];
}

std::vector<std::string> HeadlessGrid::Styles() const {
  std::vector<std::string> styles;
  styles.reserve(rows_.size());
  for (const Row& row : rows_) styles.push_back(row.style);
  return styles;
}

void HeadlessGrid::CheckRow(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
}

void HeadlessGrid::CheckColumn(int32_t column) const {
  if (column < 0 || column >= columns_) Raise(kErrIndexOutOfBounds);
}

}  // namespace kx::ui::headless
