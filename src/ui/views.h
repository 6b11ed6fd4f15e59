#pragma once
// The views of the component's windows: each gives its presenter the window's controls by
// name and takes the presenter's event sink. Controls named for the first time are
// created (buttons, menu items); views lay them out, presenters decide what they show.

#include <string_view>
#include <vector>

#include "ui/controls.h"
#include "ui/editor_control.h"
#include "ui/grid.h"
#include "ui/tree_view.h"

namespace kx::ui {

// frmExprBld, the editor window.
class ExprBldEvents : public WindowEvents {
 public:
  // Any button by control name: "cmdok", "cmdAnd", "cmdFilename" ...
  virtual void ButtonClick(std::string_view name) = 0;
  virtual void MenuClick(std::string_view name) = 0;
  virtual void tbar_ButtonClick(std::string_view key) = 0;
  virtual void TreeView1_NodeClick(std::string_view key) = 0;
  // The grid fires BeforeRowColChange while the old row is current, then moves, then
  // RowColChange.
  virtual void ssdgridtokens_BeforeRowColChange() = 0;
  virtual void ssdgridtokens_RowColChange() = 0;
  virtual void ssdgridtokens_DblClick() = 0;
  // The function-builder gesture on the current row.
  virtual void ssdgridtokens_BuildFunction() = 0;
  // The editor's two notifications of user activity (before a keystroke or click acts).
  virtual void KXEditor1_KeyDown() = 0;
  virtual void KXEditor1_MouseDown() = 0;
};

class ExprBldView {
 public:
  virtual ~ExprBldView() = default;
  virtual void SetEvents(ExprBldEvents* events) = 0;
  virtual Window& Form() = 0;
  virtual EditorControl& KXEditor1() = 0;
  virtual TreeView& TreeView1() = 0;
  virtual Grid& ssdgridtokens() = 0;
  // Index 0: the prototype line, 1: the description.
  virtual Label& txtproto(int index) = 0;
  virtual Label& lblexprerr() = 0;
  virtual Button& Command(std::string_view name) = 0;
  // Menus are defined once (in menu-bar order) and then reached by name; an unknown name
  // raises 35601.
  virtual void AddMenu(const MenuDef& def) = 0;
  virtual MenuItem& Menu(std::string_view name) = 0;
  virtual Toolbar& tbar() = 0;
  virtual Pane& vselbottom() = 0;
  virtual Pane& vselbuttons() = 0;
  // Every control of the window, first to last.
  virtual std::vector<Control*> Controls() = 0;
};

// frmFunction, the function argument dialog.
class FunctionEvents : public WindowEvents {
 public:
  virtual void cmdok_Click() = 0;
  virtual void cmdcancel_Click() = 0;
  virtual void cmdhelp_Click() = 0;
  // The user changed the value cell of the current row.
  virtual void ssdgridargs_Change(const std::string& text) = 0;
  virtual void ssdgridargs_KeyDown(int key_code) = 0;
  virtual void ssdgridargs_RowColChange() = 0;
};

class FunctionView {
 public:
  virtual ~FunctionView() = default;
  virtual void SetEvents(FunctionEvents* events) = 0;
  virtual Window& Form() = 0;
  virtual Label& lblfuncname() = 0;
  virtual Label& lbldescription() = 0;
  virtual TextBox& txtParameters() = 0;
  virtual Grid& ssdgridargs() = 0;
  virtual Button& cmdok() = 0;
  virtual Button& cmdcancel() = 0;
  virtual Button& cmdhelp() = 0;
  // Width of a text in the dialog's font, twips (the grid's columns follow sample texts).
  virtual int32_t TextWidth(const std::string& text) const = 0;
  virtual std::vector<Control*> Controls() = 0;
};

// frmprompt, the value prompt while a template is applied.
class PromptEvents : public WindowEvents {
 public:
  virtual void cmdok_Click() = 0;
  virtual void cmdcancel_Click() = 0;
  virtual void ssdcbovalue_DropDown() = 0;
};

class PromptView {
 public:
  virtual ~PromptView() = default;
  virtual void SetEvents(PromptEvents* events) = 0;
  virtual Window& Form() = 0;
  virtual Combo& ssdcbovalue() = 0;
  virtual CheckBox& ssdchk3dsame() = 0;
  virtual Label& lbldesc() = 0;
  virtual Label& lbltrgfld() = 0;
  virtual Label& lbltemplate() = 0;
  virtual Label& lblprompt() = 0;
  virtual Button& cmdok() = 0;
  virtual Button& cmdcancel() = 0;
  virtual std::vector<Control*> Controls() = 0;
};

// frminputbox, the one-line input box.
class InputBoxEvents : public WindowEvents {
 public:
  virtual void OKButton_Click() = 0;
  virtual void CancelButton_Click() = 0;
  virtual void txtinput_KeyPress(int key_ascii) = 0;
};

class InputBoxView {
 public:
  virtual ~InputBoxView() = default;
  virtual void SetEvents(InputBoxEvents* events) = 0;
  virtual Window& Form() = 0;
  virtual TextBox& txtinput() = 0;
  virtual Label& lbltext() = 0;
  virtual Button& OKButton() = 0;
  virtual Button& CancelButton() = 0;
  virtual std::vector<Control*> Controls() = 0;
};

}  // namespace kx::ui
