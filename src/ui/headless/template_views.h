#pragma once
// Headless views of the template manager (frmtemplate) and the template editor
// (frmtempladd), with the user's gestures on them, in the manner of views.h.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/headless/controls.h"
#include "ui/headless/views.h"
#include "ui/template_views.h"

namespace kx::ui::headless {

class HeadlessTemplateManagerView : public TemplateManagerView, public HeadlessView {
 public:
  explicit HeadlessTemplateManagerView(Driver& driver);

  void SetEvents(TemplateManagerEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessLabel& lblfile() override { return lblfile_; }
  HeadlessGrid& ssdgridtemplates() override { return templates_; }
  HeadlessLabel& lblbody() override { return lblbody_; }
  HeadlessGrid& ssdgridparams() override { return params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override { choices_ = choices; }
  HeadlessButton& cmdadd() override { return cmdadd_; }
  HeadlessButton& cmdedit() override { return cmdedit_; }
  HeadlessButton& cmdremove() override { return cmdremove_; }
  HeadlessButton& cmdfile() override { return cmdfile_; }
  HeadlessButton& cmdapply() override { return cmdapply_; }
  HeadlessButton& cmdclose() override { return cmdclose_; }
  std::vector<Control*> Controls() override;

  const std::vector<std::string>& ValueChoices() const { return choices_; }
  // The template names listed, in order.
  std::vector<std::string> Names() const;

  // Gestures.
  // "cmdadd", "cmdedit", "cmdremove", "cmdfile", "cmdapply" or "cmdclose".
  bool Press(std::string_view name);
  // Makes row `row` of the template list current (ssdgridtemplates_RowColChange).
  bool MoveToTemplate(int32_t row);
  // The row listing exactly `name`; GestureError when none does.
  bool ChooseTemplate(std::string_view name);
  // Moves to the row, then ssdgridtemplates_DblClick.
  bool DoubleClickTemplate(int32_t row);
  // The value cell of parameter row `row` takes `text` (typed, or one of the choices
  // picked), then ssdgridparams_Change.
  bool EditValue(int32_t row, const std::string& text);
  // The same for the row of the parameter named exactly `name`.
  bool EditValue(std::string_view name, const std::string& text);

 private:
  HeadlessLabel lblfile_;
  HeadlessGrid templates_;
  HeadlessLabel lblbody_;
  HeadlessGrid params_;
  HeadlessButton cmdadd_;
  HeadlessButton cmdedit_;
  HeadlessButton cmdremove_;
  HeadlessButton cmdfile_;
  HeadlessButton cmdapply_;
  HeadlessButton cmdclose_;
  std::vector<std::string> choices_;
};

class HeadlessTemplateEditorView : public TemplateEditorView, public HeadlessView {
 public:
  explicit HeadlessTemplateEditorView(Driver& driver);

  void SetEvents(TemplateEditorEvents* events) override { window_.SetWindowEvents(events); }
  HeadlessWindow& Form() override { return window_; }
  HeadlessTextBox& txtname() override { return txtname_; }
  HeadlessTextBox& txtdescription() override { return txtdescription_; }
  HeadlessTextBox& txtbody() override { return txtbody_; }
  HeadlessGrid& ssdgridparams() override { return params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override { choices_ = choices; }
  HeadlessButton& cmdok() override { return cmdok_; }
  HeadlessButton& cmdcancel() override { return cmdcancel_; }
  std::vector<Control*> Controls() override;

  const std::vector<std::string>& ValueChoices() const { return choices_; }
  // The parameter names listed, in order.
  std::vector<std::string> Names() const;

  // Gestures.
  // "cmdok" or "cmdcancel".
  bool Press(std::string_view name);
  // The name or description box takes `text` in place of what it held.
  bool EnterName(const std::string& text);
  bool EnterDescription(const std::string& text);
  // Keystrokes at the end of the body: each byte is appended, then txtbody_Change.
  bool TypeBody(const std::string& text);
  // The body is replaced at once (select all, paste): one txtbody_Change.
  bool ReplaceBody(const std::string& text);
  // Cell (`row`, `column`) of the parameter grid takes `text`, then ssdgridparams_Change.
  // Column 0 is not the user's: GestureError.
  bool EditParameter(int32_t row, int32_t column, const std::string& text);
  // The same for the row of the parameter named exactly `name`.
  bool EditParameter(std::string_view name, int32_t column, const std::string& text);

 private:
  HeadlessTextBox txtname_;
  HeadlessTextBox txtdescription_;
  HeadlessTextBox txtbody_;
  HeadlessGrid params_;
  HeadlessButton cmdok_;
  HeadlessButton cmdcancel_;
  std::vector<std::string> choices_;
};

// The handles the factory gives presenters: they forward to the view and release it when
// the presenter lets go.
std::unique_ptr<TemplateManagerView> TemplateManagerHandle(HeadlessTemplateManagerView& view);
std::unique_ptr<TemplateEditorView> TemplateEditorHandle(HeadlessTemplateEditorView& view);

}  // namespace kx::ui::headless
