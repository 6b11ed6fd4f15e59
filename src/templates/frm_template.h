#pragma once
// frmtemplate: the template manager. It lists the templates of one template file with their
// descriptions, adds, edits (through frmtempladd) and removes them, opens another file,
// shows the chosen template's parameters with a value for each, and applies the chosen
// template through its caller.
//
// Every change of the set is saved at once: the file is rewritten atomically, and when that
// fails the set goes back to what it was, so the dialog and the file never disagree and
// closing it has nothing left to save.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "templates/frm_templadd.h"
#include "templates/templates.h"
#include "ui/services.h"
#include "ui/template_views.h"

namespace kx {

inline constexpr std::string_view kTemplateManagerCaption = "Expression Templates";
inline constexpr std::string_view kTemplateFileFilter =
    "Template Files (*.tpl)|*.tpl|All Files (*.*)|*.*";
inline constexpr std::string_view kTemplateFileTitle = "Open Template file";

// The manager's labels of the markers a value may be, then "Use Default Value".
std::vector<std::string> ManagerValueChoices();

class frmtemplate : public ui::TemplateManagerEvents {
 public:
  // Applies the chosen template; returns true when it was applied, which closes the
  // manager. It reports its own refusals.
  using ApplyTemplate = std::function<bool(const ExprTemplateRef& chosen)>;

  frmtemplate(TemplateDialogContext context, ApplyTemplate apply);
  ~frmtemplate() override;

  // Loads `file`, makes the template called `name` (case ignored) the chosen one, or else
  // the first, and shows the manager modally until it is closed or a template applied.
  void Show(const std::string& file, const std::string& name);
  ui::TemplateManagerView& View() { return *view_; }
  ExprTemplates& Templates() { return set_; }
  // The chosen template, null when the list is empty.
  ExprTemplateRef Chosen() const;
  // The template the last Show ended by applying; null when it was closed instead.
  const ExprTemplateRef& Applied() const { return applied_; }

  // ui::TemplateManagerEvents
  void Form_Activate() override {}
  void Form_Resize() override {}
  bool Form_QueryUnload(int /*unload_mode*/) override { return false; }
  void Form_Unload() override {}
  void ssdgridtemplates_RowColChange() override;
  void ssdgridtemplates_DblClick() override;
  void ssdgridparams_Change(int32_t row, const std::string& text) override;
  void cmdadd_Click() override;
  void cmdedit_Click() override;
  void cmdremove_Click() override;
  void cmdfile_Click() override;
  void cmdapply_Click() override;
  void cmdclose_Click() override;

 private:
  ui::MessageBoxService& Box() { return *context_.services.message_box; }
  void Form_Load();
  void Load(const std::string& file, const std::string& name);
  // Fills the list and chooses `name` (ignoring case), else the first.
  void ShowTemplates(const std::string& name);
  void ShowChosen();
  // False, after saying why, when the set may not be changed.
  bool MayChange();
  // Makes a change of the set and saves it; puts the set back when the save fails.
  void Commit(const std::function<void()>& change, const std::string& choose);

  TemplateDialogContext context_;
  ApplyTemplate apply_;
  std::unique_ptr<ui::TemplateManagerView> view_;
  std::unique_ptr<frmtempladd> editor_;
  ExprTemplates set_;
  bool loaded_ok_ = true;
  ExprTemplateRef applied_;
};

}  // namespace kx
