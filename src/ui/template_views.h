#pragma once
// The views of the two template dialogs: the template manager (frmtemplate) and the
// template editor (frmtempladd). As with the other windows, the presenter reads and writes
// the controls by name and the view only shows them and reports the user's gestures.

#include <string>
#include <vector>

#include "ui/controls.h"
#include "ui/grid.h"

namespace kx::ui {

// frmtemplate: the templates of one file, the chosen one's parameters and their values.
class TemplateManagerEvents : public WindowEvents {
 public:
  // The user moved to another row of the template list.
  virtual void ssdgridtemplates_RowColChange() = 0;
  virtual void ssdgridtemplates_DblClick() = 0;
  // The user changed the value cell (column 2) of parameter row `row` to `text`: typed,
  // or picked from the value choices.
  virtual void ssdgridparams_Change(int32_t row, const std::string& text) = 0;
  virtual void cmdadd_Click() = 0;
  virtual void cmdedit_Click() = 0;
  virtual void cmdremove_Click() = 0;
  virtual void cmdfile_Click() = 0;
  virtual void cmdapply_Click() = 0;
  virtual void cmdclose_Click() = 0;
};

class TemplateManagerView {
 public:
  virtual ~TemplateManagerView() = default;
  virtual void SetEvents(TemplateManagerEvents* events) = 0;
  virtual Window& Form() = 0;
  // The template file's path.
  virtual Label& lblfile() = 0;
  // Two columns: name, description. The user only moves in it.
  virtual Grid& ssdgridtemplates() = 0;
  // The chosen template's body, as text.
  virtual Label& lblbody() = 0;
  // Three columns: name, description, value; only the value column is the user's.
  virtual Grid& ssdgridparams() = 0;
  // What the value column's drop-down offers; the user may type other text as well.
  virtual void SetValueChoices(const std::vector<std::string>& choices) = 0;
  virtual Button& cmdadd() = 0;
  virtual Button& cmdedit() = 0;
  virtual Button& cmdremove() = 0;
  virtual Button& cmdfile() = 0;
  virtual Button& cmdapply() = 0;
  virtual Button& cmdclose() = 0;
  virtual std::vector<Control*> Controls() = 0;
};

// frmtempladd: name, description, body and parameters of one template.
class TemplateEditorEvents : public WindowEvents {
 public:
  // The body's text changed (each keystroke).
  virtual void txtbody_Change() = 0;
  // The user changed cell (`row`, `column`) of the parameter grid to `text`: column 1 is
  // the description, column 2 the default value (typed or picked from the choices).
  virtual void ssdgridparams_Change(int32_t row, int32_t column, const std::string& text) = 0;
  virtual void cmdok_Click() = 0;
  virtual void cmdcancel_Click() = 0;
};

class TemplateEditorView {
 public:
  virtual ~TemplateEditorView() = default;
  virtual void SetEvents(TemplateEditorEvents* events) = 0;
  virtual Window& Form() = 0;
  virtual TextBox& txtname() = 0;
  // Several lines; line breaks are CR LF in Text and SetText.
  virtual TextBox& txtdescription() = 0;
  virtual TextBox& txtbody() = 0;
  // Three columns: name (not the user's), description, default value.
  virtual Grid& ssdgridparams() = 0;
  // What the default column's drop-down offers; the user may type other text as well.
  virtual void SetValueChoices(const std::vector<std::string>& choices) = 0;
  virtual Button& cmdok() = 0;
  virtual Button& cmdcancel() = 0;
  virtual std::vector<Control*> Controls() = 0;
};

}  // namespace kx::ui
