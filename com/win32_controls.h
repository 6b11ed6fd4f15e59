#pragma once
// The ui/ controls over Win32 windows. Each control owns one child window; texts cross as
// the ANSI code page's bytes (the "A" calls), sizes as twips. Views make the controls, lay
// nothing out themselves beyond what a control holds (the operator pad), and pass the
// windows' notifications on to their presenters through Fire.

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ui/controls.h"
#include "ui/editor_control.h"
#include "ui/grid.h"
#include "ui/tree_view.h"

namespace kx::com::win32 {

// What a window that cannot be made raises ("ActiveX component can't create object").
constexpr int32_t kErrCantCreateObject = 429;

// Runs a presenter's event handler from a window procedure: nothing may unwind through
// the system's frames, so a failure that the presenter did not report is dropped here.
void Fire(const std::function<void()>& handler);

int PixelsX(int32_t twips);
int PixelsY(int32_t twips);
int32_t TwipsX(int pixels);
int32_t TwipsY(int pixels);

std::string WindowText(HWND window);
// A font of the given face at 8 points, shared and kept for the process's life.
HFONT FontNamed(const std::string& name);

// Registers the window classes and loads the common controls and rich edit, once.
void EnsureClasses();
extern const wchar_t kFormClass[];
extern const wchar_t kPaneClass[];

// Every child notification reaches the control that owns the window: WM_COMMAND and
// WM_NOTIFY are passed to Notify of the control found by the child's handle.
class Notified {
 public:
  virtual ~Notified() = default;
  // Returns true when handled; `result` is the message's result then.
  virtual bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) = 0;
};
void Attach(HWND window, Notified* control);
Notified* AttachedTo(HWND window);
// Routes WM_COMMAND/WM_NOTIFY to the control of the child that sent it.
bool RouteToChild(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result);

HWND MakeChild(const wchar_t* window_class, DWORD style, HWND parent, DWORD ex_style = 0);

template <typename Base>
class Win32Control : public Base {
 public:
  Win32Control(std::string name, HWND window) : name_(std::move(name)), window_(window) {}
  // The window goes with its parent; its notifications must not reach this object after.
  ~Win32Control() override { Attach(window_, nullptr); }
  Win32Control(const Win32Control&) = delete;
  Win32Control& operator=(const Win32Control&) = delete;
  std::string_view Name() const override { return name_; }
  void SetVisible(bool visible) override { ShowWindow(window_, visible ? SW_SHOWNA : SW_HIDE); }
  bool Visible() const override { return (GetWindowLongW(window_, GWL_STYLE) & WS_VISIBLE) != 0; }
  void SetEnabled(bool enabled) override { EnableWindow(window_, enabled); }
  bool Enabled() const override { return IsWindowEnabled(window_) != FALSE; }
  void SetFontName(const std::string& name) override {
    SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(FontNamed(name)), TRUE);
  }
  void SetHelpContextID(int32_t id) override {
    help_id_ = id;
    SetWindowContextHelpId(window_, static_cast<DWORD>(id));
  }
  int32_t HelpContextID() const override { return help_id_; }
  void SetFocus() override { ::SetFocus(window_); }
  void SetBounds(const ui::Rect& r) override {
    MoveWindow(window_, PixelsX(r.left), PixelsY(r.top), PixelsX(r.width), PixelsY(r.height), TRUE);
  }
  ui::Rect Bounds() const override {
    RECT r;
    GetWindowRect(window_, &r);
    MapWindowPoints(HWND_DESKTOP, GetParent(window_), reinterpret_cast<POINT*>(&r), 2);
    return {TwipsX(r.left), TwipsY(r.top), TwipsX(r.right - r.left), TwipsY(r.bottom - r.top)};
  }
  HWND Handle() const { return window_; }

 protected:
  std::string name_;
  HWND window_;
  int32_t help_id_ = 0;
};

class Win32Label : public Win32Control<ui::Label> {
 public:
  Win32Label(std::string name, HWND parent);
  void SetCaption(const std::string& caption) override { SetWindowTextA(window_, caption.c_str()); }
  std::string Caption() const override { return WindowText(window_); }
};

class Win32TextBox : public Win32Control<ui::TextBox> {
 public:
  Win32TextBox(std::string name, HWND parent, bool read_only = false);
  void SetText(const std::string& text) override { SetWindowTextA(window_, text.c_str()); }
  std::string Text() const override { return WindowText(window_); }
};

// A one-line box whose user edits are reported; text the program sets is not.
class Win32ReportingTextBox : public Win32TextBox, public Notified {
 public:
  Win32ReportingTextBox(std::string name, HWND parent,
                        std::function<void(const std::string&)> changed)
      : Win32TextBox(std::move(name), parent), changed_(std::move(changed)) {
    Attach(window_, this);
  }
  void Show(const std::string& text) {
    if (text == Text()) return;
    writing_ = true;
    SetText(text);
    writing_ = false;
  }
  bool Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) override {
    if (message != WM_COMMAND || HIWORD(wparam) != EN_CHANGE) return false;
    if (!writing_) {
      std::string text = Text();
      Fire([&] { changed_(text); });
    }
    result = 0;
    return true;
  }

 private:
  std::function<void(const std::string&)> changed_;
  bool writing_ = false;
};

class Win32Button : public Win32Control<ui::Button>, public Notified {
 public:
  Win32Button(std::string name, HWND parent, std::function<void()> on_click);
  void SetCaption(const std::string& caption) override { SetWindowTextA(window_, caption.c_str()); }
  std::string Caption() const override { return WindowText(window_); }
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  std::function<void()> on_click_;
};

class Win32CheckBox : public Win32Control<ui::CheckBox> {
 public:
  Win32CheckBox(std::string name, HWND parent);
  void SetCaption(const std::string& caption) override { SetWindowTextA(window_, caption.c_str()); }
  void SetValue(bool checked) override {
    SendMessageW(window_, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
  }
  bool Value() const override { return SendMessageW(window_, BM_GETCHECK, 0, 0) == BST_CHECKED; }
};

class Win32Combo : public Win32Control<ui::Combo>, public Notified {
 public:
  Win32Combo(std::string name, HWND parent, std::function<void()> on_drop_down);
  void RemoveAll() override;
  void AddItem(const std::string& text) override;
  int32_t Rows() const override;
  std::string Item(int32_t row) const override;
  void SetText(const std::string& text) override { SetWindowTextA(window_, text.c_str()); }
  std::string Text() const override { return WindowText(window_); }
  void SetListWidth(int32_t twips) override;
  void SetBounds(const ui::Rect& r) override;
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  std::function<void()> on_drop_down_;
};

// A plain container: it passes its children's notifications on.
class Win32Pane : public Win32Control<ui::Pane> {
 public:
  Win32Pane(std::string name, HWND parent);
};

class Win32TreeView : public Win32Control<ui::TreeView>, public Notified {
 public:
  Win32TreeView(std::string name, HWND parent, std::function<void(const std::string&)> on_click);
  void Clear() override;
  void AddNode(const ui::TreeNode& node) override;
  std::optional<ui::TreeNode> Node(std::string_view key) const override;
  void SetTag(std::string_view key, const std::string& tag) override;
  void SetExpanded(std::string_view key, bool expanded) override;
  int32_t ChildCount(std::string_view key) const override;
  void SelectNode(std::string_view key) override;
  std::string SelectedKey() const override;
  std::vector<ui::TreeNode> Nodes() const override;
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  struct Entry {
    ui::TreeNode node;
    HTREEITEM item = nullptr;
    std::vector<std::string> children;
  };
  Entry& Find(std::string_view key);
  const Entry* FindOrNull(std::string_view key) const;
  void Walk(const std::vector<std::string>& keys, std::vector<ui::TreeNode>& out) const;

  std::map<std::string, Entry, std::less<>> entries_;
  std::vector<std::string> roots_;
  std::map<HTREEITEM, std::string> keys_;
  bool selecting_ = false;
  std::function<void(const std::string&)> on_click_;
};

// A list view in report mode: one column for tokens, two (name, value) for arguments.
class Win32Grid : public Win32Control<ui::Grid>, public Notified {
 public:
  struct Events {
    std::function<void()> before_row_change;
    std::function<void()> row_change;
    std::function<void()> double_click;
    std::function<void()> build_function;
    std::function<void(int)> key_down;
    // The view's own: the current row moved or its cells were written (no presenter event).
    std::function<void()> current_changed;
  };
  Win32Grid(std::string name, HWND parent, Events events);
  void SetRedraw(bool redraw) override;
  void RemoveAll() override;
  void AddRow(const std::string& text) override;
  int32_t Rows() const override { return static_cast<int32_t>(cells_.size()); }
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
  void Refresh() override { InvalidateRect(window_, nullptr, TRUE); }
  void SetColumns(int32_t count) override;
  void SetColumnWidth(int32_t column, int32_t twips) override;
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  void CheckRow(int32_t row) const;
  void Select(int32_t row);
  std::vector<std::vector<std::string>> cells_;
  std::vector<std::string> styles_;
  int32_t columns_ = 1;
  int32_t current_row_ = -1;
  int32_t current_column_ = 0;
  bool writing_ = false;
  Events events_;
};

struct ToolbarButtonState;

class Win32Toolbar : public Win32Control<ui::Toolbar>, public Notified {
 public:
  Win32Toolbar(std::string name, HWND parent, std::function<void(const std::string&)> on_click);
  ~Win32Toolbar() override;
  bool HasFont() const override { return false; }
  void AddButton(const ui::ToolbarButtonDef& def) override;
  int32_t ButtonCount() const override { return static_cast<int32_t>(buttons_.size()); }
  ui::ToolbarButton& Button(int32_t position) override;
  ui::ToolbarButton& Button(std::string_view key) override;
  void SetBounds(const ui::Rect& r) override;
  bool Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

 private:
  std::vector<std::unique_ptr<ui::ToolbarButton>> buttons_;
  std::function<void(const std::string&)> on_click_;
  HWND tips_ = nullptr;
  std::wstring tip_;
};

// A top-level window: the form of a view. Its controls are children of its client area.
class Win32Window : public Win32Control<ui::Window> {
 public:
  Win32Window(std::string name, const std::string& caption, bool dialog_frame);
  ~Win32Window() override;
  void SetEvents(ui::WindowEvents* events) { events_ = events; }
  // The window's own notifications beside WM_COMMAND/WM_NOTIFY (menus, accelerators).
  void SetHandler(std::function<bool(UINT, WPARAM, LPARAM, LRESULT&)> handler) {
    handler_ = std::move(handler);
  }
  void SetAccelerators(HACCEL accelerators) { accelerators_ = accelerators; }
  // The button Enter presses, and the one Escape presses.
  void SetDefaultButtons(HWND ok, HWND cancel) {
    ok_ = ok;
    cancel_ = cancel;
  }

  // The designed size of a dialog's client area, pixels.
  void SetClientSize(int width, int height);

  bool HasFont() const override { return false; }
  void SetVisible(bool visible) override;
  void SetFontName(const std::string&) override {}
  void SetBounds(const ui::Rect& r) override;
  ui::Rect Bounds() const override;
  void SetCaption(const std::string& caption) override { SetWindowTextA(window_, caption.c_str()); }
  std::string Caption() const override { return WindowText(window_); }
  int32_t ScaleWidth() const override;
  int32_t ScaleHeight() const override;
  bool Minimized() const override { return IsIconic(window_) != FALSE; }
  void Show(bool modal) override;
  void Hide() override;
  bool Unload() override;
  bool IsShown() const override { return shown_; }
  void DoEvents() override;

  LRESULT Procedure(UINT message, WPARAM wparam, LPARAM lparam);

 private:
  bool Close(int unload_mode);
  bool PreTranslate(MSG& msg);

  ui::WindowEvents* events_ = nullptr;
  std::function<bool(UINT, WPARAM, LPARAM, LRESULT&)> handler_;
  HACCEL accelerators_ = nullptr;
  HWND ok_ = nullptr;
  HWND cancel_ = nullptr;
  bool shown_ = false;
  bool loaded_ = false;
  bool centred_ = false;
  int modal_depth_ = 0;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace kx::com::win32
