#pragma once
// Qt widgets behind the ui/ control interfaces. An adapter keeps what the presenter set
// (visibility, enabled state, bounds in twips) and shows it on its widget; the widgets
// belong to their window and the adapters to their view.

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/controls.h"

class QEventLoop;

namespace kx::qt {

// Twips and pixels at the logical DPI of the widget's screen (15 twips = 1 pixel at 96 dpi).
int PixelsX(int32_t twips, const QWidget* widget);
int PixelsY(int32_t twips, const QWidget* widget);
int32_t TwipsX(int pixels, const QWidget* widget);
int32_t TwipsY(int pixels, const QWidget* widget);
QRect ToPixels(const ui::Rect& twips, const QWidget* widget);

// Runs a presenter's event handler from a widget signal. Nothing may leave an event
// handler into Qt's loop, so an escaping exception is written to the log. While any
// handler runs, a view that its presenter destroys defers deleting its widgets.
void Fire(const std::function<void()>& handler);
bool InsideEvent();
// The first exception that left a handler since the last call (null when none), for
// scripts, which must fail where a dialog went unanswered.
std::exception_ptr TakeEscaped();
// Deletes a window: at once, or once control is back in the event loop.
void DisposeWindow(QWidget* window);

template <typename Base>
class QtControl : public Base {
 public:
  QtControl(std::string name, QWidget* widget) : name_(std::move(name)), widget_(widget) {}
  std::string_view Name() const override { return name_; }
  void SetVisible(bool visible) override {
    visible_ = visible;
    widget_->setVisible(visible);
  }
  bool Visible() const override { return visible_; }
  void SetEnabled(bool enabled) override {
    enabled_ = enabled;
    widget_->setEnabled(enabled);
  }
  bool Enabled() const override { return enabled_; }
  void SetFontName(const std::string& name) override;
  void SetHelpContextID(int32_t id) override { help_id_ = id; }
  int32_t HelpContextID() const override { return help_id_; }
  void SetFocus() override { widget_->setFocus(Qt::OtherFocusReason); }
  void SetBounds(const ui::Rect& bounds) override {
    bounds_ = bounds;
    placed_ = true;
    widget_->setGeometry(ToPixels(bounds, widget_));
  }
  // What the presenter placed, exactly (its arithmetic reads it back); else where the
  // dialog's layout put the widget.
  ui::Rect Bounds() const override {
    if (placed_) return bounds_;
    QRect at = widget_->geometry();
    return {TwipsX(at.x(), widget_), TwipsY(at.y(), widget_), TwipsX(at.width(), widget_),
            TwipsY(at.height(), widget_)};
  }

  QWidget* Widget() const { return widget_; }
  // The family the general font asked for, empty when none.
  const std::string& FontName() const { return font_name_; }
  // Context of connections into this adapter: they end with it, even while its widget
  // waits to be deleted.
  QObject* Guard() const { return guard_.get(); }

 protected:
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
  std::string name_;
  QWidget* widget_;
  bool visible_ = true;
  bool enabled_ = true;
  bool placed_ = false;
  int32_t help_id_ = 0;
  ui::Rect bounds_;
  std::string font_name_;
};

class QtLabel : public QtControl<ui::Label> {
 public:
  QtLabel(std::string name, QLabel* label);
  void SetCaption(const std::string& caption) override;
  std::string Caption() const override { return caption_; }
  QLabel* Widget() const { return static_cast<QLabel*>(widget_); }

 private:
  std::string caption_;
};

class QtTextBox : public QtControl<ui::TextBox> {
 public:
  QtTextBox(std::string name, QLineEdit* edit);
  void SetText(const std::string& text) override;
  std::string Text() const override;
  QLineEdit* Widget() const { return static_cast<QLineEdit*>(widget_); }
};

class QtButton : public QtControl<ui::Button> {
 public:
  QtButton(std::string name, QPushButton* button);
  void SetCaption(const std::string& caption) override;
  std::string Caption() const override { return caption_; }
  QPushButton* Widget() const { return static_cast<QPushButton*>(widget_); }

 private:
  std::string caption_;
};

class QtCheckBox : public QtControl<ui::CheckBox> {
 public:
  QtCheckBox(std::string name, QCheckBox* box);
  void SetCaption(const std::string& caption) override;
  void SetValue(bool checked) override;
  bool Value() const override;
  QCheckBox* Widget() const { return static_cast<QCheckBox*>(widget_); }
};

// A combo box that says when its list is about to drop down.
class DropDownCombo : public QComboBox {
  Q_OBJECT
 public:
  explicit DropDownCombo(QWidget* parent);
  void showPopup() override;
 signals:
  void dropDown();
};

class QtCombo : public QtControl<ui::Combo> {
 public:
  QtCombo(std::string name, DropDownCombo* combo);
  void RemoveAll() override;
  void AddItem(const std::string& text) override;
  int32_t Rows() const override;
  std::string Item(int32_t row) const override;
  void SetText(const std::string& text) override;
  std::string Text() const override;
  void SetListWidth(int32_t twips) override;
  int32_t ListWidth() const { return list_width_; }
  DropDownCombo* Widget() const { return static_cast<DropDownCombo*>(widget_); }

 private:
  int32_t list_width_ = 0;
};

class QtPane : public QtControl<ui::Pane> {
 public:
  QtPane(std::string name, QWidget* pane) : QtControl(std::move(name), pane) {}
};

// A menu or a menu item: the menu's own action for a menu, the item's action otherwise.
class QtMenuItem : public ui::MenuItem {
 public:
  QtMenuItem(const ui::MenuDef& def, QAction* action);
  std::string_view Name() const override { return def_.name; }
  void SetVisible(bool visible) override;
  bool Visible() const override { return visible_; }
  void SetEnabled(bool enabled) override;
  bool Enabled() const override { return enabled_; }
  void SetFontName(const std::string&) override {}
  void SetHelpContextID(int32_t id) override { help_id_ = id; }
  int32_t HelpContextID() const override { return help_id_; }
  void SetFocus() override {}
  void SetBounds(const ui::Rect& bounds) override { bounds_ = bounds; }
  ui::Rect Bounds() const override { return bounds_; }
  void SetCaption(const std::string& caption) override;
  std::string Caption() const override { return def_.caption; }

  const ui::MenuDef& Def() const { return def_; }
  QAction* Action() const { return action_; }

 private:
  ui::MenuDef def_;
  QAction* action_;
  bool visible_ = true;
  bool enabled_ = true;
  int32_t help_id_ = 0;
  ui::Rect bounds_;
};

class QtToolbarButton : public ui::ToolbarButton {
 public:
  QtToolbarButton(const ui::ToolbarButtonDef& def, QAction* action);
  std::string Key() const override { return def_.key; }
  void SetEnabled(bool enabled) override;
  bool Enabled() const override { return enabled_; }
  void SetToolTip(const std::string& text) override;
  std::string ToolTip() const override { return def_.tooltip; }
  void SetImage(const std::string& image) override;
  std::string Image() const override { return def_.image; }
  QAction* Action() const { return action_; }

 private:
  ui::ToolbarButtonDef def_;
  QAction* action_;
  bool enabled_ = true;
};

// The icon drawn for a toolbar image key; a null icon for a key we have no picture for.
QIcon ToolbarIcon(const std::string& image);

// The toolbar: tool buttons and separators in one row, placed and painted as the style
// places and paints a toolbar's, without a toolbar's layout, extension menu and handling of
// every change of its actions. The row never overflows: the window's minimum width holds it.
class ToolRow : public QWidget {
 public:
  explicit ToolRow(QWidget* parent) : QWidget(parent) {}
  void SetIconSize(QSize size) { icon_size_ = size; }
  // A button for `action`, or a separator when it is one.
  void Append(QAction* action);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  // The margin around the row and the space between its items.
  int Margin() const;
  int Spacing() const;
  void Place();

  std::vector<QWidget*> items_;
  QSize icon_size_{16, 16};
};

class QtToolbar : public QtControl<ui::Toolbar> {
 public:
  // `clicked` receives the key of a button the user pressed.
  QtToolbar(std::string name, ToolRow* bar, std::function<void(const std::string&)> clicked);
  bool HasFont() const override { return false; }
  void AddButton(const ui::ToolbarButtonDef& def) override;
  int32_t ButtonCount() const override { return static_cast<int32_t>(buttons_.size()); }
  ui::ToolbarButton& Button(int32_t position) override;
  ui::ToolbarButton& Button(std::string_view key) override;
  ToolRow* Widget() const { return static_cast<ToolRow*>(widget_); }

 private:
  std::function<void(const std::string&)> clicked_;
  std::vector<std::unique_ptr<QtToolbarButton>> buttons_;
};

// A dialog whose Escape key is a gesture for its view, not a hidden reject().
class FormDialog : public QDialog {
  Q_OBJECT
 public:
  explicit FormDialog(QWidget* parent = nullptr) : QDialog(parent) {}
  void reject() override { emit escapePressed(); }
 signals:
  void escapePressed();
};

// The window part of a view: `window` is the top-level widget, `client` the area the
// presenter lays out (ScaleWidth, ScaleHeight). Closing from the window's close box asks
// the presenter; a modal Show runs an event loop until the window is hidden.
class QtWindow : public QtControl<ui::Window> {
 public:
  QtWindow(std::string name, QWidget* window, QWidget* client);
  ~QtWindow() override;
  bool HasFont() const override { return false; }
  void SetEvents(ui::WindowEvents* events) { events_ = events; }
  ui::WindowEvents* Events() const { return events_; }

  void SetVisible(bool visible) override;
  bool Visible() const override { return shown_; }
  void SetFontName(const std::string& name) override;
  void SetBounds(const ui::Rect& bounds) override;
  ui::Rect Bounds() const override;
  void SetCaption(const std::string& caption) override;
  std::string Caption() const override { return caption_; }
  int32_t ScaleWidth() const override;
  int32_t ScaleHeight() const override;
  bool Minimized() const override;
  void Show(bool modal) override;
  void Hide() override;
  bool Unload() override { return Close(ui::kUnloadCode); }
  bool IsShown() const override { return shown_; }
  void DoEvents() override;

  // The user's close box.
  bool CloseBox() { return Close(ui::kUnloadCloseBox); }
  bool Loaded() const { return loaded_; }
  // Whether a modal Show is waiting for this window.
  bool InModalLoop() const { return loop_ != nullptr; }
  // Runs once the loop of every modal Show is up (a script plays the user through it).
  static void SetModalHook(std::function<void(QtWindow&)> hook);

 private:
  class Filter;
  bool Close(int unload_mode);

  QWidget* client_;
  ui::WindowEvents* events_ = nullptr;
  std::unique_ptr<Filter> filter_;
  std::string caption_;
  bool shown_ = false;
  bool loaded_ = true;
  bool centred_ = false;
  QEventLoop* loop_ = nullptr;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kx::qt
