#include "functions/frm_function.h"

#include <algorithm>

#include "functions/compose.h"
#include "functions/tlb_browse.h"
#include "runtime/error.h"
#include "runtime/text.h"
#include "ui/general_font.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr int32_t kValueColumn = 1;

}  // namespace

frmFunction::frmFunction(ui::Services services, const KXExpressionBuilder& builder,
                         std::filesystem::path library_base)
    : services_(services), builder_(builder), library_base_(std::move(library_base)) {}

frmFunction::~frmFunction() = default;

void frmFunction::Load() {
  if (loaded_) return;
  if (!view_) {
    if (services_.dialogs == nullptr) Raise(kErrObjectNotSet);
    view_ = services_.dialogs->NewFunctionView();
    view_->SetEvents(this);
  }
  loaded_ = true;
  Form_Load();
}

void frmFunction::Show() {
  Load();
  view_->Form().Show(true);
}

void frmFunction::Unload() {
  if (loaded_) view_->Form().Unload();
}

void frmFunction::Form_Load() {
  Guarded(Box(), "Form_Load(function)", [&] {
    first_activation_ = true;
    if (std::shared_ptr<FontDesc> font = builder_.Font())
      ui::ApplyGeneralFont(view_->Controls(), font->Name);
    InitFormControls();
    SetHelpFileIDs(info_.HelpContextID);
  });
}

void frmFunction::InitFormControls() {
  Guarded(Box(), "InitFormControls(function)", [&] {
    ui::Grid& grid = view_->ssdgridargs();
    grid.SetColumns(2);
    grid.SetColumnWidth(0, view_->TextWidth("strConversionName"));
    grid.SetColumnWidth(kValueColumn, view_->TextWidth("AAAAA"));
    grid.RemoveAll();
  });
}

void frmFunction::SetHelpFileIDs(int32_t help_id) {
  view_->cmdok().SetHelpContextID(help_id);
  view_->cmdhelp().SetHelpContextID(help_id);
  view_->cmdcancel().SetHelpContextID(help_id);
}

void frmFunction::Form_Activate() {
  Guarded(Box(), "Form_Activate(function)", [&] {
    if (!first_activation_) return;
    first_activation_ = false;
    {
      // The lookups report through the process's service; here they belong to the dialog.
      ui::ScopedMessageBox own_box(Box());
      if (IsConstructName(info_.Name))
        GetFunctionInfo(info_);
      else
        GetKXFunctionInfoTL(info_, builder_.KXTypeLibPath(), library_base_);
    }
    DisplayFunctionInfo();
    // A construct brings its own help topic; F1 on the buttons should follow it.
    SetHelpFileIDs(info_.HelpContextID);
    ui::Grid& grid = view_->ssdgridargs();
    if (grid.Rows() > 0) grid.SetCurrentRow(0);
    grid.SetCurrentColumn(kValueColumn);
  });
}

void frmFunction::DisplayFunctionInfo() {
  Guarded(Box(), "DisplayFunctionInfo(function)", [&] {
    view_->lblfuncname().SetCaption(AdjustFunctionName(info_.Name));
    DescriptionParts parts = SplitDescription(info_.Description);
    view_->lbldescription().SetCaption(parts.description);
    parameters_ = parts.parameters;
    view_->txtParameters().SetText(parameters_);
    UnboundReadData();
    ui::Grid& grid = view_->ssdgridargs();
    if (grid.Rows() > 0) grid.SetCurrentRow(0);
  });
}

void frmFunction::UnboundReadData() {
  Guarded(Box(), "UnboundReadData(function)", [&] {
    ui::Grid& grid = view_->ssdgridargs();
    const int32_t count = info_.ArgumentCount;
    const int32_t shown = std::clamp<int32_t>(count, 0, kMaxArguments);
    grid.SetRedraw(false);
    grid.RemoveAll();
    for (int32_t row = 0; row < shown; ++row) {
      const ArgumentInfo& argument = info_.Arguments[static_cast<size_t>(row)];
      grid.AddRow(argument.Name);
      grid.SetCellText(row, kValueColumn, argument.Default);
    }
    grid.SetRedraw(true);
    if (count > kMaxArguments) Raise(kErrSubscript);
  });
}

bool frmFunction::Form_QueryUnload(int unload_mode) {
  bool cancel = false;
  Guarded(Box(), "Form_QueryUnload(function)", [&] {
    if (unload_mode != ui::kUnloadCloseBox) return;
    // The close box is a Cancel; the dialog stays loaded for its opener to read.
    result_.clear();
    view_->Form().Hide();
    view_->ssdgridargs().Refresh();
    cancel = true;
  });
  return cancel;
}

void frmFunction::Form_Unload() {
  Guarded(Box(), "Form_Unload(function)", [&] {
    loaded_ = false;
    first_activation_ = false;
  });
}

void frmFunction::cmdok_Click() {
  Guarded(Box(), "cmdok_Click(function)", [&] {
    result_ = ComposeFunctionResult(info_);
    view_->Form().Hide();
  });
}

void frmFunction::cmdcancel_Click() {
  Guarded(Box(), "cmdcancel_Click(function)", [&] {
    result_.clear();
    view_->Form().Hide();
  });
}

void frmFunction::cmdhelp_Click() {
  Guarded(Box(), "cmdhelp_Click(function)", [&] {
    if (help_file_.empty()) {
      Box().Show("No help file provided.", ui::kMbOk, "");
      return;
    }
    if (services_.help == nullptr) Raise(kErrObjectNotSet);
    services_.help->ShowContext(help_file_, info_.HelpContextID);
  });
}

void frmFunction::ssdgridargs_Change(const std::string& text) {
  Guarded(Box(), "ssdgridargs_Change(function)", [&] {
    const int32_t row = view_->ssdgridargs().CurrentRow();
    if (row < 0 || row >= kMaxArguments) Raise(kErrSubscript);
    info_.Arguments[static_cast<size_t>(row)].Default = text;
  });
}

void frmFunction::ssdgridargs_KeyDown(int key_code) {
  Guarded(Box(), "ssdgridargs_KeyDown(function)", [&] {
    if (key_code == kArgumentGridKey) view_->ssdgridargs().SetCurrentColumn(kValueColumn);
  });
}

void frmFunction::ssdgridargs_RowColChange() {
  Guarded(Box(), "ssdgridargs_RowColChange(function)", [&] {
    ui::Grid& grid = view_->ssdgridargs();
    const int32_t row = grid.CurrentRow();
    if (row >= 0) grid.ScrollTo(row);
    if (!parameters_.empty()) view_->txtParameters().SetText(ParameterTextForRow(parameters_, row));
  });
}

std::string FunctionNameFromBuilderText(const std::string& text) {
  if (text.empty() || text.front() != '[') return std::string(Trim(text));
  const size_t close = text.find(']', 1);
  return text.substr(1, close == std::string::npos ? std::string::npos : close - 1);
}

std::string LoadFunctionBuilder(const ui::Services& services, const KXExpressionBuilder& builder,
                                const std::string& text, const std::string& help_file,
                                const std::filesystem::path& library_base) {
  std::string result;
  Guarded(*services.message_box, "LoadFunctionBuilder(expressn)", [&] {
    frmFunction dialog(services, builder, library_base);
    dialog.SetFunctionName(FunctionNameFromBuilderText(text));
    dialog.SetHelpFile(help_file);
    dialog.Load();
    dialog.Show();
    result = dialog.Result();
    dialog.Unload();
  });
  return result;
}

}  // namespace kx
