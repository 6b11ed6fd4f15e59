#pragma once
// frmFunction: the function argument dialog's presenter. It describes one function or
// construct, lets the user fill in its arguments in ssdgridargs and composes the call or
// snippet on OK. One method per event; each handler's error location comes first.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "component/kx_expression_builder.h"
#include "functions/function_info.h"
#include "ui/services.h"
#include "ui/views.h"

namespace kx {

// The key that would take the argument grid's cell out of the value column: Tab. The
// presenter puts the cell back into the value column, so the names are never edited.
inline constexpr int kArgumentGridKey = 9;

class frmFunction : public ui::FunctionEvents {
 public:
  // `builder` (not owned) gives the font and the host library's path; `library_base`
  // resolves relative and drive paths of that library.
  frmFunction(ui::Services services, const KXExpressionBuilder& builder,
              std::filesystem::path library_base = {});
  ~frmFunction() override;

  // What the opener sets before Load: the name to build (as the token grid shows it), the
  // help file and the help topic for functions the catalogue does not know (constructs
  // bring their own topic).
  void SetFunctionName(const std::string& name) { info_.Name = name; }
  void SetHelpFile(const std::string& help_file) { help_file_ = help_file; }
  void SetHelpContextID(int32_t topic) { info_.HelpContextID = topic; }

  // Creates the view and runs Form_Load. Show runs the dialog modally: it returns once the
  // dialog is hidden (OK, Cancel, close box). Unload ends the dialog's life.
  void Load();
  bool IsLoaded() const { return loaded_; }
  void Show();
  void Unload();
  ui::FunctionView& View() { return *view_; }

  // The composed text after OK; empty after Cancel or the close box.
  const std::string& Result() const { return result_; }
  void SetResult(const std::string& text) { result_ = text; }
  // The record the dialog edits (argument values live in each entry's Default).
  const FunctionInfo& Info() const { return info_; }

  void Form_Load();
  void InitFormControls();
  void DisplayFunctionInfo();
  void SetHelpFileIDs(int32_t help_id);
  // Pushes the rows of the argument grid (name, current value).
  void UnboundReadData();

  // ui::FunctionEvents
  void Form_Activate() override;
  void Form_Resize() override {}
  bool Form_QueryUnload(int unload_mode) override;
  void Form_Unload() override;
  void cmdok_Click() override;
  void cmdcancel_Click() override;
  void cmdhelp_Click() override;
  void ssdgridargs_Change(const std::string& text) override;
  void ssdgridargs_KeyDown(int key_code) override;
  void ssdgridargs_RowColChange() override;

 private:
  ui::MessageBoxService& Box() { return *services_.message_box; }

  ui::Services services_;
  const KXExpressionBuilder& builder_;
  std::filesystem::path library_base_;
  std::unique_ptr<ui::FunctionView> view_;
  FunctionInfo info_;
  std::string result_;
  std::string help_file_;
  std::string parameters_;  // the description after its first ";"
  bool loaded_ = false;
  bool first_activation_ = false;
};

// The name the function-builder gesture hands over: its text is "[" + name + "]" followed
// by the syntax, and the name is what stands between the first "[" and the next "]". A
// text that does not begin with "[" is taken as the name itself, trimmed.
std::string FunctionNameFromBuilderText(const std::string& text);

// Opens the function argument dialog modally for the name in `text` (see above) with
// `help_file`, and returns what it composed: empty when the user cancelled or when the
// dialog failed (failures are reported as "LoadFunctionBuilder(expressn)"). An unanswered
// dialog (headless) is not a failure: ui::Unanswered goes through.
std::string LoadFunctionBuilder(const ui::Services& services, const KXExpressionBuilder& builder,
                                const std::string& text, const std::string& help_file,
                                const std::filesystem::path& library_base = {});

}  // namespace kx
