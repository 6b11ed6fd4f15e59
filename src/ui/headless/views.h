#pragma once
// Headless views of the component's four windows. Each keeps its controls' state and
// offers the user's gestures, firing the events a real view fires, in the same order.
// A gesture on a hidden or disabled control does nothing and returns false; a gesture
// the user cannot make at all (a node or row that is not there, a window whose presenter
// is gone) raises GestureError.

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ui/headless/controls.h"
#include "ui/headless/driver.h"
#include "ui/headless/editor.h"
#include "ui/views.h"

namespace kx::ui::headless {

class GestureError : public std::logic_error {
 public:
  explicit GestureError(const std::string& what) : std::logic_error(what) {}
};

class HeadlessView;

// The window part of every headless view. Its name is the window's ("frmExprBld" ...).
// Client size defaults to 9600 x 7200 twips; bounds are the client plus a frame of 120 x 480.
class HeadlessWindow : public ControlOf<Window> {
 public:
  HeadlessWindow(std::string name, std::string* focus, Driver& driver, HeadlessView& view);

  void SetCaption(const std::string& caption) override { caption_ = caption; }
  std::string Caption() const override { return caption_; }
  int32_t ScaleWidth() const override { return client_width_; }
  int32_t ScaleHeight() const override { return client_height_; }
  bool Minimized() const override { return minimized_; }
  void SetBounds(const Rect& bounds) override;
  // Fires Form_Activate; modal: then runs the Driver's answer for this window, which must
  // leave it hidden or unloaded.
  void Show(bool modal) override;
  void Hide() override { shown_ = false; }
  // Form_QueryUnload(kUnloadCode); unless cancelled, hides the window and fires Form_Unload.
  bool Unload() override { return Close(kUnloadCode); }
  bool IsShown() const override { return shown_; }
  void DoEvents() override { ++do_events_; }

  // The presenter's events; nullptr once the presenter let go of the view.
  WindowEvents* Events() const { return events_; }
  void SetWindowEvents(WindowEvents* events) { events_ = events; }
  HeadlessView& View() { return view_; }
  // False once unloaded (until shown again).
  bool Loaded() const { return loaded_; }
  int32_t TimesActivated() const { return activations_; }
  int32_t TimesDoEvents() const { return do_events_; }

  // Gestures. The close box: Form_QueryUnload(kUnloadCloseBox), then as Unload. Returns
  // false when the presenter cancelled.
  bool CloseBox() { return Close(kUnloadCloseBox); }
  // The user resizes the window to a client size (twips); fires Form_Resize.
  void Resize(int32_t width, int32_t height);
  // Minimises or restores the window; fires Form_Resize.
  void Minimize(bool minimized);

 private:
  bool Close(int unload_mode);
  WindowEvents& Sink();

  Driver& driver_;
  HeadlessView& view_;
  WindowEvents* events_ = nullptr;
  std::string caption_;
  int32_t client_width_ = 9600;
  int32_t client_height_ = 7200;
  bool minimized_ = false;
  bool shown_ = false;
  bool loaded_ = true;
  int32_t activations_ = 0;
  int32_t do_events_ = 0;
};

// What every headless view has: its window, the name of the focused control, and whether
// a presenter still holds it.
class HeadlessView {
 public:
  HeadlessView(std::string window_name, Driver& driver);
  virtual ~HeadlessView() = default;
  HeadlessView(const HeadlessView&) = delete;
  HeadlessView& operator=(const HeadlessView&) = delete;

  HeadlessWindow& Frame() { return window_; }
  // The name of the control that has the focus, empty when none.
  const std::string& Focused() const { return focus_; }
  // The presenter destroyed its handle on this view: events stop.
  void Release() { window_.SetWindowEvents(nullptr); }

 protected:
  // The presenter's event sink, or GestureError when there is none.
  template <typename Events>
  Events& Sink() {
    auto* events = dynamic_cast<Events*>(window_.Events());
    if (!events)
      throw GestureError("the window " + std::string(window_.Name()) + " has no presenter");
    return *events;
  }

  // A gesture reaches only what the user could reach: a visible, enabled control.
  static bool Usable(const Control& control) { return control.Visible() && control.Enabled(); }

  // Clicks the button called `name` among `buttons` when it is usable; false when it is not,
  // GestureError when the window has no such button.
  template <typename Events>
  struct ButtonClick {
    HeadlessButton* button;
    void (Events::*click)();
  };
  template <typename Events>
  bool PressButton(std::string_view name, std::initializer_list<ButtonClick<Events>> buttons) {
    for (const ButtonClick<Events>& b : buttons) {
      if (b.button->Name() != name) continue;
      auto& events = Sink<Events>();
      if (!Usable(*b.button)) return false;
      (events.*b.click)();
      return true;
    }
    throw GestureError(std::string(window_.Name()) + " has no button " + std::string(name));
  }

  std::string focus_;
  HeadlessWindow window_;
};

class HeadlessExprBldView : public ExprBldView, public HeadlessView {
 public:
  HeadlessExprBldView(Driver& driver, EditorContext editor);

  void SetEvents(ExprBldEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessEditor& KXEditor1() override { return editor_; }
  HeadlessTreeView& TreeView1() override { return tree_; }
  HeadlessGrid& ssdgridtokens() override { return grid_; }
  HeadlessLabel& txtproto(int index) override;
  HeadlessLabel& lblexprerr() override { return lblexprerr_; }
  // Made on first naming, visible and enabled.
  HeadlessButton& Command(std::string_view name) override;
  // A second definition of a name raises 35602.
  void AddMenu(const MenuDef& def) override;
  HeadlessMenuItem& Menu(std::string_view name) override;
  HeadlessToolbar& tbar() override { return tbar_; }
  HeadlessPane& vselbottom() override { return vselbottom_; }
  HeadlessPane& vselbuttons() override { return vselbuttons_; }
  // The editor, tree, grid, the two prototype labels, the error label, the toolbar, the two
  // panes, then the buttons and the menu items in the order they were made.
  std::vector<Control*> Controls() override;

  // Every menu item, in definition order.
  std::vector<HeadlessMenuItem*> Menus();
  // The buttons named so far, in that order.
  std::vector<HeadlessButton*> Commands();

  // Gestures.
  // Selects the node and fires TreeView1_NodeClick.
  bool ClickNode(std::string_view key);
  // Fires ssdgridtokens_BeforeRowColChange, makes `row` current, fires RowColChange.
  bool MoveToRow(int32_t row);
  // Moves to `row` when it is not current, then fires ssdgridtokens_DblClick.
  bool DoubleClickRow(int32_t row);
  // Moves to `row` when it is not current, then the function-builder gesture.
  bool BuildFunction(int32_t row);
  // Any button by name (ButtonClick).
  bool Press(std::string_view name);
  // A menu item (MenuClick); also nothing when a menu above it is hidden or disabled.
  bool ChooseMenu(std::string_view name);
  // A toolbar button by key (tbar_ButtonClick).
  bool ClickToolbar(std::string_view key);
  // Keystrokes at the caret: KXEditor1_KeyDown, then the text replaces the selection as
  // one undo step.
  bool Type(const std::string& text);
  // A click in the editor: KXEditor1_MouseDown, then the caret moves to `position`.
  bool ClickEditor(int32_t position);

 private:
  bool EnsureRow(int32_t row);

  HeadlessEditor editor_;
  HeadlessTreeView tree_;
  HeadlessGrid grid_;
  HeadlessLabel proto_[2];
  HeadlessLabel lblexprerr_;
  HeadlessToolbar tbar_;
  HeadlessPane vselbottom_;
  HeadlessPane vselbuttons_;
  std::vector<std::unique_ptr<HeadlessButton>> commands_;
  std::vector<std::unique_ptr<HeadlessMenuItem>> menus_;
};

class HeadlessFunctionView : public FunctionView, public HeadlessView {
 public:
  explicit HeadlessFunctionView(Driver& driver);

  void SetEvents(FunctionEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessLabel& lblfuncname() override { return lblfuncname_; }
  HeadlessLabel& lbldescription() override { return lbldescription_; }
  HeadlessTextBox& txtParameters() override { return txtParameters_; }
  HeadlessGrid& ssdgridargs() override { return grid_; }
  HeadlessButton& cmdok() override { return cmdok_; }
  HeadlessButton& cmdcancel() override { return cmdcancel_; }
  HeadlessButton& cmdhelp() override { return cmdhelp_; }
  // Headless text is 105 twips (7 pixels) a byte.
  int32_t TextWidth(const std::string& text) const override;
  std::vector<Control*> Controls() override;

  // Gestures.
  // "cmdok", "cmdcancel" or "cmdhelp"; another name raises GestureError.
  bool Press(std::string_view name);
  // Makes `row` current (column 1) and fires ssdgridargs_RowColChange.
  bool MoveToRow(int32_t row);
  // The user types `text` into the value cell of `row`: moves there when needed, the cell
  // takes the text, then ssdgridargs_Change(text).
  bool EditValue(int32_t row, const std::string& text);
  bool KeyDown(int key_code);

 private:
  HeadlessLabel lblfuncname_;
  HeadlessLabel lbldescription_;
  HeadlessTextBox txtParameters_;
  HeadlessGrid grid_;
  HeadlessButton cmdok_;
  HeadlessButton cmdcancel_;
  HeadlessButton cmdhelp_;
};

class HeadlessPromptView : public PromptView, public HeadlessView {
 public:
  explicit HeadlessPromptView(Driver& driver);

  void SetEvents(PromptEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessCombo& ssdcbovalue() override { return ssdcbovalue_; }
  HeadlessCheckBox& ssdchk3dsame() override { return ssdchk3dsame_; }
  HeadlessLabel& lbldesc() override { return lbldesc_; }
  HeadlessLabel& lbltrgfld() override { return lbltrgfld_; }
  HeadlessLabel& lbltemplate() override { return lbltemplate_; }
  HeadlessLabel& lblprompt() override { return lblprompt_; }
  HeadlessButton& cmdok() override { return cmdok_; }
  HeadlessButton& cmdcancel() override { return cmdcancel_; }
  std::vector<Control*> Controls() override;

  // Gestures.
  // "cmdok" or "cmdcancel".
  bool Press(std::string_view name);
  // Opens the drop-down list (ssdcbovalue_DropDown).
  bool DropDown();
  // Types a value into the combo's text.
  bool EnterValue(const std::string& text);
  // Picks row `row` of the drop-down list: the combo's text becomes it.
  bool ChooseItem(int32_t row);
  bool CheckSame(bool checked);

 private:
  HeadlessCombo ssdcbovalue_;
  HeadlessCheckBox ssdchk3dsame_;
  HeadlessLabel lbldesc_;
  HeadlessLabel lbltrgfld_;
  HeadlessLabel lbltemplate_;
  HeadlessLabel lblprompt_;
  HeadlessButton cmdok_;
  HeadlessButton cmdcancel_;
};

class HeadlessInputBoxView : public InputBoxView, public HeadlessView {
 public:
  explicit HeadlessInputBoxView(Driver& driver);

  void SetEvents(InputBoxEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessTextBox& txtinput() override { return txtinput_; }
  HeadlessLabel& lbltext() override { return lbltext_; }
  HeadlessButton& OKButton() override { return OKButton_; }
  HeadlessButton& CancelButton() override { return CancelButton_; }
  std::vector<Control*> Controls() override;

  // Gestures.
  // "OKButton" or "CancelButton".
  bool Press(std::string_view name);
  // Each byte: txtinput_KeyPress, then it is appended to the text box.
  bool TypeInput(const std::string& text);

 private:
  HeadlessTextBox txtinput_;
  HeadlessLabel lbltext_;
  HeadlessButton OKButton_;
  HeadlessButton CancelButton_;
};

}  // namespace kx::ui::headless
