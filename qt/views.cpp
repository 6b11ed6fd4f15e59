#include "qt/views.h"

#include <QApplication>
#include <QFontMetrics>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QVBoxLayout>

#include <algorithm>

#include "qt/cp1252.h"
#include "runtime/error.h"

namespace kx::qt {

namespace {

// The window's own buttons; the presenter places them. Any other button is an operator.
constexpr std::string_view kWindowButtons[] = {"cmdok", "cmdcancel", "cmdhelp", "cmdParam",
                                               "cmdFilename"};

// The pad's order, two to a row: grouping, arithmetic, text, comparison, logic.
constexpr std::string_view kPadOrder[] = {
    "cmdLParen",     "cmdRParen",    "cmdPlus",      "cmdMinus",        "cmdStar",
    "cmdSlash",      "cmdAmpersand", "cmdLike",      "cmdEqual",        "cmdNotEqual",
    "cmdLess",       "cmdGreater",   "cmdLessEqual", "cmdGreaterEqual", "cmdContains",
    "cmdNotContain", "cmdAnd",       "cmdOr",        "cmdNot"};
constexpr int kPadColumns = 2;
constexpr int kPadButtonHeight = 24;

size_t PadRank(std::string_view name) {
  auto it = std::find(std::begin(kPadOrder), std::end(kPadOrder), name);
  return static_cast<size_t>(it - std::begin(kPadOrder));
}

// The operator pad's widget: calls `place` as it is first polished or shown, so that buttons
// named in a burst before then are laid out once, in the pad's order.
class PadWidget : public QWidget {
 public:
  PadWidget(QWidget* parent, std::function<void()> place)
      : QWidget(parent), place_(std::move(place)) {}

 protected:
  bool event(QEvent* event) override {
    if (event->type() == QEvent::Polish || event->type() == QEvent::Show) place_();
    return QWidget::event(event);
  }

 private:
  std::function<void()> place_;
};

template <typename T>
void Add(std::vector<ui::Control*>& controls, const std::unique_ptr<T>& control) {
  controls.push_back(control.get());
}

}  // namespace

QtView::~QtView() {
  DisposeWindow(top_);
}

// ---- frmExprBld ----

QtExprBldView::QtExprBldView(const ViewContext& context) : QtView(new QMainWindow) {
  QMainWindow* main = Main();
  // Below this the operator pad and the editor no longer fit beside the fixed bottom pane.
  main->setMinimumSize(560, 440);
  auto* client = new QWidget(main);
  main->setCentralWidget(client);
  window_ = std::make_unique<QtWindow>("frmExprBld", main, client);

  tbar_ = std::make_unique<QtToolbar>("tbar", new ToolRow(client), [this](const std::string& key) {
    if (events_) Fire([&] { events_->tbar_ButtonClick(key); });
  });

  auto* editor = new EditorWidget(client);
  editor_ = std::make_unique<QtEditor>("KXEditor1", editor, context.keyword_dirs);
  if (context.find_dialog) editor_->find_dialog = context.find_dialog;
  if (context.replace_dialog) editor_->replace_dialog = context.replace_dialog;
  if (context.live_check) editor_->SetLiveCheck(context.live_check);
  QObject::connect(editor, &EditorWidget::keyDown, guard_.get(), [this] {
    if (events_) Fire([&] { events_->KXEditor1_KeyDown(); });
  });
  QObject::connect(editor, &EditorWidget::mouseDown, guard_.get(), [this] {
    if (events_) Fire([&] { events_->KXEditor1_MouseDown(); });
  });

  auto* bottom = new QWidget(client);
  vselbottom_ = std::make_unique<QtPane>("vselbottom", bottom);
  auto* tree = new TreeWidget(bottom);
  tree_ = std::make_unique<QtTreeView>("TreeView1", tree);
  QObject::connect(tree, &TreeWidget::nodeClicked, guard_.get(), [this](const QModelIndex& index) {
    if (events_) Fire([&] { events_->TreeView1_NodeClick(tree_->KeyOf(index)); });
  });
  auto* grid = new TokenListWidget(bottom);
  grid_ = std::make_unique<QtTokenGrid>("ssdgridtokens", grid);
  grid_->Follow(
      [this] {
        if (events_) Fire([&] { events_->ssdgridtokens_BeforeRowColChange(); });
      },
      [this] {
        if (events_) Fire([&] { events_->ssdgridtokens_RowColChange(); });
      });
  QObject::connect(grid, &TokenListWidget::rowDoubleClicked, guard_.get(), [this] {
    if (events_) Fire([&] { events_->ssdgridtokens_DblClick(); });
  });
  QObject::connect(grid, &TokenListWidget::buildFunction, guard_.get(), [this] {
    if (events_) Fire([&] { events_->ssdgridtokens_BuildFunction(); });
  });
  for (int i = 0; i < 2; ++i) {
    auto* label = new QLabel(bottom);
    proto_[i] = std::make_unique<QtLabel>("txtproto", label);
    if (i == 0) {
      QFont font = label->font();
      font.setBold(true);
      label->setFont(font);
    }
  }

  // The widget may outlive the view for a moment (deferred deletion).
  auto* pad = new PadWidget(client, [this, guard = QPointer<QObject>(guard_.get())] {
    if (guard && pad_pending_) PlacePad();
  });
  vselbuttons_ = std::make_unique<QtPane>("vselbuttons", pad);
  pad_ = new QGridLayout(pad);
  pad_->setContentsMargins(0, 0, 0, 0);
  pad_->setSpacing(2);

  auto* error = new QLabel(client);
  error->setWordWrap(true);
  QPalette palette = error->palette();
  palette.setColor(QPalette::WindowText, QColor(0xB0, 0x00, 0x00));
  error->setPalette(palette);
  lblexprerr_ = std::make_unique<QtLabel>("lblexprerr", error);
}

QtExprBldView::~QtExprBldView() = default;

void QtExprBldView::SetEvents(ui::ExprBldEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

QtLabel& QtExprBldView::txtproto(int index) {
  if (index < 0 || index > 1) Raise(kErrIndexOutOfBounds);
  return *proto_[index];
}

QtButton& QtExprBldView::Command(std::string_view name) {
  for (auto& button : commands_)
    if (button->Name() == name) return *button;
  const bool own = std::find(std::begin(kWindowButtons), std::end(kWindowButtons), name) !=
                   std::end(kWindowButtons);
  QWidget* parent = own ? Main()->centralWidget() : vselbuttons_->Widget();
  auto* widget = new QPushButton(parent);
  widget->setAutoDefault(false);
  std::string key(name);
  QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, key] {
    if (events_) Fire([&] { events_->ButtonClick(key); });
  });
  commands_.push_back(std::make_unique<QtButton>(key, widget));
  if (!own) {
    // Narrow pad: the width is the pad's; short window: the buttons give up height first.
    widget->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    widget->setMinimumHeight(kPadButtonHeight * 2 / 3);
    widget->setMaximumHeight(kPadButtonHeight);
    // Operators are named alphabetically: placing each as it comes would lay the pad out
    // again for most of them.
    pad_pending_ = true;
    if (vselbuttons_->Widget()->isVisible()) PlacePad();
  }
  widget->show();
  return *commands_.back();
}

// Operators the pad knows go in its order; others follow in the order they were named.
void QtExprBldView::PlacePad() {
  std::vector<std::pair<size_t, QPushButton*>> pad;
  size_t made = 0;
  for (auto& button : commands_) {
    if (button->Widget()->parentWidget() != vselbuttons_->Widget()) continue;
    pad.emplace_back(PadRank(button->Name()) * 1000 + made++, button->Widget());
    pad_->removeWidget(button->Widget());
  }
  std::stable_sort(pad.begin(), pad.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  int at = 0;
  for (const auto& [rank, widget] : pad) {
    pad_->addWidget(widget, at / kPadColumns, at % kPadColumns);
    ++at;
  }
  for (int row = 0; row < pad_->rowCount(); ++row) pad_->setRowStretch(row, 0);
  pad_->setRowStretch((at + kPadColumns - 1) / kPadColumns, 1);
  pad_pending_ = false;
}

// The menus' popups are made as the user first opens them (few ever open most of them);
// their items exist from the start, and sit on the window as well, whose shortcuts they are.
void QtExprBldView::AddMenu(const ui::MenuDef& def) {
  if (MenuIndex(def.name) < menus_.size()) Raise(kErrKeyNotUnique);
  const size_t parent = def.parent.empty() ? menus_.size() : MenuIndex(def.parent);
  if (!def.parent.empty() && parent == menus_.size()) Raise(kErrElementNotFound);
  const size_t index = menus_.size();
  std::string name = def.name;
  QAction* action = nullptr;
  if (def.parent.empty()) {
    action = Main()->menuBar()->addAction(ToQt(def.caption));
    // The bar announces the item it is about to open (by mouse or keyboard) first.
    QObject::connect(action, &QAction::hovered, guard_.get(), [this, index] { MenuWidget(index); });
  } else {
    action = new QAction(Main());
    if (def.caption == "-") {
      action->setSeparator(true);
    } else {
      action->setText(ToQt(def.caption));
      if (!def.shortcut.empty()) {
        action->setShortcut(QKeySequence::fromString(ToQt(def.shortcut)));
        Main()->addAction(action);
      }
      QObject::connect(action, &QAction::triggered, guard_.get(), [this, name] {
        if (events_) Fire([&] { events_->MenuClick(name); });
      });
    }
  }
  menus_.push_back(std::make_unique<QtMenuItem>(def, action));
  menu_widgets_.push_back(nullptr);
  items_.emplace_back();
  if (parent < index) {
    items_[parent].push_back(index);
    const std::string& above = menus_[parent]->Def().parent;
    if (QMenu* menu = menu_widgets_[parent])
      menu->addAction(action);
    else if (!above.empty() && menu_widgets_[MenuIndex(above)])
      MenuWidget(parent);  // an item of an open menu that gains items becomes a submenu
  }
}

size_t QtExprBldView::MenuIndex(std::string_view name) const {
  size_t i = 0;
  while (i < menus_.size() && menus_[i]->Name() != name) ++i;
  return i;
}

QMenu* QtExprBldView::MenuWidget(size_t index) {
  if (QMenu* made = menu_widgets_[index]) return made;
  auto* menu = new QMenu(Main());
  menu_widgets_[index] = menu;
  QtMenuItem& item = *menus_[index];
  if (item.Def().parent.empty()) {
    std::string name(item.Name());
    QObject::connect(menu, &QMenu::aboutToShow, guard_.get(), [this, name] {
      if (events_) Fire([&] { events_->MenuClick(name); });
    });
  }
  for (size_t child : items_[index]) {
    menu->addAction(menus_[child]->Action());
    if (!items_[child].empty()) MenuWidget(child);
  }
  item.Action()->setMenu(menu);
  return menu;
}

QMenu* QtExprBldView::MenuWidget(std::string_view name) {
  const size_t i = MenuIndex(name);
  if (i == menus_.size()) Raise(kErrElementNotFound);
  if (items_[i].empty() && !menus_[i]->Def().parent.empty()) return nullptr;
  return MenuWidget(i);
}

QtMenuItem& QtExprBldView::Menu(std::string_view name) {
  for (auto& menu : menus_)
    if (menu->Name() == name) return *menu;
  Raise(kErrElementNotFound);
}

std::vector<QtMenuItem*> QtExprBldView::Menus() {
  std::vector<QtMenuItem*> menus;
  for (auto& menu : menus_) menus.push_back(menu.get());
  return menus;
}

std::vector<QtButton*> QtExprBldView::Commands() {
  std::vector<QtButton*> buttons;
  for (auto& button : commands_) buttons.push_back(button.get());
  return buttons;
}

std::vector<ui::Control*> QtExprBldView::Controls() {
  std::vector<ui::Control*> controls = {editor_.get(),   tree_.get(),       grid_.get(),
                                        proto_[0].get(), proto_[1].get(),   lblexprerr_.get(),
                                        tbar_.get(),     vselbottom_.get(), vselbuttons_.get()};
  for (auto& button : commands_) controls.push_back(button.get());
  for (auto& menu : menus_) controls.push_back(menu.get());
  return controls;
}

// ---- frmFunction ----

namespace {

// The dialogs' buttons in a row at the bottom right, OK first.
QHBoxLayout* ButtonRow(std::initializer_list<QPushButton*> buttons) {
  auto* row = new QHBoxLayout;
  row->addStretch();
  for (QPushButton* button : buttons) row->addWidget(button);
  return row;
}

}  // namespace

QtFunctionView::QtFunctionView() : QtView(new FormDialog) {
  auto* dialog = static_cast<FormDialog*>(top_);
  dialog->setWindowTitle(QStringLiteral("Build Function"));
  dialog->resize(460, 360);
  window_ = std::make_unique<QtWindow>("frmFunction", dialog, dialog);

  auto* name = new QLabel(dialog);
  QFont bold = name->font();
  bold.setBold(true);
  bold.setPointSizeF(bold.pointSizeF() * 1.2);
  name->setFont(bold);
  lblfuncname_ = std::make_unique<QtLabel>("lblfuncname", name);
  auto* description = new QLabel(dialog);
  description->setWordWrap(true);
  lbldescription_ = std::make_unique<QtLabel>("lbldescription", description);
  auto* grid = new GridWidget(dialog);
  grid->setColumnCount(2);
  grid->setHorizontalHeaderLabels({QStringLiteral("Argument"), QStringLiteral("Value")});
  grid->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                        QAbstractItemView::AnyKeyPressed);
  grid_ = std::make_unique<QtGrid>("ssdgridargs", grid);
  grid_->Follow(nullptr, [this] {
    if (events_) Fire([&] { events_->ssdgridargs_RowColChange(); });
  });
  QObject::connect(grid, &QTableWidget::itemChanged, guard_.get(), [this](QTableWidgetItem* item) {
    if (!events_ || grid_->Writing() || item->column() != 1) return;
    if (item->row() != grid_->CurrentRow()) return;
    std::string text = FromQt(item->text());
    Fire([&] { events_->ssdgridargs_Change(text); });
  });
  QObject::connect(grid, &GridWidget::keyDown, guard_.get(), [this](int key) {
    if (events_ && key != 0) Fire([&] { events_->ssdgridargs_KeyDown(key); });
  });
  auto* parameters = new QLineEdit(dialog);
  parameters->setReadOnly(true);
  txtParameters_ = std::make_unique<QtTextBox>("txtParameters", parameters);

  auto button = [&](const char* name, const char* caption, void (ui::FunctionEvents::*handler)()) {
    auto* widget = new QPushButton(QString::fromLatin1(caption), dialog);
    QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, handler] {
      if (events_) Fire([&] { (events_->*handler)(); });
    });
    auto control = std::make_unique<QtButton>(name, widget);
    control->SetCaption(caption);
    return control;
  };
  cmdok_ = button("cmdok", "OK", &ui::FunctionEvents::cmdok_Click);
  cmdcancel_ = button("cmdcancel", "Cancel", &ui::FunctionEvents::cmdcancel_Click);
  cmdhelp_ = button("cmdhelp", "&Help", &ui::FunctionEvents::cmdhelp_Click);
  cmdok_->Widget()->setDefault(true);
  QObject::connect(dialog, &FormDialog::escapePressed, guard_.get(), [this] {
    if (events_) Fire([&] { events_->cmdcancel_Click(); });
  });

  auto* layout = new QVBoxLayout(dialog);
  layout->addWidget(name);
  layout->addWidget(description);
  layout->addWidget(grid, 1);
  layout->addWidget(parameters);
  layout->addLayout(ButtonRow({cmdok_->Widget(), cmdcancel_->Widget(), cmdhelp_->Widget()}));
}

QtFunctionView::~QtFunctionView() = default;

void QtFunctionView::SetEvents(ui::FunctionEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

int32_t QtFunctionView::TextWidth(const std::string& text) const {
  // The grid's cells have a margin on either side of the text.
  QFontMetrics metrics(grid_->Widget()->font());
  return TwipsX(metrics.horizontalAdvance(ToQt(text)) + 12, grid_->Widget());
}

std::vector<ui::Control*> QtFunctionView::Controls() {
  std::vector<ui::Control*> controls;
  Add(controls, lblfuncname_);
  Add(controls, lbldescription_);
  Add(controls, txtParameters_);
  Add(controls, grid_);
  Add(controls, cmdok_);
  Add(controls, cmdcancel_);
  Add(controls, cmdhelp_);
  return controls;
}

// ---- frmprompt ----

QtPromptView::QtPromptView() : QtView(new FormDialog) {
  auto* dialog = static_cast<FormDialog*>(top_);
  dialog->resize(420, 240);
  window_ = std::make_unique<QtWindow>("frmprompt", dialog, dialog);

  auto label = [&](const char* name, bool wrap) {
    auto* widget = new QLabel(dialog);
    widget->setWordWrap(wrap);
    return std::make_unique<QtLabel>(name, widget);
  };
  lbltemplate_ = label("lbltemplate", true);
  lblprompt_ = label("lblprompt", true);
  lbltrgfld_ = label("lbltrgfld", false);
  lbldesc_ = label("lbldesc", true);
  auto* combo = new DropDownCombo(dialog);
  ssdcbovalue_ = std::make_unique<QtCombo>("ssdcbovalue", combo);
  QObject::connect(combo, &DropDownCombo::dropDown, guard_.get(), [this] {
    if (events_) Fire([&] { events_->ssdcbovalue_DropDown(); });
  });
  ssdchk3dsame_ = std::make_unique<QtCheckBox>("ssdchk3dsame", new QCheckBox(dialog));

  auto button = [&](const char* name, void (ui::PromptEvents::*handler)()) {
    auto* widget = new QPushButton(dialog);
    QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, handler] {
      if (events_) Fire([&] { (events_->*handler)(); });
    });
    return std::make_unique<QtButton>(name, widget);
  };
  cmdok_ = button("cmdok", &ui::PromptEvents::cmdok_Click);
  cmdcancel_ = button("cmdcancel", &ui::PromptEvents::cmdcancel_Click);
  cmdok_->Widget()->setDefault(true);
  QObject::connect(dialog, &FormDialog::escapePressed, guard_.get(), [this] {
    if (events_) Fire([&] { events_->cmdcancel_Click(); });
  });

  auto* layout = new QVBoxLayout(dialog);
  layout->addWidget(lbltemplate_->Widget());
  layout->addWidget(lblprompt_->Widget());
  layout->addWidget(lbltrgfld_->Widget());
  layout->addWidget(lbldesc_->Widget());
  layout->addWidget(combo);
  layout->addWidget(ssdchk3dsame_->Widget());
  layout->addStretch();
  layout->addLayout(ButtonRow({cmdok_->Widget(), cmdcancel_->Widget()}));
}

QtPromptView::~QtPromptView() = default;

void QtPromptView::SetEvents(ui::PromptEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

std::vector<ui::Control*> QtPromptView::Controls() {
  std::vector<ui::Control*> controls;
  Add(controls, ssdcbovalue_);
  Add(controls, ssdchk3dsame_);
  Add(controls, lbldesc_);
  Add(controls, lbltrgfld_);
  Add(controls, lbltemplate_);
  Add(controls, lblprompt_);
  Add(controls, cmdok_);
  Add(controls, cmdcancel_);
  return controls;
}

// ---- frminputbox ----

namespace {

// A line edit that reports each key the user types before it takes it; Enter is reported
// and not passed on, so the dialog's default button does not fire as well.
class InputLine : public QLineEdit {
 public:
  InputLine(QWidget* parent, std::function<void(int)> key_press)
      : QLineEdit(parent), key_press_(std::move(key_press)) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
      key_press_(13);
      return;
    }
    std::string typed = FromQt(event->text());
    if (typed.size() == 1) key_press_(static_cast<unsigned char>(typed[0]));
    QLineEdit::keyPressEvent(event);
  }

 private:
  std::function<void(int)> key_press_;
};

}  // namespace

QtInputBoxView::QtInputBoxView() : QtView(new FormDialog) {
  auto* dialog = static_cast<FormDialog*>(top_);
  dialog->resize(380, 140);
  window_ = std::make_unique<QtWindow>("frminputbox", dialog, dialog);

  auto* text = new QLabel(dialog);
  text->setWordWrap(true);
  lbltext_ = std::make_unique<QtLabel>("lbltext", text);
  // The line edit outlives no view: its callback goes through the guard's lifetime.
  QPointer<QObject> guard = guard_.get();
  auto* input = new InputLine(dialog, [this, guard](int key) {
    if (guard && events_) Fire([&] { events_->txtinput_KeyPress(key); });
  });
  txtinput_ = std::make_unique<QtTextBox>("txtinput", input);

  auto button = [&](const char* name, void (ui::InputBoxEvents::*handler)()) {
    auto* widget = new QPushButton(dialog);
    widget->setAutoDefault(false);
    QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, handler] {
      if (events_) Fire([&] { (events_->*handler)(); });
    });
    return std::make_unique<QtButton>(name, widget);
  };
  OKButton_ = button("OKButton", &ui::InputBoxEvents::OKButton_Click);
  CancelButton_ = button("CancelButton", &ui::InputBoxEvents::CancelButton_Click);
  QObject::connect(dialog, &FormDialog::escapePressed, guard_.get(), [this] {
    if (events_) Fire([&] { events_->CancelButton_Click(); });
  });

  auto* layout = new QVBoxLayout(dialog);
  layout->addWidget(text);
  layout->addWidget(input);
  layout->addStretch();
  layout->addLayout(ButtonRow({OKButton_->Widget(), CancelButton_->Widget()}));
}

QtInputBoxView::~QtInputBoxView() = default;

void QtInputBoxView::SetEvents(ui::InputBoxEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

std::vector<ui::Control*> QtInputBoxView::Controls() {
  std::vector<ui::Control*> controls;
  Add(controls, txtinput_);
  Add(controls, lbltext_);
  Add(controls, OKButton_);
  Add(controls, CancelButton_);
  return controls;
}

}  // namespace kx::qt
