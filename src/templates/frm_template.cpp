#include "templates/frm_template.h"

#include "runtime/error.h"
#include "runtime/format.h"
#include "runtime/text.h"
#include "templates/template_apply.h"
#include "ui/general_font.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr int32_t kDescriptionColumn = 1;
constexpr int32_t kValueColumn = 2;
constexpr std::string_view kTemplateInvalid = "Template invalid or incomplete.";

// The platform's open-file flags: the file may be new (an empty set is saved there).
constexpr int32_t kOfnHideReadOnly = 0x4;
constexpr int32_t kOfnPathMustExist = 0x800;

constexpr std::string_view kManagerMarkers[] = {kMarkerCurrentContents, kMarkerFirstField,
                                                kMarkerHighlighted, kMarkerPrompt};

std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find_first_of("\r\n"));
}

}  // namespace

std::vector<std::string> ManagerValueChoices() {
  std::vector<std::string> choices;
  for (std::string_view marker : kManagerMarkers) choices.push_back(ManagerValueLabel(marker));
  choices.emplace_back(kUseDefaultValue);
  return choices;
}

frmtemplate::frmtemplate(TemplateDialogContext context, ApplyTemplate apply)
    : context_(std::move(context)), apply_(std::move(apply)) {
  set_.ProductName(context_.product_name);
}

frmtemplate::~frmtemplate() {
  if (view_) view_->SetEvents(nullptr);
}

void frmtemplate::Show(const std::string& file, const std::string& name) {
  applied_ = nullptr;
  if (!view_) {
    if (context_.services.dialogs == nullptr) Raise(kErrObjectNotSet);
    view_ = context_.services.dialogs->NewTemplateManagerView();
    view_->SetEvents(this);
  }
  Form_Load();
  Load(file, name);
  view_->Form().Show(true);
}

void frmtemplate::Form_Load() {
  ui::TemplateManagerView& view = *view_;
  view.Form().SetCaption(std::string(kTemplateManagerCaption));
  view.cmdadd().SetCaption("&Add...");
  view.cmdedit().SetCaption("&Edit...");
  view.cmdremove().SetCaption("&Remove");
  view.cmdfile().SetCaption("Template &File...");
  view.cmdapply().SetCaption("A&pply");
  view.cmdclose().SetCaption("&Close");
  view.ssdgridtemplates().SetColumns(2);
  view.ssdgridparams().SetColumns(3);
  view.SetValueChoices(ManagerValueChoices());
  if (!context_.font_name.empty()) ui::ApplyGeneralFont(view.Controls(), context_.font_name);
}

void frmtemplate::Load(const std::string& file, const std::string& name) {
  // The reader's own messages go where this dialog's go.
  ui::ScopedMessageBox messages(Box());
  loaded_ok_ = set_.LoadFrom(file);
  view_->lblfile().SetCaption(file);
  ShowTemplates(name);
}

ExprTemplateRef frmtemplate::Chosen() const {
  if (!view_) return nullptr;
  const int32_t row = view_->ssdgridtemplates().CurrentRow();
  if (row < 0 || row >= set_.Count()) return nullptr;
  return set_.Item(static_cast<int16_t>(row + 1));
}

void frmtemplate::ShowTemplates(const std::string& name) {
  ui::Grid& grid = view_->ssdgridtemplates();
  grid.SetRedraw(false);
  grid.RemoveAll();
  // Names in a set differ in more than case, so at most one row matches.
  int32_t chosen = set_.Count() > 0 ? 0 : -1;
  int32_t row = 0;
  for (const ExprTemplateRef& t : set_) {
    grid.AddRow(t->Name());
    grid.SetCellText(row, kDescriptionColumn, FirstLine(t->Description()));
    if (!name.empty() && EqualsIgnoreCase(t->Name(), name)) chosen = row;
    ++row;
  }
  grid.SetCurrentRow(chosen);
  grid.SetRedraw(true);
  ShowChosen();
}

void frmtemplate::ShowChosen() {
  ui::TemplateManagerView& view = *view_;
  ExprTemplateRef chosen = Chosen();
  view.lblbody().SetCaption(chosen ? chosen->Body() : std::string());
  ui::Grid& grid = view.ssdgridparams();
  grid.SetRedraw(false);
  grid.RemoveAll();
  if (chosen)
    for (int32_t i = 1; i <= chosen->Parameters().Count(); ++i) {
      const ExprParameter& p = *chosen->Parameters().Item(i);
      grid.AddRow(p.Name());
      grid.SetCellText(i - 1, kDescriptionColumn, p.Description());
      grid.SetCellText(i - 1, kValueColumn, ManagerValueLabel(p.Value()));
    }
  grid.SetRedraw(true);
  view.cmdedit().SetEnabled(chosen != nullptr);
  view.cmdremove().SetEnabled(chosen != nullptr);
  view.cmdapply().SetEnabled(chosen != nullptr);
}

void frmtemplate::ssdgridtemplates_RowColChange() {
  Guarded(Box(), "ssdgridtemplates_RowColChange(frmtemplate)", [&] { ShowChosen(); });
}

void frmtemplate::ssdgridtemplates_DblClick() {
  cmdedit_Click();
}

void frmtemplate::ssdgridparams_Change(int32_t row, const std::string& text) {
  Guarded(Box(), "ssdgridparams_Change(frmtemplate)", [&] {
    ExprTemplateRef chosen = Chosen();
    if (!chosen || row < 0 || row >= chosen->ParameterCount()) return;
    ExprParameter& p = *chosen->ParameterbyIndex(static_cast<int16_t>(row + 1));
    std::string value = text;
    if (text == kUseDefaultValue) {
      value = p.DefaultValue();
    } else {
      for (std::string_view marker : kManagerMarkers)
        if (text == ManagerValueLabel(marker)) value = std::string(marker);
    }
    const std::string token = "<<" + p.Name() + ">>";
    if (value.find(token) != std::string::npos)
      Box().Show(SelfReferenceMessage(token), ui::kMbOk | ui::kMbExclamation,
                 context_.product_name);
    else
      p.Value(std::move(value));
    view_->ssdgridparams().SetCellText(row, kValueColumn, ManagerValueLabel(p.Value()));
  });
}

bool frmtemplate::MayChange() {
  std::string why;
  if (set_.filename().empty())
    why = "There is no template file to keep templates in. Choose one with Template File.";
  else if (!loaded_ok_)
    why = FormatMessageText(
        "The template file %1 could not be read completely, so it is not changed here. "
        "Choose another file or mend this one.",
        {set_.filename()});
  if (why.empty()) return true;
  Box().Show(why, ui::kMbOk | ui::kMbExclamation, context_.product_name);
  return false;
}

void frmtemplate::Commit(const std::function<void()>& change, const std::string& choose) {
  ExprTemplateRef before_chosen = Chosen();
  const std::vector<ExprTemplateRef> before = set_.NewEnum();
  change();
  set_.TemplateFileModified(true);
  try {
    set_.WriteToFile();
  } catch (...) {
    Error error = CurrentError();
    while (set_.Count() > 0) set_.Delete(int16_t{1});
    for (const ExprTemplateRef& t : before) set_.Add(t);
    set_.TemplateFileModified(false);
    ShowTemplates(before_chosen ? before_chosen->Name() : std::string());
    Box().Show(FormatMessageText("The templates could not be saved to %1 (%2). The file and "
                                 "the list are as they were before.",
                                 {set_.filename(), error.Description()}),
               ui::kMbOk | ui::kMbExclamation, context_.product_name);
    return;
  }
  set_.TemplateFileModified(false);
  ShowTemplates(choose);
}

void frmtemplate::cmdadd_Click() {
  Guarded(Box(), "cmdadd_Click(frmtemplate)", [&] {
    if (!MayChange()) return;
    if (!editor_) editor_ = std::make_unique<frmtempladd>(context_);
    ExprTemplateRef made = editor_->Edit(nullptr, set_);
    if (!made) return;
    Commit([&] { set_.Add(made); }, made->Name());
  });
}

void frmtemplate::cmdedit_Click() {
  Guarded(Box(), "cmdedit_Click(frmtemplate)", [&] {
    ExprTemplateRef chosen = Chosen();
    if (!chosen || !MayChange()) return;
    if (!editor_) editor_ = std::make_unique<frmtempladd>(context_);
    ExprTemplateRef made = editor_->Edit(chosen.get(), set_);
    if (!made) return;
    // The edited template takes the old one's place in the list.
    const int16_t position = static_cast<int16_t>(view_->ssdgridtemplates().CurrentRow() + 1);
    Commit(
        [&] {
          std::vector<ExprTemplateRef> all = set_.NewEnum();
          while (set_.Count() >= position) set_.Delete(position);
          set_.Add(made);
          for (size_t i = static_cast<size_t>(position); i < all.size(); ++i) set_.Add(all[i]);
        },
        made->Name());
  });
}

void frmtemplate::cmdremove_Click() {
  Guarded(Box(), "cmdremove_Click(frmtemplate)", [&] {
    ExprTemplateRef chosen = Chosen();
    if (!chosen || !MayChange()) return;
    const std::string question =
        FormatMessageText("Remove the template \"%1\" from %2?", {chosen->Name(), set_.filename()});
    if (Box().Show(question, ui::kMbYesNo | ui::kMbQuestion, context_.product_name) !=
        ui::kAnswerYes)
      return;
    const int32_t row = view_->ssdgridtemplates().CurrentRow();
    // The one after it is chosen next, or the one before when it was the last.
    ExprTemplateRef next = set_.Item(static_cast<int16_t>(row + 2));
    if (!next && row > 0) next = set_.Item(static_cast<int16_t>(row));
    Commit([&] { set_.Delete(static_cast<int16_t>(row + 1)); },
           next ? next->Name() : std::string());
  });
}

void frmtemplate::cmdfile_Click() {
  Guarded(Box(), "cmdfile_Click(frmtemplate)", [&] {
    ui::FileDialogRequest request{std::string(kTemplateFileFilter), std::string(kTemplateFileTitle),
                                  kOfnHideReadOnly | kOfnPathMustExist};
    std::optional<std::string> file = context_.services.file_dialog->ShowOpen(request);
    if (!file) return;
    Load(*file, "");
  });
}

void frmtemplate::cmdapply_Click() {
  Guarded(Box(), "cmdapply_Click(frmtemplate)", [&] {
    ExprTemplateRef chosen = Chosen();
    if (!chosen || chosen->Name().empty()) {
      Box().Show(std::string(kTemplateInvalid), ui::kMbOk, "");
      return;
    }
    if (!apply_ || !apply_(chosen)) return;
    applied_ = chosen;
    view_->Form().Unload();
  });
}

void frmtemplate::cmdclose_Click() {
  Guarded(Box(), "cmdclose_Click(frmtemplate)", [&] { view_->Form().Unload(); });
}

}  // namespace kx
