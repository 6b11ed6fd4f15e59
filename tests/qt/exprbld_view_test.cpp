#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include "error_of.h"
#include "qt/cp1252.h"
#include "qt_rig.h"

namespace kx {
namespace {

using testing::QtRig;

std::string Str(const QString& text) {
  return qt::FromQt(text);
}

// The menu bar as the user sees it: "caption[shortcut]" per item, "-" for separators,
// items of a menu indented; hidden items left out.
std::string MenuText(qt::QtExprBldView& view) {
  std::string text;
  for (QAction* menu : view.Main()->menuBar()->actions()) {
    if (!menu->isVisible()) continue;
    text += Str(menu->text()) + ":";
    for (qt::QtMenuItem* top : view.Menus())
      if (top->Action() == menu) view.MenuWidget(top->Name());
    for (QAction* item : menu->menu()->actions()) {
      if (!item->isVisible()) continue;
      text += " " + (item->isSeparator() ? std::string("-") : Str(item->text()));
      if (!item->shortcut().isEmpty()) text += "[" + Str(item->shortcut().toString()) + "]";
      if (!item->isEnabled()) text += "(off)";
    }
    text += "\n";
  }
  return text;
}

TEST(QtExprBldView, MenusToolbarAndLayoutFollowThePresenter) {
  QtRig rig;
  rig.builder->Show(0);
  qt::QtExprBldView& view = rig.view();
  ASSERT_TRUE(view.Main()->isVisible());
  EXPECT_EQ(Str(view.Main()->windowTitle()), "Expression Builder");

  // The menus' shortcuts work before any menu was opened; the bar opens a menu on a click.
  ASSERT_TRUE(QTest::qWaitForWindowActive(view.Main()));
  EXPECT_TRUE(view.Main()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly).isEmpty());
  QTest::keyClick(view.KXEditor1().Widget(), Qt::Key_F2, Qt::ControlModifier);
  EXPECT_EQ(view.KXEditor1().Bookmarks().size(), 1u);
  QMenuBar* bar = view.Main()->menuBar();
  QAction* edit = bar->actions().at(1);
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(edit).center());
  ASSERT_NE(edit->menu(), nullptr);
  EXPECT_TRUE(edit->menu()->isVisible());
  EXPECT_EQ(Str(edit->menu()->actions().at(0)->text()), "&Undo");
  edit->menu()->hide();

  // Templates are not allowed: the first activation hides their menu item.
  EXPECT_EQ(MenuText(view),
            "&File: &Open...[Ctrl+O] &Save...[Ctrl+S]\n"
            "&Edit: &Undo[Ctrl+Z] &Redo[Ctrl+Y] - Cu&t[Ctrl+X] &Copy[Ctrl+C] &Paste[Ctrl+V] - "
            "&Find...[Ctrl+F] R&eplace...[Ctrl+H]\n"
            "&View: &Properties... &Hide Bottom Pane\n"
            "&Tools: &Validate[F5] - &Keyword File... &Save Expression As... - "
            "Toggle &Bookmark[Ctrl+F2] &Delete All Bookmarks[Ctrl+Shift+F2] "
            "&Next Bookmark[F2] &Previous Bookmark[Shift+F2]\n");

  // Toolbar: 25 positions with separators; each button a picture and a tip; Template off.
  QList<QAction*> tools = view.tbar().Widget()->actions();
  ASSERT_EQ(tools.size(), 25);
  EXPECT_TRUE(tools[22]->isEnabled());   // Validate: allowed
  EXPECT_FALSE(tools[24]->isEnabled());  // Template: not allowed
  for (QAction* tool : tools) {
    if (tool->isSeparator()) continue;
    EXPECT_FALSE(tool->icon().isNull()) << Str(tool->toolTip());
    EXPECT_FALSE(tool->toolTip().isEmpty());
  }
  EXPECT_EQ(Str(tools[15]->toolTip()), "Keyword File");

  // The pad's operators, "&" shown as itself.
  QWidget* pad = view.vselbuttons().Widget();
  QList<QPushButton*> operators = pad->findChildren<QPushButton*>();
  EXPECT_EQ(operators.size(), 19);
  EXPECT_EQ(Str(view.Command("cmdAmpersand").Widget()->text()), "&&");
  EXPECT_FALSE(view.Command("cmdParam").Widget()->isVisible());
  // Two to a row in the pad's order, whatever order the presenter named them in.
  const char* order[] = {"cmdLParen",    "cmdRParen",       "cmdPlus",      "cmdMinus",
                         "cmdStar",      "cmdSlash",        "cmdAmpersand", "cmdLike",
                         "cmdEqual",     "cmdNotEqual",     "cmdLess",      "cmdGreater",
                         "cmdLessEqual", "cmdGreaterEqual", "cmdContains",  "cmdNotContain",
                         "cmdAnd",       "cmdOr",           "cmdNot"};
  for (size_t i = 1; i < std::size(order); ++i) {
    const QRect before = view.Command(order[i - 1]).Widget()->geometry();
    const QRect at = view.Command(order[i]).Widget()->geometry();
    if (i % 2)
      EXPECT_TRUE(at.top() == before.top() && at.left() > before.left()) << order[i];
    else
      EXPECT_GT(at.top(), before.top()) << order[i];
  }

  // Twips become pixels at 96 dpi: the presenter's rectangles, divided by 15.
  ASSERT_EQ(view.Main()->logicalDpiX(), 96);
  auto pixels = [](const ui::Rect& r) {
    return QRect(qRound(r.left / 15.0), qRound(r.top / 15.0), qRound(r.width / 15.0),
                 qRound(r.height / 15.0));
  };
  EXPECT_EQ(view.KXEditor1().Widget()->geometry(), pixels(view.KXEditor1().Bounds()));
  EXPECT_EQ(view.Command("cmdok").Widget()->geometry(), pixels(view.Command("cmdok").Bounds()));
  EXPECT_EQ(view.TreeView1().Widget()->geometry(), pixels(view.TreeView1().Bounds()));

  // The user makes the window as small as it goes: Form_Resize lays it out again inside the
  // new client, and the pad's buttons still fit without overlapping.
  view.Main()->resize(1, 1);
  QCoreApplication::processEvents();
  const QRect client = view.Main()->centralWidget()->rect();
  EXPECT_EQ(view.Form().ScaleWidth(), client.width() * 15);
  for (QWidget* widget : std::vector<QWidget*>{
           view.KXEditor1().Widget(), view.vselbottom().Widget(), view.Command("cmdhelp").Widget()})
    EXPECT_TRUE(client.contains(widget->geometry())) << Str(widget->objectName());
  EXPECT_GE(view.KXEditor1().Widget()->height(), 60);
  for (QPushButton* a : operators) {
    EXPECT_TRUE(pad->rect().contains(a->geometry())) << Str(a->text());
    for (QPushButton* b : operators)
      EXPECT_TRUE(a == b || !a->geometry().intersects(b->geometry())) << Str(a->text());
  }

  // Hiding the bottom pane twice returns picture, tip and caption to their first state.
  QAction* toggle = tools[21];
  const QImage shown = toggle->icon().pixmap(16, 16).toImage();
  toggle->trigger();
  EXPECT_FALSE(view.vselbottom().Widget()->isVisible());
  EXPECT_EQ(Str(toggle->toolTip()), "Show Bottom Pane");
  EXPECT_NE(toggle->icon().pixmap(16, 16).toImage(), shown);
  EXPECT_EQ(Str(view.Menu("mnuViewHideBottom").Action()->text()), "S&how Bottom Pane");
  toggle->trigger();
  EXPECT_TRUE(view.vselbottom().Widget()->isVisible());
  EXPECT_EQ(Str(toggle->toolTip()), "Hide Bottom Pane");
  EXPECT_EQ(toggle->icon().pixmap(16, 16).toImage(), shown);
  view.Form().Unload();
}

// Each node as "key=text", in display order, as the widget's model gives them.
std::string TreeText(const qt::QtTreeView& view) {
  std::string text;
  const QAbstractItemModel* model = view.Widget()->model();
  std::function<void(const QModelIndex&)> walk = [&](const QModelIndex& parent) {
    for (int i = 0; i < model->rowCount(parent); ++i) {
      const QModelIndex index = model->index(i, 0, parent);
      EXPECT_EQ(model->parent(index), parent);
      text += view.KeyOf(index) + "=" + Str(index.data().toString()) + ";";
      walk(index);
    }
  };
  walk({});
  return text;
}

// Nodes added in one call land as if added one by one: order, nesting under new and old
// parents, expansion, tags, and the model the widget reads agrees; a failing node leaves
// those before it in the tree.
TEST(QtTreeView, AddNodesKeepsOrderNestingAndStopsAtTheFailingNode) {
  const std::vector<ui::TreeNode> nodes = {
      {"R", "Root", "", "", true},  {"A", "a", "t", "R", false}, {"S", "Second", "", "", false},
      {"A1", "a1", "", "A", false}, {"B", "b", "", "R", true},   {"B1", "b1", "", "B", false},
      {"S1", "s1", "", "S", false}, {"A2", "a2", "", "A", false}};
  qt::TreeWidget widget;
  qt::QtTreeView tree("tree", &widget);
  tree.AddNode(nodes[0]);  // a parent already in the tree
  tree.AddNodes({nodes.begin() + 1, nodes.end()});
  std::string shape;
  for (const ui::TreeNode& node : tree.Nodes())
    shape += node.parent + "/" + node.key + (node.expanded ? "+" : "-") + node.tag + " ";
  EXPECT_EQ(shape, "/R+ R/A-t A/A1- A/A2- R/B+ B/B1- /S- S/S1- ");
  EXPECT_EQ(TreeText(tree), "R=Root;A=a;A1=a1;A2=a2;B=b;B1=b1;S=Second;S1=s1;");
  EXPECT_TRUE(widget.isExpanded(tree.Item("B")));

  const std::pair<std::vector<ui::TreeNode>, int32_t> failing[] = {
      {{{"C", "c", "", "B", false}, {"C", "again", "", "", false}}, kErrKeyNotUnique},
      {{{"D", "d", "", "C", false},
        {"D2", "d", "", "C", false},
        {"D", "dup", "", "C", false},
        {"E", "e", "", "C", false}},
       kErrKeyNotUnique},
      {{{"F", "f", "", "Nowhere", false}}, kErrElementNotFound},
  };
  for (const auto& [batch, error] : failing)
    EXPECT_EQ(ErrorOf([&] { tree.AddNodes(batch); }), error) << batch[0].key;
  EXPECT_EQ(tree.ChildCount("B"), 2);
  EXPECT_EQ(tree.ChildCount("C"), 2);
  EXPECT_FALSE(tree.Node("E"));
  EXPECT_EQ(widget.model()->rowCount(tree.Item("C")), 2);
  tree.Clear();
  EXPECT_EQ(widget.model()->rowCount(), 0);
  EXPECT_FALSE(tree.Item("R").isValid());
}

// What the window shows of a widget (its last paints, as they stand) and what painting it
// afresh gives: a repaint that leaves out something that changed shows in the first.
std::pair<QImage, QImage> OnScreenAndFresh(QWidget* widget) {
  QCoreApplication::processEvents();
  QWidget* window = widget->window();
  const QRect at(widget->mapTo(window, QPoint(0, 0)), widget->size());
  QImage shown = window->screen()->grabWindow(window->winId()).toImage().copy(at);
  return {shown.convertToFormat(QImage::Format_RGB32),
          widget->grab().toImage().convertToFormat(QImage::Format_RGB32)};
}

TEST(QtExprBldView, FocusMovingOnRepaintsWhatItChanges) {
  // The opening focuses the grid, lets it be painted, then focuses the editor.
  QtRig rig;
  rig.builder->Show(0);
  qt::TokenListWidget* grid = rig.view().ssdgridtokens().Widget();
  ASSERT_TRUE(QTest::qWaitForWindowActive(rig.view().Main()));
  EXPECT_TRUE(rig.view().KXEditor1().Widget()->hasFocus());
  auto [shown, fresh] = OnScreenAndFresh(grid);
  EXPECT_EQ(shown, fresh);
  grid->setFocus();
  EXPECT_NE(OnScreenAndFresh(grid).first, fresh);  // the focus shows: leaving it must repaint
  rig.view().Form().Unload();

  // A grid that selects rows, in a look whose selection changes colour with the focus.
  QWidget window;
  auto* rows = new qt::GridWidget(&window);
  auto* other = new QLineEdit(&window);
  other->move(0, 200);
  rows->resize(200, 150);
  rows->setSelectionBehavior(QAbstractItemView::SelectRows);
  rows->setSelectionMode(QAbstractItemView::SingleSelection);
  QPalette palette = rows->palette();
  palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::darkRed);
  rows->setPalette(palette);
  rows->setColumnCount(2);
  rows->setRowCount(8);
  window.show();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  rows->setFocus();
  rows->setCurrentCell(5, 0);
  QCoreApplication::processEvents();
  other->setFocus();
  std::tie(shown, fresh) = OnScreenAndFresh(rows);
  EXPECT_EQ(shown, fresh);
}

TEST(QtExprBldView, ItemsPaintAsTheStyleWouldPaintThem) {
  // A grid and a tree in every state their items take (coloured row, selected, current with
  // and without the focus, too long to fit, disabled), painted by our delegate and by the
  // style's general one: the pictures must not differ.
  QWidget window;
  auto* grid = new qt::GridWidget(&window);
  auto* tree = new qt::TreeWidget(&window);
  qt::QtTreeView nodes("tree", tree);
  auto* other = new QLineEdit(&window);
  grid->setGeometry(0, 0, 160, 150);
  tree->setGeometry(0, 160, 160, 100);
  other->move(0, 270);
  grid->setSelectionBehavior(QAbstractItemView::SelectRows);
  grid->setSelectionMode(QAbstractItemView::SingleSelection);
  grid->setColumnCount(2);
  const char* texts[] = {"Left$", "A text far too long for its cell, cut short", "", "Mid$"};
  grid->setRowCount(4);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 2; ++column)
      grid->setItem(row, column, new QTableWidgetItem(QString::fromLatin1(texts[row])));
  grid->item(0, 0)->setBackground(grid->palette().brush(QPalette::Highlight));
  grid->item(0, 0)->setForeground(grid->palette().brush(QPalette::HighlightedText));
  nodes.AddNodes({{"a", "Source", "", "", true},
                  {"b", "Header", "", "a", false},
                  {"c", "A layout with a name too long to show", "", "a", false}});
  nodes.SelectNode("b");
  window.show();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  grid->setCurrentCell(3, 1);
  auto same = [](QAbstractItemView* view) {
    const QImage ours = view->grab().toImage();
    QAbstractItemDelegate* delegate = view->itemDelegate();
    QStyledItemDelegate general;
    view->setItemDelegate(&general);
    const QImage theirs = view->grab().toImage();
    view->setItemDelegate(delegate);
    return ours == theirs;
  };
  for (QWidget* focus : std::initializer_list<QWidget*>{grid, tree, other}) {
    focus->setFocus();
    QCoreApplication::processEvents();
    EXPECT_TRUE(same(grid)) << Str(focus->metaObject()->className());
    EXPECT_TRUE(same(tree)) << Str(focus->metaObject()->className());
  }
  grid->setEnabled(false);
  EXPECT_TRUE(same(grid));
}

TEST(QtExprBldView, ToolRowLooksLikeAToolbar) {
  // The same buttons and separators in our row and in a toolbar, at the window's height for
  // it, in one with room to spare and in one too low: the same picture.
  QPixmap picture(16, 16);
  picture.fill(Qt::darkCyan);
  for (int height : {28, 40, 20}) {
    QWidget window;
    auto* row = new qt::ToolRow(&window);
    auto* bar = new QToolBar(&window);
    bar->setMovable(false);
    bar->setIconSize(QSize(16, 16));
    for (int i = 0; i < 5; ++i) {
      auto* action = new QAction(&window);
      action->setSeparator(i == 2);
      action->setIcon(QIcon(picture));
      action->setEnabled(i != 4);
      row->Append(action);
      bar->addAction(action);
    }
    // Away from the pointer, which would raise a button.
    row->setGeometry(0, 60, 300, height);
    bar->setGeometry(0, 120, 300, height);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_EQ(row->grab().toImage(), bar->grab().toImage()) << height;
    EXPECT_EQ(row->actions(), bar->actions());
  }
}

TEST(QtExprBldView, TokenListLooksLikeAHeaderlessTable) {
  // The same rows in the token list and in a one-column table without headers: one
  // highlighted, one current, one too long, more than fit; the pictures must not differ,
  // whichever widget has the focus.
  QWidget window;
  auto* list = new qt::TokenListWidget(&window);
  qt::QtTokenGrid tokens("tokens", list);
  auto* table = new qt::GridWidget(&window);
  auto* other = new QLineEdit(&window);
  table->horizontalHeader()->hide();
  list->setGeometry(0, 0, 160, 120);
  table->setGeometry(0, 130, 160, 120);
  other->move(0, 260);
  table->setRowCount(12);
  for (int row = 0; row < 12; ++row) {
    const QString text = row == 3 ? QStringLiteral("A text far too long for its row, cut short")
                                  : QStringLiteral("Row %1").arg(row);
    tokens.AddRow(Str(text));
    table->setItem(row, 0, new QTableWidgetItem(text));
  }
  tokens.SetRowStyle(1, "style_winhighlight");
  tokens.SetRowStyle(2, "style_tokennormal");
  table->item(1, 0)->setBackground(table->palette().brush(QPalette::Active, QPalette::Highlight));
  table->item(1, 0)->setForeground(
      table->palette().brush(QPalette::Active, QPalette::HighlightedText));
  window.show();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  tokens.SetCurrentRow(2);
  table->setCurrentCell(2, 0);
  for (int scrolled : {0, 8}) {
    tokens.ScrollTo(scrolled);
    table->scrollToItem(table->item(scrolled, 0));
    for (bool focused : {true, false}) {
      QImage pictures[2];
      for (int i = 0; i < 2; ++i) {
        QAbstractItemView* view = i == 0 ? static_cast<QAbstractItemView*>(list) : table;
        (focused ? static_cast<QWidget*>(view) : other)->setFocus();
        QCoreApplication::processEvents();
        pictures[i] = view->grab().toImage();
      }
      EXPECT_EQ(pictures[0], pictures[1]) << scrolled << focused;
    }
  }
}

TEST(QtExprBldView, TokenListGestures) {
  QWidget window;
  auto* list = new qt::TokenListWidget(&window);
  qt::QtTokenGrid tokens("tokens", list);
  list->resize(160, 120);
  int moves = 0, double_clicks = 0, builds = 0;
  tokens.Follow([] {}, [&] { ++moves; });
  QObject::connect(list, &qt::TokenListWidget::rowDoubleClicked, [&] { ++double_clicks; });
  QObject::connect(list, &qt::TokenListWidget::buildFunction, [&] { ++builds; });
  for (const char* text : {"Left$", "Mid$", "Right$"}) tokens.AddRow(text);
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

  // Taking the focus makes the first row current (a move the user made); the presenter's
  // own moves are not reported. With no current row F4 and Enter do nothing.
  list->setFocus();
  EXPECT_EQ(moves, 1);
  tokens.SetCurrentRow(-1);
  QTest::keyClick(list, Qt::Key_F4);
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_EQ(double_clicks + builds, 0);
  tokens.SetCurrentRow(0);
  EXPECT_EQ(moves, 1);

  const auto at = [&](int row) { return list->visualRect(list->model()->index(row, 0)).center(); };
  QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at(1));
  EXPECT_EQ(tokens.CurrentRow(), 1);
  EXPECT_EQ(std::tuple(double_clicks, builds), std::tuple(1, 0));
  QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier, at(2));
  EXPECT_EQ(tokens.CurrentRow(), 2);
  EXPECT_EQ(std::tuple(double_clicks, builds), std::tuple(1, 1));
  QTest::keyClick(list, Qt::Key_F4);
  QTest::keyClick(list, Qt::Key_Enter);
  EXPECT_EQ(std::tuple(double_clicks, builds), std::tuple(2, 2));
  QTest::keyClick(list, Qt::Key_Up);
  EXPECT_EQ(tokens.CurrentRow(), 1);
  EXPECT_EQ(moves, 4);

  // The context menu moves to the row under the mouse and offers the builder.
  QTimer::singleShot(0, [] {
    if (QWidget* menu = QApplication::activePopupWidget()) QTest::keyClick(menu, Qt::Key_B);
  });
  QContextMenuEvent menu(QContextMenuEvent::Mouse, at(0), list->viewport()->mapToGlobal(at(0)));
  QApplication::sendEvent(list->viewport(), &menu);
  EXPECT_EQ(tokens.CurrentRow(), 0);
  EXPECT_EQ(builds, 3);

  // The grid control's bounds: one column, rows that exist.
  EXPECT_EQ(ErrorOf([&] { tokens.CellText(3); }), kErrIndexOutOfBounds);
  EXPECT_EQ(ErrorOf([&] { tokens.SetCurrentColumn(1); }), kErrIndexOutOfBounds);
  EXPECT_EQ(ErrorOf([&] { tokens.SetColumns(2); }), kErrInvalidCall);
  tokens.SetCellText(2, 0, "Trim$");
  EXPECT_EQ(Str(list->model()->index(2, 0).data().toString()), "Trim$");
  tokens.RemoveAll();
  EXPECT_EQ(std::tuple(tokens.Rows(), tokens.CurrentRow()), std::tuple(0, -1));
}

TEST(QtExprBldView, TreeGridAndLabelsFollowTheUser) {
  QtRig rig;
  rig.builder->Show(0);
  qt::QtExprBldView& view = rig.view();
  qt::TreeWidget* tree = view.TreeView1().Widget();
  qt::TokenListWidget* grid = view.ssdgridtokens().Widget();
  const QAbstractItemModel* rows = grid->model();
  auto background = [&](int row) { return rows->index(row, 0).data(Qt::BackgroundRole); };

  // The widget holds what the presenter added, in its order; "All" is selected and listed.
  std::string nodes;
  for (const ui::TreeNode& node : view.TreeView1().Nodes())
    nodes += node.key + "=" + node.text + ";";
  EXPECT_EQ(TreeText(view.TreeView1()), nodes);
  EXPECT_EQ(view.TreeView1().KeyOf(tree->currentIndex()), "All");
  ASSERT_GT(rows->rowCount(), 2);
  const QBrush highlight = grid->palette().brush(QPalette::Active, QPalette::Highlight);
  EXPECT_EQ(background(0), highlight);

  // A keystroke moves the current row: the old row goes back to normal, the new one is
  // highlighted and described.
  grid->setFocus();
  QTest::keyClick(grid, Qt::Key_Down);
  EXPECT_EQ(view.ssdgridtokens().CurrentRow(), 1);
  EXPECT_EQ(view.ssdgridtokens().RowStyle(0), "style_tokennormal");
  EXPECT_FALSE(background(0).isValid());
  EXPECT_EQ(background(1), highlight);
  EXPECT_FALSE(view.txtproto(0).Caption().empty());
  EXPECT_EQ(Str(view.txtproto(0).Widget()->text()), view.txtproto(0).Caption());
  EXPECT_EQ(Str(view.txtproto(1).Widget()->text()), view.txtproto(1).Caption());
  EXPECT_TRUE(rig.box.shown.empty()) << rig.box.shown.front().text;

  // A click on "Flow Control" lists the ten constructs and the blank eleventh row.
  const QModelIndex flow = view.TreeView1().Item("FC");
  ASSERT_TRUE(flow.isValid());
  tree->scrollTo(flow);
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(flow).center());
  ASSERT_EQ(rows->rowCount(), 11);
  EXPECT_EQ(Str(rows->index(0, 0).data().toString()), "For...Next");
  EXPECT_EQ(Str(rows->index(10, 0).data().toString()), "");

  // A double-click inserts the construct at the caret, and Enter does the same.
  view.KXEditor1().Clear();
  QRect row2 = grid->visualRect(rows->index(1, 0));
  QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, row2.center());
  QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, row2.center());
  EXPECT_EQ(view.KXEditor1().Text(), "GoTo label ");
  QTest::keyClick(grid, Qt::Key_Return);
  EXPECT_EQ(view.KXEditor1().Text(), "GoTo label GoTo label ");

  // An operator button inserts its text; typing in the editor reaches the presenter first.
  QTest::mouseClick(view.Command("cmdAmpersand").Widget(), Qt::LeftButton);
  EXPECT_EQ(view.KXEditor1().Text(), "GoTo label GoTo label  & ");
  view.Form().Unload();
}

}  // namespace
}  // namespace kx
