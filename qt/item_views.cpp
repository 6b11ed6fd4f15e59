#include "qt/item_views.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QInputMethod>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStyle>

#include <algorithm>

#include "qt/cp1252.h"
#include "runtime/error.h"

namespace kx::qt {

namespace {

constexpr std::string_view kHighlight = "style_winhighlight";

}  // namespace

// ---- Painting ----

void LineDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
  const QWidget* widget = option.widget;
  QStyle* style = widget ? widget->style() : QApplication::style();
  const QPalette::ColorGroup group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
                                     : (option.state & QStyle::State_Active) ? QPalette::Normal
                                                                             : QPalette::Inactive;
  const bool selected = option.state & QStyle::State_Selected;
  if (selected) {
    painter->fillRect(option.rect, option.palette.brush(group, QPalette::Highlight));
  } else if (const QVariant background = index.data(Qt::BackgroundRole);
             background.canConvert<QBrush>()) {
    const QBrush brush = qvariant_cast<QBrush>(background);
    if (brush.style() != Qt::NoBrush) painter->fillRect(option.rect, brush);
  }

  const QString text = index.data(Qt::DisplayRole).toString();
  if (!text.isEmpty()) {
    QBrush pen = option.palette.brush(group, selected ? QPalette::HighlightedText : QPalette::Text);
    if (const QVariant foreground = index.data(Qt::ForegroundRole);
        !selected && foreground.canConvert<QBrush>()) {
      const QBrush brush = qvariant_cast<QBrush>(foreground);
      if (brush.style() != Qt::NoBrush) pen = brush;
    }
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
    const QRect area = option.rect.adjusted(margin, 0, -margin, 0);
    painter->save();
    painter->setFont(option.font);
    painter->setPen(QPen(pen, 0));
    // At a point, not in a rectangle: the rectangle's alignment lays the text out again.
    const QFontMetrics& metrics = option.fontMetrics;
    const int top = area.top() + (area.height() - metrics.height()) / 2;
    painter->drawText(QPoint(area.left(), top + metrics.ascent()),
                      metrics.elidedText(text, Qt::ElideRight, area.width()));
    painter->restore();
  }

  if (option.state & QStyle::State_HasFocus) {
    QStyleOptionFocusRect focus;
    focus.QStyleOption::operator=(option);
    focus.rect = option.rect;
    focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
    focus.backgroundColor =
        option.palette.color(group, selected ? QPalette::Highlight : QPalette::Window);
    style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, widget);
  }
}

// ---- Tree ----

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (column != 0 || row < 0) return {};
  const std::vector<int32_t>& list = Children(IdOf(parent));
  if (row >= static_cast<int>(list.size())) return {};
  return createIndex(row, 0, static_cast<quintptr>(list[static_cast<size_t>(row)]));
}

QModelIndex TreeModel::parent(const QModelIndex& child) const {
  const int32_t id = IdOf(child);
  return id < 0 ? QModelIndex() : IndexOf(At(id).parent);
}

int TreeModel::rowCount(const QModelIndex& parent) const {
  if (parent.column() > 0) return 0;
  return static_cast<int>(Children(IdOf(parent)).size());
}

QVariant TreeModel::data(const QModelIndex& index, int role) const {
  const int32_t id = IdOf(index);
  if (id < 0 || (role != Qt::DisplayRole && role != Qt::EditRole)) return {};
  return ToQt(At(id).text);
}

int32_t TreeModel::Find(std::string_view key) const {
  auto it = ids_.find(std::string(key));
  return it == ids_.end() ? -1 : it->second;
}

QModelIndex TreeModel::IndexOf(int32_t id) const {
  return id < 0 ? QModelIndex() : createIndex(At(id).row, 0, static_cast<quintptr>(id));
}

int32_t TreeModel::IdOf(const QModelIndex& index) const {
  if (!index.isValid() || index.model() != this) return -1;
  return static_cast<int32_t>(index.internalId());
}

const std::vector<int32_t>& TreeModel::Children(int32_t parent) const {
  return parent < 0 ? roots_ : At(parent).children;
}

void TreeModel::Clear() {
  beginResetModel();
  nodes_.clear();
  roots_.clear();
  ids_.clear();
  endResetModel();
}

size_t TreeModel::Append(int32_t parent, std::span<const ui::TreeNode> nodes) {
  // The keys first: the view must not see a node that then fails.
  const auto first_id = static_cast<int32_t>(nodes_.size());
  size_t count = 0;
  while (count < nodes.size() &&
         ids_.try_emplace(nodes[count].key, first_id + static_cast<int32_t>(count)).second)
    ++count;
  if (count == 0) return 0;
  // Before taking the parent's list: growing the nodes would move it.
  const size_t needed = nodes_.size() + count;
  if (needed > nodes_.capacity()) nodes_.reserve(std::max(needed, 2 * nodes_.capacity()));
  std::vector<int32_t>& list = parent < 0 ? roots_ : At(parent).children;
  const int first = static_cast<int>(list.size());
  beginInsertRows(IndexOf(parent), first, first + static_cast<int>(count) - 1);
  for (size_t i = 0; i < count; ++i) {
    list.push_back(static_cast<int32_t>(nodes_.size()));
    nodes_.push_back(
        {nodes[i].key, nodes[i].tag, nodes[i].text, parent, static_cast<int32_t>(first + i), {}});
  }
  endInsertRows();
  return count;
}

void TreeWidget::mousePressEvent(QMouseEvent* event) {
  QPoint at = event->position().toPoint();
  QModelIndex index = indexAt(at);
  bool on_node =
      index.isValid() && at.x() >= visualRect(index).left() && event->button() == Qt::LeftButton;
  QTreeView::mousePressEvent(event);
  if (on_node) emit nodeClicked(index);
}

void TreeWidget::keyPressEvent(QKeyEvent* event) {
  const QPersistentModelIndex before = currentIndex();
  QTreeView::keyPressEvent(event);
  if (currentIndex().isValid() && currentIndex() != before) emit nodeClicked(currentIndex());
}

QtTreeView::QtTreeView(std::string name, TreeWidget* tree)
    : QtControl(std::move(name), tree), model_(new TreeModel(tree)) {
  tree->setHeaderHidden(true);
  tree->setUniformRowHeights(true);
  tree->setSelectionMode(QAbstractItemView::SingleSelection);
  tree->setItemDelegate(new LineDelegate(tree));
  tree->setModel(model_);
}

std::string QtTreeView::KeyOf(const QModelIndex& index) const {
  const int32_t id = model_->IdOf(index);
  return id < 0 ? std::string() : model_->At(id).key;
}

QModelIndex QtTreeView::Item(std::string_view key) const {
  return model_->IndexOf(model_->Find(key));
}

int32_t QtTreeView::Need(std::string_view key) const {
  const int32_t id = model_->Find(key);
  if (id < 0) Raise(kErrElementNotFound);
  return id;
}

void QtTreeView::Clear() {
  model_->Clear();
}

void QtTreeView::AddNode(const ui::TreeNode& node) {
  AddNodes({node});
}

// A run of nodes under one parent goes in with one insertion: the thousand record layouts
// are one run.
void QtTreeView::AddNodes(const std::vector<ui::TreeNode>& nodes) {
  size_t i = 0;
  while (i < nodes.size()) {
    const std::string& parent_key = nodes[i].parent;
    const int32_t parent = parent_key.empty() ? -1 : Need(parent_key);
    size_t end = i + 1;
    while (end < nodes.size() && nodes[end].parent == parent_key) ++end;
    const int32_t first = model_->Size();
    const size_t added = model_->Append(parent, {nodes.data() + i, end - i});
    for (size_t k = 0; k < added; ++k)
      if (nodes[i + k].expanded)
        Widget()->setExpanded(model_->IndexOf(first + static_cast<int32_t>(k)), true);
    if (i + added < end) Raise(kErrKeyNotUnique);
    i = end;
  }
}

ui::TreeNode QtTreeView::NodeOf(int32_t id) const {
  const TreeModel::Node& n = model_->At(id);
  ui::TreeNode node;
  node.key = n.key;
  node.text = n.text;
  node.tag = n.tag;
  node.parent = n.parent < 0 ? std::string() : model_->At(n.parent).key;
  node.expanded = Widget()->isExpanded(model_->IndexOf(id));
  return node;
}

std::optional<ui::TreeNode> QtTreeView::Node(std::string_view key) const {
  const int32_t id = model_->Find(key);
  if (id < 0) return std::nullopt;
  return NodeOf(id);
}

void QtTreeView::SetTag(std::string_view key, const std::string& tag) {
  model_->At(Need(key)).tag = tag;
}

void QtTreeView::SetExpanded(std::string_view key, bool expanded) {
  Widget()->setExpanded(model_->IndexOf(Need(key)), expanded);
}

int32_t QtTreeView::ChildCount(std::string_view key) const {
  return static_cast<int32_t>(model_->At(Need(key)).children.size());
}

void QtTreeView::SelectNode(std::string_view key) {
  QSignalBlocker block(Widget());
  if (key.empty()) {
    Widget()->setCurrentIndex({});
    Widget()->clearSelection();
    return;
  }
  const QModelIndex index = model_->IndexOf(Need(key));
  Widget()->setCurrentIndex(index);
  Widget()->scrollTo(index);
}

std::string QtTreeView::SelectedKey() const {
  const QModelIndexList selected = Widget()->selectionModel()->selectedIndexes();
  return selected.isEmpty() ? std::string() : KeyOf(selected.front());
}

std::vector<ui::TreeNode> QtTreeView::Nodes() const {
  std::vector<ui::TreeNode> nodes;
  nodes.reserve(static_cast<size_t>(model_->Size()));
  std::function<void(int32_t)> walk = [&](int32_t id) {
    nodes.push_back(NodeOf(id));
    for (int32_t child : model_->At(id).children) walk(child);
  };
  for (int32_t root : model_->Children(-1)) walk(root);
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

GridWidget::GridWidget(QWidget* parent) : QTableWidget(parent) {
  verticalHeader()->hide();
  horizontalHeader()->setStretchLastSection(true);
  horizontalHeader()->setHighlightSections(false);
  // The row styles show the current row; Qt's own selection would paint a second one.
  setSelectionMode(QAbstractItemView::NoSelection);
  setWordWrap(false);
  setShowGrid(false);
  setColumnCount(1);
  setItemDelegate(new LineDelegate(this));
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
}

void GridWidget::keyPressEvent(QKeyEvent* event) {
  emit keyDown(KeyCode(*event));
  QTableWidget::keyPressEvent(event);
}

void GridWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  QModelIndex index = indexAt(event->position().toPoint());
  if (!index.isValid()) return QTableWidget::mouseDoubleClickEvent(event);
  if (index.row() != currentRow()) setCurrentCell(index.row(), index.column());
  QTableWidget::mouseDoubleClickEvent(event);
  emit rowDoubleClicked();
}

namespace {

// Losing the focus changes the frame (a style may mark the focused view), the current
// cell's focus frame and the selection's colours. The views' own handler repaints every
// row and the scroll bars too, which a window that moves the focus on opening would pay
// for with a second paint of the whole view.
void RepaintFocusLeaving(QAbstractItemView* view, QRegion cells) {
  QRegion frame(view->rect());
  for (QWidget* child : view->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
    if (child->isVisible()) frame -= child->geometry();
  view->update(frame);
  if (view->currentIndex().isValid()) cells += view->visualRect(view->currentIndex());
  view->viewport()->update(cells);
  if (qApp->autoSipEnabled() && view->testAttribute(Qt::WA_InputMethodEnabled))
    QGuiApplication::inputMethod()->hide();
}

}  // namespace

void GridWidget::focusOutEvent(QFocusEvent* event) {
  RepaintFocusLeaving(
      this, selectionModel() ? visualRegionForSelection(selectionModel()->selection()) : QRegion());
  event->accept();
}

QVariant RowsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const Row& row = At(index.row());
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return ToQt(row.text);
    case Qt::BackgroundRole:
      return row.style == kHighlight ? QVariant(highlight_) : QVariant();
    case Qt::ForegroundRole:
      return row.style == kHighlight ? QVariant(highlight_text_) : QVariant();
    default:
      return {};
  }
}

void RowsModel::Clear() {
  beginResetModel();
  rows_.clear();
  endResetModel();
}

void RowsModel::Append(const std::string& text) {
  const int row = rowCount();
  beginInsertRows({}, row, row);
  rows_.push_back({text, {}});
  endInsertRows();
}

void RowsModel::SetText(int32_t row, const std::string& text) {
  rows_[static_cast<size_t>(row)].text = text;
  emit dataChanged(index(row), index(row), {Qt::DisplayRole, Qt::EditRole});
}

void RowsModel::SetStyle(int32_t row, const std::string& style) {
  rows_[static_cast<size_t>(row)].style = style;
  emit dataChanged(index(row), index(row), {Qt::BackgroundRole, Qt::ForegroundRole});
}

void RowsModel::SetHighlight(const QBrush& background, const QBrush& foreground) {
  highlight_ = background;
  highlight_text_ = foreground;
}

namespace {

// Rows as high as the tables' rows, and no wider than the list: a long text is cut short
// as in a table's stretched column, not scrolled to.
class RowDelegate : public LineDelegate {
 public:
  using LineDelegate::LineDelegate;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
    return {1, option.fontMetrics.height() + 4};
  }
};

}  // namespace

TokenListWidget::TokenListWidget(QWidget* parent) : QListView(parent), rows_(new RowsModel(this)) {
  // The row styles show the current row; Qt's own selection would paint a second one.
  setSelectionMode(QAbstractItemView::NoSelection);
  setWordWrap(false);
  setUniformItemSizes(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setItemDelegate(new RowDelegate(this));
  setModel(rows_);
}

void TokenListWidget::SetCurrentRow(int row) {
  setCurrentIndex(row < 0 ? QModelIndex() : rows_->index(row));
}

void TokenListWidget::keyPressEvent(QKeyEvent* event) {
  if (event->modifiers() == Qt::NoModifier && CurrentRow() >= 0) {
    if (event->key() == Qt::Key_F4) {
      emit buildFunction();
      return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
      emit rowDoubleClicked();
      return;
    }
  }
  QListView::keyPressEvent(event);
}

void TokenListWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  QModelIndex index = indexAt(event->position().toPoint());
  if (!index.isValid()) return QListView::mouseDoubleClickEvent(event);
  if (index.row() != CurrentRow()) SetCurrentRow(index.row());
  if (event->modifiers() & Qt::ControlModifier) {
    emit buildFunction();
    return;
  }
  QListView::mouseDoubleClickEvent(event);
  emit rowDoubleClicked();
}

void TokenListWidget::contextMenuEvent(QContextMenuEvent* event) {
  QModelIndex index = indexAt(event->pos());
  if (index.isValid() && index.row() != CurrentRow()) SetCurrentRow(index.row());
  if (CurrentRow() < 0) return;
  QMenu menu(this);
  QAction* build = menu.addAction(QStringLiteral("&Build Function...\tF4"));
  if (menu.exec(event->globalPos()) == build) emit buildFunction();
}

void TokenListWidget::focusOutEvent(QFocusEvent* event) {
  RepaintFocusLeaving(this, {});
  event->accept();
}

QtGrid::QtGrid(std::string name, GridWidget* grid) : QtControl(std::move(name), grid) {
  QObject::connect(grid, &QTableWidget::currentCellChanged, Guard(),
                   [this](int row, int column) { UserMoved(row, column); });
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

// ---- Token grid ----

QtTokenGrid::QtTokenGrid(std::string name, TokenListWidget* list)
    : QtControl(std::move(name), list) {
  const QPalette& palette = list->palette();
  list->Rows()->SetHighlight(palette.brush(QPalette::Active, QPalette::Highlight),
                             palette.brush(QPalette::Active, QPalette::HighlightedText));
  QObject::connect(
      list->selectionModel(), &QItemSelectionModel::currentChanged, Guard(),
      [this](const QModelIndex& current) { UserMoved(current.isValid() ? current.row() : -1, 0); });
}

void QtTokenGrid::CheckRow(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
}

void QtTokenGrid::CheckColumn(int32_t column) const {
  if (column != 0) Raise(kErrIndexOutOfBounds);
}

void QtTokenGrid::SetRedraw(bool redraw) {
  Widget()->setUpdatesEnabled(redraw);
}

void QtTokenGrid::RemoveAll() {
  ++writing_;
  Widget()->Rows()->Clear();
  --writing_;
  current_row_ = -1;
}

void QtTokenGrid::AddRow(const std::string& text) {
  ++writing_;
  Widget()->Rows()->Append(text);
  --writing_;
}

std::string QtTokenGrid::CellText(int32_t row, int32_t column) const {
  CheckRow(row);
  CheckColumn(column);
  return Widget()->Rows()->At(row).text;
}

void QtTokenGrid::SetCellText(int32_t row, int32_t column, const std::string& text) {
  CheckRow(row);
  CheckColumn(column);
  Widget()->Rows()->SetText(row, text);
}

void QtTokenGrid::SetCurrentRow(int32_t row) {
  if (row != -1) CheckRow(row);
  current_row_ = row;
  ++writing_;
  Widget()->SetCurrentRow(row);
  --writing_;
}

void QtTokenGrid::SetCurrentColumn(int32_t column) {
  CheckColumn(column);
}

// As on the tables, the highlight row wears the palette's highlight whether or not the
// grid has the focus.
void QtTokenGrid::SetRowStyle(int32_t row, const std::string& style) {
  CheckRow(row);
  Widget()->Rows()->SetStyle(row, style);
}

std::string QtTokenGrid::RowStyle(int32_t row) const {
  CheckRow(row);
  return Widget()->Rows()->At(row).style;
}

void QtTokenGrid::ScrollTo(int32_t row) {
  CheckRow(row);
  Widget()->scrollTo(Widget()->Rows()->index(row));
}

void QtTokenGrid::BringToFront() {
  Widget()->raise();
}

void QtTokenGrid::Refresh() {
  Widget()->viewport()->update();
}

void QtTokenGrid::SetColumns(int32_t count) {
  if (count != 1) Raise(kErrInvalidCall);
}

void QtTokenGrid::SetColumnWidth(int32_t column, int32_t) {
  CheckColumn(column);  // the one column is as wide as the list
}

}  // namespace kx::qt
