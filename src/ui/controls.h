#pragma once
// The controls a window is made of, as presenters see them. Views keep state and show it;
// they decide nothing. Sizes and positions are twips (views convert: 15 twips = 1 pixel at
// 96 dpi). Texts are byte strings; views display them as Windows-1252.

#include <cstdint>
#include <string>
#include <string_view>

namespace kx::ui {

struct Rect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
  bool operator==(const Rect&) const = default;
};

class Control {
 public:
  virtual ~Control() = default;
  // The control's name in its window ("cmdok", "TreeView1" ...).
  virtual std::string_view Name() const = 0;
  virtual void SetVisible(bool visible) = 0;
  virtual bool Visible() const = 0;
  virtual void SetEnabled(bool enabled) = 0;
  virtual bool Enabled() const = 0;
  // False for controls that carry no font (the general font skips them).
  virtual bool HasFont() const { return true; }
  virtual void SetFontName(const std::string& name) = 0;
  virtual void SetHelpContextID(int32_t id) = 0;
  virtual int32_t HelpContextID() const = 0;
  virtual void SetFocus() = 0;
  virtual void SetBounds(const Rect& bounds) = 0;
  virtual Rect Bounds() const = 0;
};

class Label : public Control {
 public:
  virtual void SetCaption(const std::string& caption) = 0;
  virtual std::string Caption() const = 0;
};

// A one-line text box.
class TextBox : public Control {
 public:
  virtual void SetText(const std::string& text) = 0;
  virtual std::string Text() const = 0;
};

class Button : public Control {
 public:
  virtual void SetCaption(const std::string& caption) = 0;
  virtual std::string Caption() const = 0;
};

class CheckBox : public Control {
 public:
  virtual void SetCaption(const std::string& caption) = 0;
  virtual void SetValue(bool checked) = 0;
  virtual bool Value() const = 0;
};

// An editable combo box with a one-column drop-down list.
class Combo : public Control {
 public:
  virtual void RemoveAll() = 0;
  virtual void AddItem(const std::string& text) = 0;
  virtual int32_t Rows() const = 0;
  virtual std::string Item(int32_t row) const = 0;
  virtual void SetText(const std::string& text) = 0;
  virtual std::string Text() const = 0;
  // Width of the drop-down list's column, twips.
  virtual void SetListWidth(int32_t twips) = 0;
};

// A menu item; `parent` is the name of the menu it belongs to (empty for the menu bar).
struct MenuDef {
  std::string name;
  std::string parent;
  std::string caption;   // "&Undo"; "-" for a separator
  std::string shortcut;  // "Ctrl+Z", empty for none
};

class MenuItem : public Control {
 public:
  bool HasFont() const override { return false; }
  virtual void SetCaption(const std::string& caption) = 0;
  virtual std::string Caption() const = 0;
};

struct ToolbarButtonDef {
  std::string key;  // empty for a separator
  std::string tooltip;
  std::string image;  // image key: "Open", "NoBottom" ...
  bool separator = false;
};

class ToolbarButton {
 public:
  virtual ~ToolbarButton() = default;
  virtual std::string Key() const = 0;
  virtual void SetEnabled(bool enabled) = 0;
  virtual bool Enabled() const = 0;
  virtual void SetToolTip(const std::string& text) = 0;
  virtual std::string ToolTip() const = 0;
  virtual void SetImage(const std::string& image) = 0;
  virtual std::string Image() const = 0;
};

class Toolbar : public Control {
 public:
  bool HasFont() const override { return false; }
  virtual void AddButton(const ToolbarButtonDef& def) = 0;
  virtual int32_t ButtonCount() const = 0;
  // 1-based position, separators counted; others raise 35600 ("Index out of bounds").
  virtual ToolbarButton& Button(int32_t position) = 0;
  // By key; raises 35601 ("Element not found") for a key no button has.
  virtual ToolbarButton& Button(std::string_view key) = 0;
};

// A pane that holds other controls (the bottom pane, the operator pad).
class Pane : public Control {};

// Why a window is being closed, with the platform's numbers.
enum UnloadMode : int {
  kUnloadCloseBox = 0,  // the user closed it from its system menu or close box
  kUnloadCode = 1,      // the program unloaded it
};

// What every window tells its presenter.
class WindowEvents {
 public:
  virtual ~WindowEvents() = default;
  virtual void Form_Activate() = 0;
  virtual void Form_Resize() = 0;
  // Returns true to cancel the close.
  virtual bool Form_QueryUnload(int unload_mode) = 0;
  virtual void Form_Unload() = 0;
};

class Window : public Control {
 public:
  bool HasFont() const override { return false; }
  virtual void SetCaption(const std::string& caption) = 0;
  virtual std::string Caption() const = 0;
  // The client area, twips.
  virtual int32_t ScaleWidth() const = 0;
  virtual int32_t ScaleHeight() const = 0;
  virtual bool Minimized() const = 0;
  // Shows the window and fires Form_Activate. Modal: returns once the window is hidden or
  // unloaded, after the user (or a script) has acted; modeless: returns at once.
  virtual void Show(bool modal) = 0;
  // Hides the window; a modal Show returns. The window stays loaded.
  virtual void Hide() = 0;
  // Asks Form_QueryUnload(kUnloadCode); unless cancelled hides the window and fires
  // Form_Unload. Returns false when the presenter cancelled.
  virtual bool Unload() = 0;
  virtual bool IsShown() const = 0;
  // Processes pending window messages once.
  virtual void DoEvents() = 0;
};

}  // namespace kx::ui
