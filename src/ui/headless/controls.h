#pragma once
// Headless controls: each keeps the state a presenter gives it and returns it unchanged.
// Out-of-range rows, positions and indexes raise 35600 ("Index out of bounds"), unknown
// keys 35601 ("Element not found"), as the platform's controls do.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/controls.h"
#include "ui/grid.h"
#include "ui/tree_view.h"

namespace kx::ui::headless {

// The state every control shares. `focus` is the window's record of the focused control.
template <typename Base>
class ControlOf : public Base {
 public:
  ControlOf(std::string name, std::string* focus) : name_(std::move(name)), focus_(focus) {}
  std::string_view Name() const override { return name_; }
  void SetVisible(bool visible) override { visible_ = visible; }
  bool Visible() const override { return visible_; }
  void SetEnabled(bool enabled) override { enabled_ = enabled; }
  bool Enabled() const override { return enabled_; }
  void SetFontName(const std::string& name) override { font_name_ = name; }
  void SetHelpContextID(int32_t id) override { help_id_ = id; }
  int32_t HelpContextID() const override { return help_id_; }
  void SetFocus() override {
    if (focus_) *focus_ = name_;
  }
  void SetBounds(const Rect& bounds) override { bounds_ = bounds; }
  Rect Bounds() const override { return bounds_; }

  // The last font name given, empty when none.
  const std::string& FontName() const { return font_name_; }
  bool HasFocus() const { return focus_ && *focus_ == name_; }

 private:
  std::string name_;
  std::string* focus_;
  bool visible_ = true;
  bool enabled_ = true;
  std::string font_name_;
  int32_t help_id_ = 0;
  Rect bounds_;
};

class HeadlessLabel : public ControlOf<Label> {
 public:
  using ControlOf::ControlOf;
  void SetCaption(const std::string& caption) override { caption_ = caption; }
  std::string Caption() const override { return caption_; }

 private:
  std::string caption_;
};

class HeadlessTextBox : public ControlOf<TextBox> {
 public:
  using ControlOf::ControlOf;
  void SetText(const std::string& text) override { text_ = text; }
  std::string Text() const override { return text_; }

 private:
  std::string text_;
};

class HeadlessButton : public ControlOf<Button> {
 public:
  using ControlOf::ControlOf;
  void SetCaption(const std::string& caption) override { caption_ = caption; }
  std::string Caption() const override { return caption_; }

 private:
  std::string caption_;
};

class HeadlessCheckBox : public ControlOf<CheckBox> {
 public:
  using ControlOf::ControlOf;
  void SetCaption(const std::string& caption) override { caption_ = caption; }
  const std::string& Caption() const { return caption_; }
  void SetValue(bool checked) override { value_ = checked; }
  bool Value() const override { return value_; }

 private:
  std::string caption_;
  bool value_ = false;
};

class HeadlessCombo : public ControlOf<Combo> {
 public:
  using ControlOf::ControlOf;
  void RemoveAll() override { items_.clear(); }
  void AddItem(const std::string& text) override { items_.push_back(text); }
  int32_t Rows() const override { return static_cast<int32_t>(items_.size()); }
  std::string Item(int32_t row) const override;
  void SetText(const std::string& text) override { text_ = text; }
  std::string Text() const override { return text_; }
  void SetListWidth(int32_t twips) override { list_width_ = twips; }
  int32_t ListWidth() const { return list_width_; }

 private:
  std::vector<std::string> items_;
  std::string text_;
  int32_t list_width_ = 0;
};

class HeadlessMenuItem : public ControlOf<MenuItem> {
 public:
  HeadlessMenuItem(const MenuDef& def, std::string* focus)
      : ControlOf(def.name, focus), def_(def) {}
  void SetCaption(const std::string& caption) override { def_.caption = caption; }
  std::string Caption() const override { return def_.caption; }
  const std::string& Parent() const { return def_.parent; }
  const std::string& Shortcut() const { return def_.shortcut; }

 private:
  MenuDef def_;
};

class HeadlessToolbarButton : public ToolbarButton {
 public:
  explicit HeadlessToolbarButton(const ToolbarButtonDef& def) : def_(def) {}
  std::string Key() const override { return def_.key; }
  void SetEnabled(bool enabled) override { enabled_ = enabled; }
  bool Enabled() const override { return enabled_; }
  void SetToolTip(const std::string& text) override { def_.tooltip = text; }
  std::string ToolTip() const override { return def_.tooltip; }
  void SetImage(const std::string& image) override { def_.image = image; }
  std::string Image() const override { return def_.image; }
  bool Separator() const { return def_.separator; }

 private:
  ToolbarButtonDef def_;
  bool enabled_ = true;
};

class HeadlessToolbar : public ControlOf<Toolbar> {
 public:
  using ControlOf::ControlOf;
  void AddButton(const ToolbarButtonDef& def) override;
  int32_t ButtonCount() const override { return static_cast<int32_t>(buttons_.size()); }
  ToolbarButton& Button(int32_t position) override;
  ToolbarButton& Button(std::string_view key) override;
  // nullptr for a key no button has.
  HeadlessToolbarButton* Find(std::string_view key);

 private:
  std::vector<std::unique_ptr<HeadlessToolbarButton>> buttons_;
};

class HeadlessPane : public ControlOf<Pane> {
 public:
  using ControlOf::ControlOf;
};

class HeadlessTreeView : public ControlOf<TreeView> {
 public:
  using ControlOf::ControlOf;
  void Clear() override;
  void AddNode(const TreeNode& node) override;
  std::optional<TreeNode> Node(std::string_view key) const override;
  void SetTag(std::string_view key, const std::string& tag) override;
  void SetExpanded(std::string_view key, bool expanded) override;
  int32_t ChildCount(std::string_view key) const override;
  void SelectNode(std::string_view key) override;
  std::string SelectedKey() const override { return selected_; }
  std::vector<TreeNode> Nodes() const override;

 private:
  struct Entry {
    TreeNode node;
    std::vector<size_t> children;
  };
  size_t IndexOf(std::string_view key) const;  // raises 35601
  void Walk(const std::vector<size_t>& level, std::vector<TreeNode>& out) const;

  std::vector<Entry> entries_;
  std::vector<size_t> roots_;
  std::map<std::string, size_t, std::less<>> by_key_;
  std::string selected_;
};

class HeadlessGrid : public ControlOf<Grid> {
 public:
  using ControlOf::ControlOf;
  void SetRedraw(bool redraw) override { redraw_ = redraw; }
  bool Redraw() const { return redraw_; }
  void RemoveAll() override;
  void AddRow(const std::string& text) override;
  int32_t Rows() const override { return static_cast<int32_t>(rows_.size()); }
  std::string CellText(int32_t row, int32_t column = 0) const override;
  void SetCellText(int32_t row, int32_t column, const std::string& text) override;
  int32_t CurrentRow() const override { return current_row_; }
  // -1 clears the current row; other rows must exist.
  void SetCurrentRow(int32_t row) override;
  int32_t CurrentColumn() const override { return current_column_; }
  void SetCurrentColumn(int32_t column) override;
  void SetRowStyle(int32_t row, const std::string& style) override;
  std::string RowStyle(int32_t row) const override;
  void ScrollTo(int32_t row) override;
  void BringToFront() override { ++brought_to_front_; }
  void Refresh() override { ++refreshes_; }
  void SetColumns(int32_t count) override;
  int32_t Columns() const { return columns_; }
  void SetColumnWidth(int32_t column, int32_t twips) override;
  int32_t ColumnWidth(int32_t column) const;
  // The row the last ScrollTo made visible (-1 before any).
  int32_t ScrolledTo() const { return scrolled_to_; }
  int32_t TimesBroughtToFront() const { return brought_to_front_; }
  // Every row's style, in row order.
  std::vector<std::string> Styles() const;

 private:
  struct Row {
    std::vector<std::string> cells;
    std::string style;
  };
  void CheckRow(int32_t row) const;
  void CheckColumn(int32_t column) const;

  std::vector<Row> rows_;
  int32_t columns_ = 1;
  std::vector<int32_t> widths_ = {0};
  int32_t current_row_ = -1;
  int32_t current_column_ = 0;
  int32_t scrolled_to_ = -1;
  int32_t brought_to_front_ = 0;
  int32_t refreshes_ = 0;
  bool redraw_ = true;
};

}  // namespace kx::ui::headless
