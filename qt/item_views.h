#pragma once
// The token tree on QTreeView, the token grid on QListView and the other grids on
// QTableWidget.

#include <QAbstractItemModel>
#include <QListView>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QTreeView>

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "qt/controls.h"
#include "ui/grid.h"
#include "ui/tree_view.h"

namespace kx::qt {

// The token tree's nodes, in flat vectors: a thousand record layouts cost a thousand
// small records and one insertion, where an item each would cost an object, its data and
// an announcement each.
class TreeModel : public QAbstractItemModel {
 public:
  using QAbstractItemModel::QAbstractItemModel;
  struct Node {
    std::string key;
    std::string tag;
    std::string text;     // widened as the view asks: only shown nodes are
    int32_t parent = -1;  // -1: a root
    int32_t row = 0;      // among its parent's children
    std::vector<int32_t> children;
  };

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex&) const override { return 1; }
  bool hasChildren(const QModelIndex& parent = {}) const override { return rowCount(parent) > 0; }
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

  // -1 when there is no such node.
  int32_t Find(std::string_view key) const;
  const Node& At(int32_t id) const { return nodes_[static_cast<size_t>(id)]; }
  Node& At(int32_t id) { return nodes_[static_cast<size_t>(id)]; }
  QModelIndex IndexOf(int32_t id) const;
  int32_t IdOf(const QModelIndex& index) const;
  const std::vector<int32_t>& Children(int32_t parent) const;
  int32_t Size() const { return static_cast<int32_t>(nodes_.size()); }

  void Clear();
  // Appends nodes under one parent (-1: roots) in one insertion, up to the first whose key
  // is taken; how many it appended.
  size_t Append(int32_t parent, std::span<const ui::TreeNode> nodes);

 private:
  std::vector<Node> nodes_;
  std::vector<int32_t> roots_;
  std::unordered_map<std::string, int32_t> ids_;
};

// Paints an item of the tree and the grids (one line of text, its colours, the selection
// and the focus frame) the way the style's item painting does for such items, without its
// general text layout, which costs more than the rest of a row's paint.
class LineDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

// A tree that reports the user's clicks on nodes (not on the expand arrows) and moves of the
// current node by keyboard; moves the presenter makes are not reported.
class TreeWidget : public QTreeView {
  Q_OBJECT
 public:
  explicit TreeWidget(QWidget* parent = nullptr) : QTreeView(parent) {}
 signals:
  void nodeClicked(const QModelIndex& index);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

class QtTreeView : public QtControl<ui::TreeView> {
 public:
  QtTreeView(std::string name, TreeWidget* tree);
  void Clear() override;
  void AddNode(const ui::TreeNode& node) override;
  void AddNodes(const std::vector<ui::TreeNode>& nodes) override;
  std::optional<ui::TreeNode> Node(std::string_view key) const override;
  void SetTag(std::string_view key, const std::string& tag) override;
  void SetExpanded(std::string_view key, bool expanded) override;
  int32_t ChildCount(std::string_view key) const override;
  void SelectNode(std::string_view key) override;
  std::string SelectedKey() const override;
  std::vector<ui::TreeNode> Nodes() const override;

  TreeWidget* Widget() const { return static_cast<TreeWidget*>(widget_); }
  // The index of a node, invalid when there is none.
  QModelIndex Item(std::string_view key) const;
  // The key of an index of the tree, empty for any other.
  std::string KeyOf(const QModelIndex& index) const;

 private:
  int32_t Need(std::string_view key) const;  // raises 35601
  ui::TreeNode NodeOf(int32_t id) const;

  TreeModel* model_;  // the widget's child
};

// A table that tells its view about the gestures the grids' events need besides the
// current cell: the double-click and keys before the table acts on them.
class GridWidget : public QTableWidget {
  Q_OBJECT
 public:
  explicit GridWidget(QWidget* parent);

 signals:
  void rowDoubleClicked();
  // Before the table handles the key; the platform's key code.
  void keyDown(int key_code);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
};

// The token grid's rows: a text and whether the row wears the highlight.
class RowsModel : public QAbstractListModel {
 public:
  using QAbstractListModel::QAbstractListModel;
  struct Row {
    std::string text;
    std::string style;
  };

  int rowCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
  }
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

  const Row& At(int32_t row) const { return rows_[static_cast<size_t>(row)]; }
  void Clear();
  void Append(const std::string& text);
  void SetText(int32_t row, const std::string& text);
  void SetStyle(int32_t row, const std::string& style);
  // The colours of the highlight row.
  void SetHighlight(const QBrush& background, const QBrush& foreground);

 private:
  std::vector<Row> rows_;
  QBrush highlight_, highlight_text_;
};

// The one-column token grid: a list, which unlike a table makes no header views. It reports
// the double-click and the function-builder gesture: Ctrl+double-click, F4, or "Build
// Function..." from the context menu (Enter is a double-click).
class TokenListWidget : public QListView {
  Q_OBJECT
 public:
  explicit TokenListWidget(QWidget* parent);
  RowsModel* Rows() const { return rows_; }
  int CurrentRow() const { return currentIndex().row(); }
  void SetCurrentRow(int row);

 signals:
  void rowDoubleClicked();
  void buildFunction();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  RowsModel* rows_;
};

// The platform's key code of a Qt key (0 for keys it has none for).
int KeyCode(const QKeyEvent& event);

// What both grids share: the presenter hears of the user's moves of the current cell, but
// not of the moves it makes itself while writing.
class GridMoves {
 public:
  // The user moved the current cell: `before` runs while the grid still reports the old
  // cell, `after` once it reports the new one.
  void Follow(std::function<void()> before, std::function<void()> after) {
    before_ = std::move(before);
    after_ = std::move(after);
  }
  // Whether the presenter is writing cells (edits by the user are reported otherwise).
  bool Writing() const { return writing_ > 0; }

 protected:
  void UserMoved(int32_t row, int32_t column) {
    if (writing_ > 0) return;
    if (before_) before_();
    current_row_ = row;
    current_column_ = column < 0 ? 0 : column;
    if (after_) after_();
  }

  int32_t current_row_ = -1;
  int32_t current_column_ = 0;
  int writing_ = 0;

 private:
  std::function<void()> before_, after_;
};

class QtGrid : public QtControl<ui::Grid>, public GridMoves {
 public:
  QtGrid(std::string name, GridWidget* grid);
  void SetRedraw(bool redraw) override;
  void RemoveAll() override;
  void AddRow(const std::string& text) override;
  int32_t Rows() const override { return Widget()->rowCount(); }
  std::string CellText(int32_t row, int32_t column = 0) const override;
  void SetCellText(int32_t row, int32_t column, const std::string& text) override;
  int32_t CurrentRow() const override { return current_row_; }
  void SetCurrentRow(int32_t row) override;
  int32_t CurrentColumn() const override { return current_column_; }
  void SetCurrentColumn(int32_t column) override;
  void SetRowStyle(int32_t row, const std::string& style) override;
  std::string RowStyle(int32_t row) const override;
  void ScrollTo(int32_t row) override;
  void BringToFront() override;
  void Refresh() override;
  void SetColumns(int32_t count) override;
  void SetColumnWidth(int32_t column, int32_t twips) override;

  GridWidget* Widget() const { return static_cast<GridWidget*>(widget_); }

 private:
  void CheckRow(int32_t row) const;
  void CheckColumn(int32_t column) const;
  void Paint(int32_t row);
  QTableWidgetItem* Cell(int32_t row, int32_t column);

  std::vector<std::string> styles_;
};

class QtTokenGrid : public QtControl<ui::Grid>, public GridMoves {
 public:
  QtTokenGrid(std::string name, TokenListWidget* list);
  void SetRedraw(bool redraw) override;
  void RemoveAll() override;
  void AddRow(const std::string& text) override;
  int32_t Rows() const override { return Widget()->Rows()->rowCount(); }
  std::string CellText(int32_t row, int32_t column = 0) const override;
  void SetCellText(int32_t row, int32_t column, const std::string& text) override;
  int32_t CurrentRow() const override { return current_row_; }
  void SetCurrentRow(int32_t row) override;
  int32_t CurrentColumn() const override { return 0; }
  void SetCurrentColumn(int32_t column) override;
  void SetRowStyle(int32_t row, const std::string& style) override;
  std::string RowStyle(int32_t row) const override;
  void ScrollTo(int32_t row) override;
  void BringToFront() override;
  void Refresh() override;
  void SetColumns(int32_t count) override;  // one only
  void SetColumnWidth(int32_t column, int32_t twips) override;

  TokenListWidget* Widget() const { return static_cast<TokenListWidget*>(widget_); }

 private:
  void CheckRow(int32_t row) const;
  void CheckColumn(int32_t column) const;
};

}  // namespace kx::qt
