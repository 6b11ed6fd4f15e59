#include "qt/item_views.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QInputMethod>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>

#include "qt/cp1252.h"
#include "runtime/error.h"

namespace kx::qt {

namespace {

// A node's key and tag live beside its item, as the presenter gave them: a thousand record
// layouts would otherwise each convert and store both as item data.
class NodeItem : public QTreeWidgetItem {
 public:
  static constexpr int kType = QTreeWidgetItem::UserType + 1;
  explicit NodeItem(const ui::TreeNode& node)
      : QTreeWidgetItem(QStringList(ToQt(node.text)), kType), key(node.key), tag(node.tag) {}
  std::string key;
  std::string tag;
};

NodeItem* AsNode(QTreeWidgetItem* item) {
  return item && item->type() == NodeItem::kType ? static_cast<NodeItem*>(item) : nullptr;
}
const NodeItem* AsNode(const QTreeWidgetItem* item) {
  return item && item->type() == NodeItem::kType ? static_cast<const NodeItem*>(item) : nullptr;
}

constexpr std::string_view kHighlight = "style_winhighlight";

}  // namespace

// ---- Tree ----

void TreeWidget::mousePressEvent(QMouseEvent* event) {
  QPoint at = event->position().toPoint();
  QModelIndex index = indexAt(at);
  bool on_node =
      index.isValid() && at.x() >= visualRect(index).left() && event->button() == Qt::LeftButton;
  QTreeWidget::mousePressEvent(event);
  if (on_node)
    if (QTreeWidgetItem* item = itemFromIndex(index)) emit nodeClicked(item);
}

void TreeWidget::keyPressEvent(QKeyEvent* event) {
  QTreeWidgetItem* before = currentItem();
  QTreeWidget::keyPressEvent(event);
  if (currentItem() && currentItem() != before) emit nodeClicked(currentItem());
}

QtTreeView::QtTreeView(std::string name, QTreeWidget* tree) : QtControl(std::move(name), tree) {
  tree->setHeaderHidden(true);
  tree->setColumnCount(1);
  tree->setUniformRowHeights(true);
  tree->setSelectionMode(QAbstractItemView::SingleSelection);
}

std::string QtTreeView::KeyOf(const QTreeWidgetItem* item) {
  const NodeItem* node = AsNode(item);
  return node ? node->key : std::string();
}

QTreeWidgetItem* QtTreeView::Item(std::string_view key) const {
  auto it = items_.find(std::string(key));
  return it == items_.end() ? nullptr : it->second;
}

QTreeWidgetItem* QtTreeView::Need(std::string_view key) const {
  QTreeWidgetItem* item = Item(key);
  if (!item) Raise(kErrElementNotFound);
  return item;
}

void QtTreeView::Clear() {
  Widget()->clear();
  items_.clear();
}

QTreeWidgetItem* QtTreeView::MakeItem(const ui::TreeNode& node) const {
  if (items_.count(node.key)) Raise(kErrKeyNotUnique);
  return new NodeItem(node);
}

void QtTreeView::AddNode(const ui::TreeNode& node) {
  QTreeWidgetItem* parent = node.parent.empty() ? nullptr : Need(node.parent);
  QTreeWidgetItem* item = MakeItem(node);
  if (parent)
    parent->addChild(item);
  else
    Widget()->addTopLevelItem(item);
  if (node.expanded) item->setExpanded(true);
  items_.emplace(node.key, item);
}

// The tree's model announces every insertion to the view, which for a thousand record
// layouts added one by one costs milliseconds: new items are put together off the tree
// and go in with one insertion per parent that is already in it.
void QtTreeView::AddNodes(const std::vector<ui::TreeNode>& nodes) {
  std::vector<std::pair<QTreeWidgetItem*, QList<QTreeWidgetItem*>>> batches;  // null: roots
  std::vector<QTreeWidgetItem*> expand;
  auto attach = [&] {
    for (auto& [parent, items] : batches) {
      if (parent)
        parent->addChildren(items);
      else
        Widget()->addTopLevelItems(items);
    }
    for (QTreeWidgetItem* item : expand) item->setExpanded(true);
  };
  items_.reserve(items_.size() + nodes.size());
  try {
    for (const ui::TreeNode& node : nodes) {
      QTreeWidgetItem* parent = node.parent.empty() ? nullptr : Need(node.parent);
      QTreeWidgetItem* item = MakeItem(node);
      if (parent && !parent->treeWidget()) {  // new in this call
        parent->addChild(item);
      } else {
        auto batch = std::find_if(batches.begin(), batches.end(),
                                  [&](const auto& b) { return b.first == parent; });
        if (batch == batches.end()) batch = batches.insert(batches.end(), {parent, {}});
        batch->second.append(item);
      }
      if (node.expanded) expand.push_back(item);
      items_.emplace(node.key, item);
    }
  } catch (...) {
    attach();
    throw;
  }
  attach();
}

ui::TreeNode QtTreeView::NodeOf(const QTreeWidgetItem* item) const {
  ui::TreeNode node;
  node.key = KeyOf(item);
  node.text = FromQt(item->text(0));
  node.tag = AsNode(item) ? AsNode(item)->tag : std::string();
  node.parent = item->parent() ? KeyOf(item->parent()) : std::string();
  node.expanded = item->isExpanded();
  return node;
}

std::optional<ui::TreeNode> QtTreeView::Node(std::string_view key) const {
  QTreeWidgetItem* item = Item(key);
  if (!item) return std::nullopt;
  return NodeOf(item);
}

void QtTreeView::SetTag(std::string_view key, const std::string& tag) {
  if (NodeItem* node = AsNode(Need(key))) node->tag = tag;
}

void QtTreeView::SetExpanded(std::string_view key, bool expanded) {
  Need(key)->setExpanded(expanded);
}

int32_t QtTreeView::ChildCount(std::string_view key) const {
  return Need(key)->childCount();
}

void QtTreeView::SelectNode(std::string_view key) {
  QSignalBlocker block(Widget());
  if (key.empty()) {
    Widget()->setCurrentItem(nullptr);
    Widget()->clearSelection();
    return;
  }
  QTreeWidgetItem* item = Need(key);
  Widget()->setCurrentItem(item);
  Widget()->scrollToItem(item);
}

std::string QtTreeView::SelectedKey() const {
  QList<QTreeWidgetItem*> selected = Widget()->selectedItems();
  return selected.isEmpty() ? std::string() : KeyOf(selected.front());
}

std::vector<ui::TreeNode> QtTreeView::Nodes() const {
  std::vector<ui::TreeNode> nodes;
  nodes.reserve(items_.size());
  std::function<void(QTreeWidgetItem*)> walk = [&](QTreeWidgetItem* item) {
    nodes.push_back(NodeOf(item));
    for (int i = 0; i < item->childCount(); ++i) walk(item->child(i));
  };
  for (int i = 0; i < Widget()->topLevelItemCount(); ++i) walk(Widget()->topLevelItem(i));
  return nodes;
}

// ---- Grid ----

int KeyCode(const QKeyEvent& event) {
  const int key = event.key();
  if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9))
    return key;  // the platform uses the same codes for letters and digits
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return 0x70 + (key - Qt::Key_F1);
  switch (key) {
    case Qt::Key_Backspace:
      return 8;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
      return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return 13;
    case Qt::Key_Shift:
      return 16;
    case Qt::Key_Control:
      return 17;
    case Qt::Key_Alt:
      return 18;
    case Qt::Key_Escape:
      return 27;
    case Qt::Key_Space:
      return 32;
    case Qt::Key_PageUp:
      return 33;
    case Qt::Key_PageDown:
      return 34;
    case Qt::Key_End:
      return 35;
    case Qt::Key_Home:
      return 36;
    case Qt::Key_Left:
      return 37;
    case Qt::Key_Up:
      return 38;
    case Qt::Key_Right:
      return 39;
    case Qt::Key_Down:
      return 40;
    case Qt::Key_Insert:
      return 45;
    case Qt::Key_Delete:
      return 46;
    default:
      return 0;
  }
}

GridWidget::GridWidget(QWidget* parent, bool builder_gesture)
    : QTableWidget(parent), builder_gesture_(builder_gesture) {
  verticalHeader()->hide();
  horizontalHeader()->setStretchLastSection(true);
  horizontalHeader()->setHighlightSections(false);
  // The row styles show the current row; Qt's own selection would paint a second one.
  setSelectionMode(QAbstractItemView::NoSelection);
  setWordWrap(false);
  setShowGrid(false);
  setColumnCount(1);
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
}

void GridWidget::keyPressEvent(QKeyEvent* event) {
  emit keyDown(KeyCode(*event));
  if (builder_gesture_ && event->modifiers() == Qt::NoModifier) {
    if (event->key() == Qt::Key_F4 && currentRow() >= 0) {
      emit buildFunction();
      return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentRow() >= 0) {
      emit rowDoubleClicked();
      return;
    }
  }
  QTableWidget::keyPressEvent(event);
}

void GridWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  QModelIndex index = indexAt(event->position().toPoint());
  if (!index.isValid()) return QTableWidget::mouseDoubleClickEvent(event);
  if (index.row() != currentRow()) setCurrentCell(index.row(), index.column());
  if (builder_gesture_ && (event->modifiers() & Qt::ControlModifier)) {
    emit buildFunction();
    return;
  }
  QTableWidget::mouseDoubleClickEvent(event);
  emit rowDoubleClicked();
}

void GridWidget::contextMenuEvent(QContextMenuEvent* event) {
  if (!builder_gesture_) return QTableWidget::contextMenuEvent(event);
  QModelIndex index = indexAt(event->pos());
  if (index.isValid() && index.row() != currentRow()) setCurrentCell(index.row(), index.column());
  if (currentRow() < 0) return;
  QMenu menu(this);
  QAction* build = menu.addAction(QStringLiteral("&Build Function...\tF4"));
  if (menu.exec(event->globalPos()) == build) emit buildFunction();
}

// Losing the focus changes the frame (a style may mark the focused view), the current
// cell's focus frame and the selection's colours. The table's own handler repaints every
// row and the scroll bars too, which a window that moves the focus on opening would pay
// for with a second paint of the whole table.
void GridWidget::focusOutEvent(QFocusEvent* event) {
  QRegion frame(rect());
  for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
    if (child->isVisible()) frame -= child->geometry();
  update(frame);
  QRegion cells;
  if (selectionModel()) cells = visualRegionForSelection(selectionModel()->selection());
  if (currentIndex().isValid()) cells += visualRect(currentIndex());
  viewport()->update(cells);
  if (qApp->autoSipEnabled() && testAttribute(Qt::WA_InputMethodEnabled))
    QGuiApplication::inputMethod()->hide();
  event->accept();
}

QtGrid::QtGrid(std::string name, GridWidget* grid) : QtControl(std::move(name), grid) {
  QObject::connect(grid, &QTableWidget::currentCellChanged, Guard(), [this](int row, int column) {
    if (writing_ > 0) return;
    if (before_) before_();
    current_row_ = row;
    current_column_ = column < 0 ? 0 : column;
    if (after_) after_();
  });
}

void QtGrid::Follow(std::function<void()> before, std::function<void()> after) {
  before_ = std::move(before);
  after_ = std::move(after);
}

void QtGrid::CheckRow(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
}

void QtGrid::CheckColumn(int32_t column) const {
  if (column < 0 || column >= Widget()->columnCount()) Raise(kErrIndexOutOfBounds);
}

void QtGrid::SetRedraw(bool redraw) {
  Widget()->setUpdatesEnabled(redraw);
}

void QtGrid::RemoveAll() {
  ++writing_;
  Widget()->setRowCount(0);
  --writing_;
  styles_.clear();
  current_row_ = -1;
}

QTableWidgetItem* QtGrid::Cell(int32_t row, int32_t column) {
  QTableWidgetItem* item = Widget()->item(row, column);
  if (!item) {
    item = new QTableWidgetItem;
    // Only the argument grid's value column takes typing; names are never edited.
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (column > 0) flags |= Qt::ItemIsEditable;
    item->setFlags(flags);
    Widget()->setItem(row, column, item);
  }
  return item;
}

void QtGrid::AddRow(const std::string& text) {
  ++writing_;
  const int row = Widget()->rowCount();
  Widget()->setRowCount(row + 1);
  styles_.emplace_back();
  for (int column = 0; column < Widget()->columnCount(); ++column)
    Cell(row, column)->setText(column == 0 ? ToQt(text) : QString());
  --writing_;
}

std::string QtGrid::CellText(int32_t row, int32_t column) const {
  CheckRow(row);
  CheckColumn(column);
  QTableWidgetItem* item = Widget()->item(row, column);
  return item ? FromQt(item->text()) : std::string();
}

void QtGrid::SetCellText(int32_t row, int32_t column, const std::string& text) {
  CheckRow(row);
  CheckColumn(column);
  ++writing_;
  Cell(row, column)->setText(ToQt(text));
  --writing_;
}

void QtGrid::SetCurrentRow(int32_t row) {
  if (row != -1) CheckRow(row);
  current_row_ = row;
  ++writing_;
  if (row < 0)
    Widget()->setCurrentItem(nullptr);
  else
    Widget()->setCurrentCell(row, current_column_);
  --writing_;
}

void QtGrid::SetCurrentColumn(int32_t column) {
  CheckColumn(column);
  current_column_ = column;
  if (current_row_ < 0) return;
  ++writing_;
  Widget()->setCurrentCell(current_row_, column);
  --writing_;
}

void QtGrid::SetRowStyle(int32_t row, const std::string& style) {
  CheckRow(row);
  styles_[static_cast<size_t>(row)] = style;
  Paint(row);
}

std::string QtGrid::RowStyle(int32_t row) const {
  CheckRow(row);
  return styles_[static_cast<size_t>(row)];
}

// The highlight row wears the palette's highlight whether or not the grid has the focus,
// so the current token stays visible while the user works in the editor.
void QtGrid::Paint(int32_t row) {
  const bool highlight = styles_[static_cast<size_t>(row)] == kHighlight;
  const QPalette& palette = Widget()->palette();
  ++writing_;
  for (int column = 0; column < Widget()->columnCount(); ++column) {
    QTableWidgetItem* item = Cell(row, column);
    item->setBackground(highlight ? palette.brush(QPalette::Active, QPalette::Highlight)
                                  : QBrush());
    item->setForeground(highlight ? palette.brush(QPalette::Active, QPalette::HighlightedText)
                                  : QBrush());
  }
  --writing_;
}

void QtGrid::ScrollTo(int32_t row) {
  CheckRow(row);
  Widget()->scrollToItem(Cell(row, 0));
}

void QtGrid::BringToFront() {
  Widget()->raise();
}

void QtGrid::Refresh() {
  Widget()->viewport()->update();
}

void QtGrid::SetColumns(int32_t count) {
  if (count < 1) Raise(kErrInvalidCall);
  ++writing_;
  Widget()->setColumnCount(count);
  for (int row = 0; row < Widget()->rowCount(); ++row) {
    for (int column = 0; column < count; ++column) Cell(row, column);
    Paint(row);
  }
  --writing_;
  if (current_column_ >= count) current_column_ = 0;
}

void QtGrid::SetColumnWidth(int32_t column, int32_t twips) {
  CheckColumn(column);
  Widget()->setColumnWidth(column, PixelsX(twips, Widget()));
}

}  // namespace kx::qt
