#include "ui/headless/headless.h"

namespace kx::ui::headless {

int HeadlessMessageBox::Show(const std::string& text, int flags, const std::string& caption) {
  return driver_.AnswerMessage({text, flags, caption});
}

std::optional<std::string> HeadlessFileDialog::ShowOpen(const FileDialogRequest& request) {
  return driver_.AnswerFile(request);
}

namespace {

// What a presenter owns: a handle that forwards to the Environment's view and, when the
// presenter lets go, stops the view's events.
class ExprBldHandle : public ExprBldView {
 public:
  explicit ExprBldHandle(HeadlessExprBldView& view) : v_(view) {}
  ~ExprBldHandle() override { v_.Release(); }
  void SetEvents(ExprBldEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  EditorControl& KXEditor1() override { return v_.KXEditor1(); }
  TreeView& TreeView1() override { return v_.TreeView1(); }
  Grid& ssdgridtokens() override { return v_.ssdgridtokens(); }
  Label& txtproto(int index) override { return v_.txtproto(index); }
  Label& lblexprerr() override { return v_.lblexprerr(); }
  Button& Command(std::string_view name) override { return v_.Command(name); }
  void AddMenu(const MenuDef& def) override { v_.AddMenu(def); }
  MenuItem& Menu(std::string_view name) override { return v_.Menu(name); }
  Toolbar& tbar() override { return v_.tbar(); }
  Pane& vselbottom() override { return v_.vselbottom(); }
  Pane& vselbuttons() override { return v_.vselbuttons(); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessExprBldView& v_;
};

class FunctionHandle : public FunctionView {
 public:
  explicit FunctionHandle(HeadlessFunctionView& view) : v_(view) {}
  ~FunctionHandle() override { v_.Release(); }
  void SetEvents(FunctionEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  Label& lblfuncname() override { return v_.lblfuncname(); }
  Label& lbldescription() override { return v_.lbldescription(); }
  TextBox& txtParameters() override { return v_.txtParameters(); }
  Grid& ssdgridargs() override { return v_.ssdgridargs(); }
  Button& cmdok() override { return v_.cmdok(); }
  Button& cmdcancel() override { return v_.cmdcancel(); }
  Button& cmdhelp() override { return v_.cmdhelp(); }
  int32_t TextWidth(const std::string& text) const override { return v_.TextWidth(text); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessFunctionView& v_;
};

class PromptHandle : public PromptView {
 public:
  explicit PromptHandle(HeadlessPromptView& view) : v_(view) {}
  ~PromptHandle() override { v_.Release(); }
  void SetEvents(PromptEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  Combo& ssdcbovalue() override { return v_.ssdcbovalue(); }
  CheckBox& ssdchk3dsame() override { return v_.ssdchk3dsame(); }
  Label& lbldesc() override { return v_.lbldesc(); }
  Label& lbltrgfld() override { return v_.lbltrgfld(); }
  Label& lbltemplate() override { return v_.lbltemplate(); }
  Label& lblprompt() override { return v_.lblprompt(); }
  Button& cmdok() override { return v_.cmdok(); }
  Button& cmdcancel() override { return v_.cmdcancel(); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessPromptView& v_;
};

class InputBoxHandle : public InputBoxView {
 public:
  explicit InputBoxHandle(HeadlessInputBoxView& view) : v_(view) {}
  ~InputBoxHandle() override { v_.Release(); }
  void SetEvents(InputBoxEvents* events) override { v_.SetEvents(events); }
  Window& Form() override { return v_.Form(); }
  TextBox& txtinput() override { return v_.txtinput(); }
  Label& lbltext() override { return v_.lbltext(); }
  Button& OKButton() override { return v_.OKButton(); }
  Button& CancelButton() override { return v_.CancelButton(); }
  std::vector<Control*> Controls() override { return v_.Controls(); }

 private:
  HeadlessInputBoxView& v_;
};

template <typename View>
Driver::Handler Typed(std::function<void(View&)> answer) {
  return [answer = std::move(answer)](HeadlessWindow& window) {
    answer(dynamic_cast<View&>(window.View()));
  };
}

}  // namespace

std::unique_ptr<ExprBldView> HeadlessDialogFactory::NewExprBldView() {
  return std::make_unique<ExprBldHandle>(env_.Make<HeadlessExprBldView>(env_.EditorServices()));
}

std::unique_ptr<FunctionView> HeadlessDialogFactory::NewFunctionView() {
  return std::make_unique<FunctionHandle>(env_.Make<HeadlessFunctionView>());
}

std::unique_ptr<PromptView> HeadlessDialogFactory::NewPromptView() {
  return std::make_unique<PromptHandle>(env_.Make<HeadlessPromptView>());
}

std::unique_ptr<InputBoxView> HeadlessDialogFactory::NewInputBoxView() {
  return std::make_unique<InputBoxHandle>(env_.Make<HeadlessInputBoxView>());
}

std::unique_ptr<TemplateManagerView> HeadlessDialogFactory::NewTemplateManagerView() {
  return TemplateManagerHandle(env_.Make<HeadlessTemplateManagerView>());
}

std::unique_ptr<TemplateEditorView> HeadlessDialogFactory::NewTemplateEditorView() {
  return TemplateEditorHandle(env_.Make<HeadlessTemplateEditorView>());
}

Environment::Environment() = default;
Environment::~Environment() = default;

ui::Services Environment::Services() {
  return {&message_box_, &file_dialog_, &help_, &dialogs_};
}

void Environment::AnswerExprBld(std::function<void(HeadlessExprBldView&)> answer) {
  driver_.QueueAnswer("frmExprBld", Typed(std::move(answer)));
}

void Environment::AnswerFunction(std::function<void(HeadlessFunctionView&)> answer) {
  driver_.QueueAnswer("frmFunction", Typed(std::move(answer)));
}

void Environment::AnswerPrompt(std::function<void(HeadlessPromptView&)> answer) {
  driver_.QueueAnswer("frmprompt", Typed(std::move(answer)));
}

void Environment::AnswerInputBox(std::function<void(HeadlessInputBoxView&)> answer) {
  driver_.QueueAnswer("frminputbox", Typed(std::move(answer)));
}

void Environment::AnswerTemplateManager(std::function<void(HeadlessTemplateManagerView&)> answer) {
  driver_.QueueAnswer("frmtemplate", Typed(std::move(answer)));
}

void Environment::AnswerTemplateEditor(std::function<void(HeadlessTemplateEditorView&)> answer) {
  driver_.QueueAnswer("frmtempladd", Typed(std::move(answer)));
}

}  // namespace kx::ui::headless
