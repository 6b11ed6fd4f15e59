#pragma once
// Qt views of the template manager (frmtemplate) and the template editor (frmtempladd).

#include <QPlainTextEdit>

#include <memory>
#include <string>
#include <vector>

#include "qt/controls.h"
#include "qt/item_views.h"
#include "qt/views.h"
#include "ui/template_views.h"

namespace kx::qt {

// A text box of several lines. Line breaks are CR LF to the presenter; what the presenter
// writes is not reported as the user's change.
class QtTextArea : public QtControl<ui::TextBox> {
 public:
  QtTextArea(std::string name, QPlainTextEdit* edit);
  void SetText(const std::string& text) override;
  std::string Text() const override;
  QPlainTextEdit* Widget() const { return static_cast<QPlainTextEdit*>(widget_); }
  bool Writing() const { return writing_ > 0; }

 private:
  int writing_ = 0;
};

class QtTemplateManagerView : public ui::TemplateManagerView, public QtView {
 public:
  QtTemplateManagerView();
  ~QtTemplateManagerView() override;

  void SetEvents(ui::TemplateManagerEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtLabel& lblfile() override { return *lblfile_; }
  QtGrid& ssdgridtemplates() override { return *templates_; }
  QtLabel& lblbody() override { return *lblbody_; }
  QtGrid& ssdgridparams() override { return *params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override;
  QtButton& cmdadd() override { return *cmdadd_; }
  QtButton& cmdedit() override { return *cmdedit_; }
  QtButton& cmdremove() override { return *cmdremove_; }
  QtButton& cmdfile() override { return *cmdfile_; }
  QtButton& cmdapply() override { return *cmdapply_; }
  QtButton& cmdclose() override { return *cmdclose_; }
  std::vector<ui::Control*> Controls() override;

 private:
  ui::TemplateManagerEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtLabel> lblfile_;
  std::unique_ptr<QtGrid> templates_;
  std::unique_ptr<QtLabel> lblbody_;
  std::unique_ptr<QtGrid> params_;
  std::unique_ptr<QtButton> cmdadd_;
  std::unique_ptr<QtButton> cmdedit_;
  std::unique_ptr<QtButton> cmdremove_;
  std::unique_ptr<QtButton> cmdfile_;
  std::unique_ptr<QtButton> cmdapply_;
  std::unique_ptr<QtButton> cmdclose_;
  std::shared_ptr<QStringList> choices_ = std::make_shared<QStringList>();
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
};

class QtTemplateEditorView : public ui::TemplateEditorView, public QtView {
 public:
  QtTemplateEditorView();
  ~QtTemplateEditorView() override;

  void SetEvents(ui::TemplateEditorEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtTextBox& txtname() override { return *txtname_; }
  QtTextArea& txtdescription() override { return *txtdescription_; }
  QtTextArea& txtbody() override { return *txtbody_; }
  QtGrid& ssdgridparams() override { return *params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override;
  QtButton& cmdok() override { return *cmdok_; }
  QtButton& cmdcancel() override { return *cmdcancel_; }
  std::vector<ui::Control*> Controls() override;

 private:
  ui::TemplateEditorEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtTextBox> txtname_;
  std::unique_ptr<QtTextArea> txtdescription_;
  std::unique_ptr<QtTextArea> txtbody_;
  std::unique_ptr<QtGrid> params_;
  std::unique_ptr<QtButton> cmdok_;
  std::unique_ptr<QtButton> cmdcancel_;
  std::shared_ptr<QStringList> choices_ = std::make_shared<QStringList>();
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
};

}  // namespace kx::qt
