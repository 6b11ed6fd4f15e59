#include "qt/controls.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCloseEvent>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QPainter>
#include <QScreen>
#include <QStyleOptionToolBar>
#include <QTimer>
#include <QWindowStateChangeEvent>

#include <cmath>
#include <exception>
#include <utility>

#include "qt/cp1252.h"
#include "runtime/error.h"
#include "ui/editor_control.h"
#include "ui/grid.h"
#include "ui/tree_view.h"

// The pictures are compiled into this static library; Qt finds them once registered.
static void RegisterIcons() {
  Q_INIT_RESOURCE(icons);
}

namespace kx::qt {

namespace {

constexpr double kTwipsPerInch = 1440.0;
int event_depth = 0;
std::exception_ptr escaped;

std::function<void(QtWindow&)>& ModalHook() {
  static std::function<void(QtWindow&)> hook;
  return hook;
}

double DpiX(const QWidget* widget) {
  return widget ? widget->logicalDpiX() : 96.0;
}
double DpiY(const QWidget* widget) {
  return widget ? widget->logicalDpiY() : 96.0;
}

}  // namespace

int PixelsX(int32_t twips, const QWidget* widget) {
  return static_cast<int>(std::lround(twips * DpiX(widget) / kTwipsPerInch));
}
int PixelsY(int32_t twips, const QWidget* widget) {
  return static_cast<int>(std::lround(twips * DpiY(widget) / kTwipsPerInch));
}
int32_t TwipsX(int pixels, const QWidget* widget) {
  return static_cast<int32_t>(std::lround(pixels * kTwipsPerInch / DpiX(widget)));
}
int32_t TwipsY(int pixels, const QWidget* widget) {
  return static_cast<int32_t>(std::lround(pixels * kTwipsPerInch / DpiY(widget)));
}
QRect ToPixels(const ui::Rect& twips, const QWidget* widget) {
  return QRect(PixelsX(twips.left, widget), PixelsY(twips.top, widget),
               PixelsX(twips.width, widget), PixelsY(twips.height, widget));
}

void Fire(const std::function<void()>& handler) {
  ++event_depth;
  try {
    handler();
  } catch (...) {
    if (!escaped) escaped = std::current_exception();
    try {
      throw;
    } catch (const std::exception& e) {
      qWarning("kxexpr: an event handler failed: %s", e.what());
    } catch (...) {
      qWarning("kxexpr: an event handler failed");
    }
  }
  --event_depth;
}

std::exception_ptr TakeEscaped() {
  return std::exchange(escaped, nullptr);
}

bool InsideEvent() {
  return event_depth > 0;
}

void DisposeWindow(QWidget* window) {
  if (!window) return;
  window->hide();
  if (InsideEvent())
    window->deleteLater();
  else
    delete window;
}

template <typename Base>
void QtControl<Base>::SetFontName(const std::string& name) {
  font_name_ = name;
  QFont font = widget_->font();
  font.setFamily(ToQt(name));
  widget_->setFont(font);
}

template class QtControl<ui::Label>;
template class QtControl<ui::TextBox>;
template class QtControl<ui::Button>;
template class QtControl<ui::CheckBox>;
template class QtControl<ui::Combo>;
template class QtControl<ui::Pane>;
template class QtControl<ui::Toolbar>;
template class QtControl<ui::Window>;
template class QtControl<ui::TreeView>;
template class QtControl<ui::Grid>;
template class QtControl<ui::EditorControl>;

// ---- Simple controls ----

QtLabel::QtLabel(std::string name, QLabel* label) : QtControl(std::move(name), label) {
  label->setTextFormat(Qt::PlainText);
}

void QtLabel::SetCaption(const std::string& caption) {
  caption_ = caption;
  Widget()->setText(ToQt(caption));
  // A one-line label the presenter sized may cut its text; the tip shows all of it.
  if (!Widget()->wordWrap()) Widget()->setToolTip(Widget()->text());
}

QtTextBox::QtTextBox(std::string name, QLineEdit* edit) : QtControl(std::move(name), edit) {}

void QtTextBox::SetText(const std::string& text) {
  Widget()->setText(ToQt(text));
}

std::string QtTextBox::Text() const {
  return FromQt(Widget()->text());
}

QtButton::QtButton(std::string name, QPushButton* button) : QtControl(std::move(name), button) {}

void QtButton::SetCaption(const std::string& caption) {
  caption_ = caption;
  Widget()->setText(ToQt(caption));
}

QtCheckBox::QtCheckBox(std::string name, QCheckBox* box) : QtControl(std::move(name), box) {}

void QtCheckBox::SetCaption(const std::string& caption) {
  Widget()->setText(ToQt(caption));
}

void QtCheckBox::SetValue(bool checked) {
  Widget()->setChecked(checked);
}

bool QtCheckBox::Value() const {
  return Widget()->isChecked();
}

DropDownCombo::DropDownCombo(QWidget* parent) : QComboBox(parent) {
  setEditable(true);
  setInsertPolicy(QComboBox::NoInsert);
}

void DropDownCombo::showPopup() {
  emit dropDown();
  QComboBox::showPopup();
}

QtCombo::QtCombo(std::string name, DropDownCombo* combo) : QtControl(std::move(name), combo) {}

void QtCombo::RemoveAll() {
  // Emptying the list must not empty what the user typed.
  QString text = Widget()->currentText();
  Widget()->clear();
  Widget()->setEditText(text);
}

void QtCombo::AddItem(const std::string& text) {
  QString typed = Widget()->currentText();
  Widget()->addItem(ToQt(text));
  Widget()->setEditText(typed);
}

int32_t QtCombo::Rows() const {
  return Widget()->count();
}

std::string QtCombo::Item(int32_t row) const {
  if (row < 0 || row >= Widget()->count()) Raise(kErrIndexOutOfBounds);
  return FromQt(Widget()->itemText(row));
}

void QtCombo::SetText(const std::string& text) {
  Widget()->setEditText(ToQt(text));
}

std::string QtCombo::Text() const {
  return FromQt(Widget()->currentText());
}

void QtCombo::SetListWidth(int32_t twips) {
  list_width_ = twips;
  Widget()->view()->setMinimumWidth(PixelsX(twips, Widget()));
}

// ---- Menus and toolbar ----

QtMenuItem::QtMenuItem(const ui::MenuDef& def, QAction* action) : def_(def), action_(action) {}

void QtMenuItem::SetVisible(bool visible) {
  visible_ = visible;
  action_->setVisible(visible);
}

void QtMenuItem::SetEnabled(bool enabled) {
  enabled_ = enabled;
  action_->setEnabled(enabled);
}

void QtMenuItem::SetCaption(const std::string& caption) {
  def_.caption = caption;
  if (!action_->isSeparator()) action_->setText(ToQt(caption));
}

// Decoding the pictures is most of what a toolbar costs to build; every window shares them.
QIcon ToolbarIcon(const std::string& image) {
  static const bool registered = (RegisterIcons(), true);
  (void)registered;
  // Emptied as the application goes, while pictures can still be let go of.
  static QHash<QString, QIcon>* const icons = [] {
    qAddPostRoutine([] { icons->clear(); });
    return new QHash<QString, QIcon>;
  }();
  const QString key = ToQt(image);
  auto it = icons->constFind(key);
  if (it != icons->constEnd()) return *it;
  QString path = QStringLiteral(":/kx/icons/") + key + QStringLiteral(".png");
  return *icons->insert(key, QFile::exists(path) ? QIcon(path) : QIcon());
}

QtToolbarButton::QtToolbarButton(const ui::ToolbarButtonDef& def, QAction* action)
    : def_(def), action_(action) {
  SetToolTip(def.tooltip);
  SetImage(def.image);
}

void QtToolbarButton::SetEnabled(bool enabled) {
  enabled_ = enabled;
  action_->setEnabled(enabled);
}

void QtToolbarButton::SetToolTip(const std::string& text) {
  def_.tooltip = text;
  if (def_.separator) return;
  action_->setToolTip(ToQt(text));
  action_->setText(ToQt(text));
}

void QtToolbarButton::SetImage(const std::string& image) {
  // Every change of an action is announced to its toolbar, which lays itself out again.
  if (image == def_.image && !action_->icon().isNull()) return;
  def_.image = image;
  if (!def_.separator) action_->setIcon(ToolbarIcon(image));
}

namespace {

class ToolSeparator : public QWidget {
 public:
  explicit ToolSeparator(QWidget* bar) : QWidget(bar) {}
  QSize sizeHint() const override {
    const int extent =
        style()->pixelMetric(QStyle::PM_ToolBarSeparatorExtent, nullptr, parentWidget());
    return {extent, extent};
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    option.state |= QStyle::State_Horizontal;
    style()->drawPrimitive(QStyle::PE_IndicatorToolBarSeparator, &option, &painter, parentWidget());
  }
};

}  // namespace

void ToolRow::Append(QAction* action) {
  addAction(action);
  QWidget* item;
  if (action->isSeparator()) {
    item = new ToolSeparator(this);
  } else {
    auto* button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setIconSize(icon_size_);
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setDefaultAction(action);
    item = button;
  }
  items_.push_back(item);
  if (isVisible()) {
    Place();
    item->show();
  }
}

int ToolRow::Margin() const {
  return style()->pixelMetric(QStyle::PM_ToolBarItemMargin, nullptr, this) +
         style()->pixelMetric(QStyle::PM_ToolBarFrameWidth, nullptr, this);
}

int ToolRow::Spacing() const {
  return style()->pixelMetric(QStyle::PM_ToolBarItemSpacing, nullptr, this);
}

QSize ToolRow::sizeHint() const {
  int width = 0;
  int height = 0;
  for (QWidget* item : items_) {
    const QSize hint = item->sizeHint();
    width += hint.width();
    height = std::max(height, hint.height());
  }
  if (!items_.empty()) width += Spacing() * static_cast<int>(items_.size() - 1);
  return QSize(width, height) + 2 * QSize(Margin(), Margin());
}

// One row inside the margin, each item as wide as it asks; the buttons as high as the
// highest asks or the row has room for, centred; the separators the row's full height.
void ToolRow::Place() {
  const QRect area = rect().adjusted(Margin(), Margin(), -Margin(), -Margin());
  int button_height = 0;
  for (QWidget* item : items_) button_height = std::max(button_height, item->sizeHint().height());
  button_height = std::min(button_height, area.height());
  const int top = area.top() + (area.height() - button_height) / 2;
  int x = area.left();
  for (QWidget* item : items_) {
    const int width = item->sizeHint().width();
    if (qobject_cast<QToolButton*>(item))
      item->setGeometry(x, top, width, button_height);
    else
      item->setGeometry(x, area.top(), width, area.height());
    x += width + Spacing();
  }
}

void ToolRow::resizeEvent(QResizeEvent*) {
  Place();
}

void ToolRow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  QStyleOptionToolBar option;
  option.initFrom(this);
  option.state |= QStyle::State_Horizontal;
  option.lineWidth = style()->pixelMetric(QStyle::PM_ToolBarFrameWidth, nullptr, this);
  option.features = QStyleOptionToolBar::None;
  option.toolBarArea = Qt::NoToolBarArea;
  style()->drawControl(QStyle::CE_ToolBar, &option, &painter, this);
}

QtToolbar::QtToolbar(std::string name, ToolRow* bar,
                     std::function<void(const std::string&)> clicked)
    : QtControl(std::move(name), bar), clicked_(std::move(clicked)) {}

void QtToolbar::AddButton(const ui::ToolbarButtonDef& def) {
  // Made whole before the row has it.
  auto* action = new QAction(Widget());
  action->setSeparator(def.separator);
  buttons_.push_back(std::make_unique<QtToolbarButton>(def, action));
  Widget()->Append(action);
  if (def.separator) return;
  std::string key = def.key;
  QObject::connect(action, &QAction::triggered, Guard(), [this, key] { clicked_(key); });
}

ui::ToolbarButton& QtToolbar::Button(int32_t position) {
  if (position < 1 || position > ButtonCount()) Raise(kErrIndexOutOfBounds);
  return *buttons_[static_cast<size_t>(position) - 1];
}

ui::ToolbarButton& QtToolbar::Button(std::string_view key) {
  for (auto& button : buttons_)
    if (!button->Key().empty() && button->Key() == key) return *button;
  Raise(kErrElementNotFound);
}

// ---- Windows ----

class QtWindow::Filter : public QObject {
 public:
  explicit Filter(QtWindow& window) : window_(window) {}
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == window_.widget_ && event->type() == QEvent::Close) {
      // The presenter decides; Qt never closes the window on its own.
      event->ignore();
      Fire([&] { window_.CloseBox(); });
      return true;
    }
    if (watched == window_.widget_ && event->type() == QEvent::WindowStateChange) {
      if (window_.events_) Fire([&] { window_.events_->Form_Resize(); });
    } else if (watched == window_.client_ && event->type() == QEvent::Resize) {
      if (window_.events_ && window_.loaded_) Fire([&] { window_.events_->Form_Resize(); });
    }
    return false;
  }

 private:
  QtWindow& window_;
};

QtWindow::QtWindow(std::string name, QWidget* window, QWidget* client)
    : QtControl(std::move(name), window),
      client_(client),
      filter_(std::make_unique<Filter>(*this)) {
  window->installEventFilter(filter_.get());
  if (client != window) client->installEventFilter(filter_.get());
}

QtWindow::~QtWindow() {
  *alive_ = false;
  if (loop_) loop_->quit();
}

void QtWindow::SetVisible(bool visible) {
  if (visible)
    Show(false);
  else
    Hide();
}

void QtWindow::SetFontName(const std::string& name) {
  font_name_ = name;
}

// Only the size is taken: a top-level window opens centred, and where it goes then is the
// user's business.
void QtWindow::SetBounds(const ui::Rect& bounds) {
  bounds_ = bounds;
  // The frame is what the window system adds; before the first show there is none yet.
  QSize extra = widget_->frameGeometry().size() - widget_->geometry().size();
  if (!widget_->isVisible()) extra = QSize(0, 0);
  widget_->resize(std::max(1, PixelsX(bounds.width, widget_) - extra.width()),
                  std::max(1, PixelsY(bounds.height, widget_) - extra.height()));
}

ui::Rect QtWindow::Bounds() const {
  QRect frame = widget_->frameGeometry();
  return {TwipsX(frame.x(), widget_), TwipsY(frame.y(), widget_), TwipsX(frame.width(), widget_),
          TwipsY(frame.height(), widget_)};
}

void QtWindow::SetCaption(const std::string& caption) {
  caption_ = caption;
  widget_->setWindowTitle(ToQt(caption));
}

int32_t QtWindow::ScaleWidth() const {
  return TwipsX(client_->width(), client_);
}

int32_t QtWindow::ScaleHeight() const {
  return TwipsY(client_->height(), client_);
}

bool QtWindow::Minimized() const {
  return widget_->isMinimized();
}

void QtWindow::Show(bool modal) {
  loaded_ = true;
  Qt::WindowModality modality = modal ? Qt::ApplicationModal : Qt::NonModal;
  if (widget_->windowModality() != modality) {
    widget_->hide();
    widget_->setWindowModality(modality);
  }
  if (!centred_) {
    // Centred over the window the user is working in, else on the screen.
    QWidget* over = QApplication::activeWindow();
    QRect area =
        over && over != widget_ ? over->frameGeometry() : widget_->screen()->availableGeometry();
    QRect frame = widget_->frameGeometry();
    frame.moveCenter(area.center());
    widget_->move(frame.topLeft().x() < 0 ? 0 : frame.topLeft().x(),
                  frame.topLeft().y() < 0 ? 0 : frame.topLeft().y());
    centred_ = true;
  }
  // A window coming up is put on top anyway; one already up may be under others.
  const bool was_up = widget_->isVisible();
  widget_->show();
  if (was_up) widget_->raise();
  widget_->activateWindow();
  shown_ = true;
  std::shared_ptr<bool> alive = alive_;
  if (events_) Fire([&] { events_->Form_Activate(); });
  if (!*alive || !modal || !shown_) return;
  if (ModalHook())
    QTimer::singleShot(0, Guard(), [this] {
      if (shown_ && ModalHook()) Fire([&] { ModalHook()(*this); });
    });
  QEventLoop loop;
  loop_ = &loop;
  loop.exec(QEventLoop::DialogExec);
  if (*alive) loop_ = nullptr;
}

void QtWindow::SetModalHook(std::function<void(QtWindow&)> hook) {
  ModalHook() = std::move(hook);
}

void QtWindow::Hide() {
  shown_ = false;
  widget_->hide();
  if (loop_) loop_->quit();
}

// Layouts that widgets asked for go first: left until after a new window's first paint,
// they paint it a second time.
void QtWindow::DoEvents() {
  QCoreApplication::sendPostedEvents();
  QCoreApplication::processEvents();
}

bool QtWindow::Close(int unload_mode) {
  if (events_ && events_->Form_QueryUnload(unload_mode)) return false;
  Hide();
  loaded_ = false;
  if (events_) events_->Form_Unload();
  return true;
}

}  // namespace kx::qt
