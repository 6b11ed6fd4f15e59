#include "ui/headless/template_views.h"

namespace kx::ui::headless {

namespace {

std::vector<std::string> Column0(const HeadlessGrid& grid) {
  std::vector<std::string> names;
  for (int32_t row = 0; row < grid.Rows(); ++row) names.push_back(grid.CellText(row, 0));
  return names;
}

int32_t RowNamed(const HeadlessGrid& grid, std::string_view name) {
  for (int32_t row = 0; row < grid.Rows(); ++row)
    if (grid.CellText(row, 0) == name) return row;
  throw GestureError(std::string(grid.Name()) + " has no row \"" + std::string(name) + "\"");
}

void NeedRow(const HeadlessGrid& grid, int32_t row) {
  if (row < 0 || row >= grid.Rows())
    throw GestureError(std::string(grid.Name()) + " has no row " + std::to_string(row));
}

class TemplateManagerForward : public TemplateManagerView {
 public:
  explicit TemplateManagerForward(HeadlessTemplateManagerView& view) : v_(view) {}
  ~TemplateManagerForward() override { v_.Release(); }
  void SetEvents(TemplateManagerEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  Label& lblfile() override { return v_.lblfile(); }
  Grid& ssdgridtemplates() override { return v_.ssdgridtemplates(); }
  Label& lblbody() override { return v_.lblbody(); }
  Grid& ssdgridparams() override { return v_.ssdgridparams(); }
  void SetValueChoices(const std::vector<std::string>& choices) override {
    v_.SetValueChoices(choices);
  }
  Button& cmdadd() override { return v_.cmdadd(); }
  Button& cmdedit() override { return v_.cmdedit(); }
  Button& cmdremove() override { return v_.cmdremove(); }
  Button& cmdfile() override { return v_.cmdfile(); }
  Button& cmdapply() override { return v_.cmdapply(); }
  Button& cmdclose() override { return v_.cmdclose(); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessTemplateManagerView& v_;
};

class TemplateEditorForward : public TemplateEditorView {
 public:
  explicit TemplateEditorForward(HeadlessTemplateEditorView& view) : v_(view) {}
  ~TemplateEditorForward() override { v_.Release(); }
  void SetEvents(TemplateEditorEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  TextBox& txtname() override { return v_.txtname(); }
  TextBox& txtdescription() override { return v_.txtdescription(); }
  TextBox& txtbody() override { return v_.txtbody(); }
  Grid& ssdgridparams() override { return v_.ssdgridparams(); }
  void SetValueChoices(const std::vector<std::string>& choices) override {
    v_.SetValueChoices(choices);
  }
  Button& cmdok() override { return v_.cmdok(); }
  Button& cmdcancel() override { return v_.cmdcancel(); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessTemplateEditorView& v_;
};

}  // namespace

std::unique_ptr<TemplateManagerView> TemplateManagerHandle(HeadlessTemplateManagerView& view) {
  return std::make_unique<TemplateManagerForward>(view);
}

std::unique_ptr<TemplateEditorView> TemplateEditorHandle(HeadlessTemplateEditorView& view) {
  return std::make_unique<TemplateEditorForward>(view);
}

// ---- frmtemplate ----

HeadlessTemplateManagerView::HeadlessTemplateManagerView(Driver& driver)
    : HeadlessView("frmtemplate", driver),
      lblfile_("lblfile", &focus_),
      templates_("ssdgridtemplates", &focus_),
      lblbody_("lblbody", &focus_),
      params_("ssdgridparams", &focus_),
      cmdadd_("cmdadd", &focus_),
      cmdedit_("cmdedit", &focus_),
      cmdremove_("cmdremove", &focus_),
      cmdfile_("cmdfile", &focus_),
      cmdapply_("cmdapply", &focus_),
      cmdclose_("cmdclose", &focus_) {}

std::vector<Control*> HeadlessTemplateManagerView::Controls() {
  return {&lblfile_, &templates_, &lblbody_, &params_,   &cmdadd_,
          &cmdedit_, &cmdremove_, &cmdfile_, &cmdapply_, &cmdclose_};
}

std::vector<std::string> HeadlessTemplateManagerView::Names() const {
  return Column0(templates_);
}

bool HeadlessTemplateManagerView::Press(std::string_view name) {
  return PressButton<TemplateManagerEvents>(name,
                                            {{&cmdadd_, &TemplateManagerEvents::cmdadd_Click},
                                             {&cmdedit_, &TemplateManagerEvents::cmdedit_Click},
                                             {&cmdremove_, &TemplateManagerEvents::cmdremove_Click},
                                             {&cmdfile_, &TemplateManagerEvents::cmdfile_Click},
                                             {&cmdapply_, &TemplateManagerEvents::cmdapply_Click},
                                             {&cmdclose_, &TemplateManagerEvents::cmdclose_Click}});
}

bool HeadlessTemplateManagerView::MoveToTemplate(int32_t row) {
  if (!Usable(templates_)) return false;
  NeedRow(templates_, row);
  auto& events = Sink<TemplateManagerEvents>();
  if (row == templates_.CurrentRow()) return true;
  templates_.SetCurrentRow(row);
  events.ssdgridtemplates_RowColChange();
  return true;
}

bool HeadlessTemplateManagerView::ChooseTemplate(std::string_view name) {
  return MoveToTemplate(RowNamed(templates_, name));
}

bool HeadlessTemplateManagerView::DoubleClickTemplate(int32_t row) {
  if (!MoveToTemplate(row)) return false;
  Sink<TemplateManagerEvents>().ssdgridtemplates_DblClick();
  return true;
}

bool HeadlessTemplateManagerView::EditValue(int32_t row, const std::string& text) {
  if (!Usable(params_)) return false;
  NeedRow(params_, row);
  auto& events = Sink<TemplateManagerEvents>();
  params_.SetCurrentRow(row);
  params_.SetCellText(row, 2, text);
  events.ssdgridparams_Change(row, text);
  return true;
}

bool HeadlessTemplateManagerView::EditValue(std::string_view name, const std::string& text) {
  return EditValue(RowNamed(params_, name), text);
}

// ---- frmtempladd ----

HeadlessTemplateEditorView::HeadlessTemplateEditorView(Driver& driver)
    : HeadlessView("frmtempladd", driver),
      txtname_("txtname", &focus_),
      txtdescription_("txtdescription", &focus_),
      txtbody_("txtbody", &focus_),
      params_("ssdgridparams", &focus_),
      cmdok_("cmdok", &focus_),
      cmdcancel_("cmdcancel", &focus_) {}

std::vector<Control*> HeadlessTemplateEditorView::Controls() {
  return {&txtname_, &txtdescription_, &txtbody_, &params_, &cmdok_, &cmdcancel_};
}

std::vector<std::string> HeadlessTemplateEditorView::Names() const {
  return Column0(params_);
}

bool HeadlessTemplateEditorView::Press(std::string_view name) {
  return PressButton<TemplateEditorEvents>(name,
                                           {{&cmdok_, &TemplateEditorEvents::cmdok_Click},
                                            {&cmdcancel_, &TemplateEditorEvents::cmdcancel_Click}});
}

bool HeadlessTemplateEditorView::EnterName(const std::string& text) {
  if (!Usable(txtname_)) return false;
  txtname_.SetText(text);
  return true;
}

bool HeadlessTemplateEditorView::EnterDescription(const std::string& text) {
  if (!Usable(txtdescription_)) return false;
  txtdescription_.SetText(text);
  return true;
}

bool HeadlessTemplateEditorView::TypeBody(const std::string& text) {
  if (!Usable(txtbody_)) return false;
  auto& events = Sink<TemplateEditorEvents>();
  for (char c : text) {
    txtbody_.SetText(txtbody_.Text() + c);
    events.txtbody_Change();
  }
  return true;
}

bool HeadlessTemplateEditorView::ReplaceBody(const std::string& text) {
  if (!Usable(txtbody_)) return false;
  auto& events = Sink<TemplateEditorEvents>();
  txtbody_.SetText(text);
  events.txtbody_Change();
  return true;
}

bool HeadlessTemplateEditorView::EditParameter(int32_t row, int32_t column,
                                               const std::string& text) {
  if (!Usable(params_)) return false;
  NeedRow(params_, row);
  if (column < 1 || column > 2)
    throw GestureError("the user cannot edit column " + std::to_string(column) +
                       " of ssdgridparams");
  auto& events = Sink<TemplateEditorEvents>();
  params_.SetCurrentRow(row);
  params_.SetCellText(row, column, text);
  events.ssdgridparams_Change(row, column, text);
  return true;
}

bool HeadlessTemplateEditorView::EditParameter(std::string_view name, int32_t column,
                                               const std::string& text) {
  return EditParameter(RowNamed(params_, name), column, text);
}

}  // namespace kx::ui::headless
