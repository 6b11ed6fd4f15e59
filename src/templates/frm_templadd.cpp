#include "templates/frm_templadd.h"

#include "runtime/error.h"
#include "runtime/format.h"
#include "runtime/text.h"
#include "templates/template_apply.h"
#include "ui/general_font.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr std::string_view kMarkers[] = {kMarkerCurrentContents, kMarkerFirstField,
                                         kMarkerHighlighted, kMarkerPrompt};

constexpr int32_t kDescriptionColumn = 1;
constexpr int32_t kDefaultColumn = 2;

// Lines that would end a block of the template file early when read back.
bool HasLine(const std::string& text, std::string_view line) {
  for (const std::string& each : Split(text, "\r\n"))
    if (Trim(each) == line) return true;
  return false;
}

}  // namespace

std::vector<std::string> EditorValueChoices() {
  std::vector<std::string> choices;
  for (std::string_view marker : kMarkers) choices.push_back(EditorValueLabel(marker));
  return choices;
}

std::string EditorValueOf(const std::string& text) {
  for (std::string_view marker : kMarkers)
    if (text == EditorValueLabel(marker)) return std::string(marker);
  return text;
}

std::vector<std::string> ParameterNamesSoFar(const std::string& body) {
  std::string scanned = body;
  while (!ParameterScanEnds(scanned)) scanned.resize(scanned.rfind("<<"));
  ExprTemplate probe;
  probe.Body(std::move(scanned));
  try {
    probe.ExtractandAddParams();
  } catch (const Error&) {
    // A case clash: the names before it still stand.
  }
  std::vector<std::string> names;
  for (int32_t i = 1; i <= probe.Parameters().Count(); ++i)
    names.push_back(probe.Parameters().Item(i)->Name());
  return names;
}

frmtempladd::frmtempladd(TemplateDialogContext context) : context_(std::move(context)) {}

frmtempladd::~frmtempladd() {
  if (view_) view_->SetEvents(nullptr);
}

ExprTemplateRef frmtempladd::Edit(const ExprTemplate* source, const ExprTemplates& set) {
  source_ = source;
  set_ = &set;
  result_ = nullptr;
  names_.clear();
  entries_.clear();
  if (!view_) {
    if (context_.services.dialogs == nullptr) Raise(kErrObjectNotSet);
    view_ = context_.services.dialogs->NewTemplateEditorView();
    view_->SetEvents(this);
  }
  Form_Load();
  view_->Form().Show(true);
  ExprTemplateRef result = std::move(result_);
  result_ = nullptr;
  return result;
}

void frmtempladd::Form_Load() {
  ui::TemplateEditorView& view = *view_;
  view.Form().SetCaption(std::string(kTemplateEditorCaption));
  view.cmdok().SetCaption("OK");
  view.cmdcancel().SetCaption("Cancel");
  view.ssdgridparams().SetColumns(3);
  view.SetValueChoices(EditorValueChoices());
  view.txtname().SetText(source_ ? source_->Name() : std::string());
  view.txtdescription().SetText(source_ ? source_->Description() : std::string());
  view.txtbody().SetText(source_ ? source_->Body() : std::string());
  if (source_)
    for (int32_t i = 1; i <= source_->Parameters().Count(); ++i) {
      const ExprParameter& p = *source_->Parameters().Item(i);
      entries_[p.Name()] = {p.Description(), p.DefaultValue()};
    }
  if (!context_.font_name.empty()) ui::ApplyGeneralFont(view.Controls(), context_.font_name);
  ShowParameters();
}

void frmtempladd::ShowParameters() {
  names_ = ParameterNamesSoFar(view_->txtbody().Text());
  ui::Grid& grid = view_->ssdgridparams();
  grid.SetRedraw(false);
  grid.RemoveAll();
  for (size_t i = 0; i < names_.size(); ++i) {
    const int32_t row = static_cast<int32_t>(i);
    const Entry& entry = entries_[names_[i]];
    grid.AddRow(names_[i]);
    grid.SetCellText(row, kDescriptionColumn, entry.description);
    grid.SetCellText(row, kDefaultColumn, EditorValueLabel(entry.default_value));
  }
  grid.SetRedraw(true);
}

void frmtempladd::txtbody_Change() {
  Guarded(Box(), "txtbody_Change(frmtempladd)", [&] {
    if (ParameterNamesSoFar(view_->txtbody().Text()) != names_) ShowParameters();
  });
}

void frmtempladd::ssdgridparams_Change(int32_t row, int32_t column, const std::string& text) {
  Guarded(Box(), "ssdgridparams_Change(frmtempladd)", [&] {
    if (row < 0 || row >= static_cast<int32_t>(names_.size())) return;
    Entry& entry = entries_[names_[static_cast<size_t>(row)]];
    if (column == kDescriptionColumn) {
      entry.description = text;
    } else if (column == kDefaultColumn) {
      entry.default_value = EditorValueOf(text);
      view_->ssdgridparams().SetCellText(row, column, EditorValueLabel(entry.default_value));
    }
  });
}

std::string frmtempladd::Refusal() {
  ui::TemplateEditorView& view = *view_;
  const std::string name(Trim(view.txtname().Text()));
  if (name.empty()) return "Enter a name for the template.";
  for (const ExprTemplateRef& other : *set_)
    if (other.get() != source_ && EqualsIgnoreCase(other->Name(), name))
      return FormatMessageText("A template named \"%1\" already exists. Choose another name.",
                               {other->Name()});
  const std::string body = view.txtbody().Text();
  if (!ParameterScanEnds(body))
    return "The body has a \"<<\" that no \">>\" follows. Close the parameter name or remove "
           "the \"<<\".";
  if (HasLine(body, "@EndBody") || HasLine(view.txtdescription().Text(), "@EndDescription"))
    return "A line that reads only @EndBody or @EndDescription would end its block in the "
           "template file. Change that line.";
  ExprTemplate probe;
  probe.Body(body);
  try {
    probe.ExtractandAddParams();
  } catch (const Error&) {
    return "Two parameters of the body differ only in letter case. Give them names that "
           "differ in more than case.";
  }
  for (const std::string& each : names_) {
    if (each.find_first_of("\r\n") != std::string::npos)
      return FormatMessageText(
          "The parameter name \"%1\" spans lines. Keep each name on one "
          "line.",
          {each});
    const std::string token = "<<" + each + ">>";
    if (entries_[each].default_value.find(token) != std::string::npos)
      return SelfReferenceMessage(token);
  }
  return {};
}

ExprTemplateRef frmtempladd::Build() {
  ui::TemplateEditorView& view = *view_;
  auto made = std::make_shared<ExprTemplate>();
  made->Name(std::string(Trim(view.txtname().Text())));
  made->Description(view.txtdescription().Text());
  made->Body(view.txtbody().Text());
  made->ExtractandAddParams();
  for (int32_t i = 1; i <= made->Parameters().Count(); ++i) {
    ExprParameter& p = *made->Parameters().Item(i);
    const Entry& entry = entries_[p.Name()];
    p.Description(entry.description);
    p.DefaultValue(entry.default_value);
    p.Value(entry.default_value);
  }
  return made;
}

void frmtempladd::cmdok_Click() {
  Guarded(Box(), "cmdok_Click(frmtempladd)", [&] {
    // The grid must name what the body names now, whatever the view reported.
    ShowParameters();
    std::string refusal = Refusal();
    if (!refusal.empty()) {
      Box().Show(refusal, ui::kMbOk | ui::kMbExclamation, context_.product_name);
      return;
    }
    result_ = Build();
    view_->Form().Unload();
  });
}

void frmtempladd::cmdcancel_Click() {
  Guarded(Box(), "cmdcancel_Click(frmtempladd)", [&] {
    result_ = nullptr;
    view_->Form().Unload();
  });
}

}  // namespace kx
