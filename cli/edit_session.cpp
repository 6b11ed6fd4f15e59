#include "edit_session.h"

#include "ui/headless/headless.h"
#include "ui/unanswered.h"

namespace kx::cli {

namespace {

namespace hl = ui::headless;

DesktopSessionFactory& Desktop() {
  static DesktopSessionFactory factory;
  return factory;
}

class HeadlessGestures : public ui::ExprBldGestures {
 public:
  explicit HeadlessGestures(hl::HeadlessExprBldView& view) : view_(view) {}
  ui::ExprBldView& View() override { return view_; }
  bool IsShown() override { return view_.Form().IsShown(); }
  bool ClickNode(std::string_view key) override { return view_.ClickNode(key); }
  bool MoveToRow(int32_t row) override { return view_.MoveToRow(row); }
  bool DoubleClickRow(int32_t row) override { return view_.DoubleClickRow(row); }
  bool BuildFunction(int32_t row) override { return view_.BuildFunction(row); }
  bool Press(std::string_view name) override { return view_.Press(name); }
  bool ChooseMenu(std::string_view name) override { return view_.ChooseMenu(name); }
  bool ClickToolbar(std::string_view key) override { return view_.ClickToolbar(key); }
  bool Type(const std::string& text) override { return view_.Type(text); }
  bool ClickEditor(int32_t position) override { return view_.ClickEditor(position); }
  void Resize(int32_t width, int32_t height) override { view_.Form().Resize(width, height); }
  bool CloseBox() override { return view_.Form().CloseBox(); }
  std::vector<ui::MenuItem*> Menus() override {
    std::vector<ui::MenuItem*> menus;
    for (auto* menu : view_.Menus()) menus.push_back(menu);
    return menus;
  }
  std::vector<ui::Button*> Commands() override {
    std::vector<ui::Button*> buttons;
    for (auto* button : view_.Commands()) buttons.push_back(button);
    return buttons;
  }

 private:
  hl::HeadlessExprBldView& view_;
};

// A step's verb and what follows it ("value Field=^h": "value", "Field=^h").
std::pair<std::string, std::string> StepParts(const std::string& step) {
  const size_t blank = step.find(' ');
  if (blank == std::string::npos) return {step, {}};
  return {step.substr(0, blank), step.substr(blank + 1)};
}

std::pair<std::string, std::string> Assignment(const std::string& text) {
  const size_t equals = text.find('=');
  return {text.substr(0, equals), text.substr(equals + 1)};
}

// Plays the steps on a dialog; a step that cannot be done, or one left once the dialog has
// closed, ends the run naming it.
template <typename View, typename Act>
void PlaySteps(View& view, const std::vector<std::string>& steps, Act act) {
  const std::string window(view.Form().Name());
  for (const std::string& step : steps) {
    if (!view.Form().IsShown())
      throw ui::Unanswered(window + " is closed before the step '" + step + "'");
    auto [verb, rest] = StepParts(step);
    bool done = false;
    try {
      done = act(verb, rest);
    } catch (const ui::Unanswered&) {
      throw;
    } catch (const std::logic_error& e) {
      throw ui::Unanswered(window + ": step '" + step + "': " + e.what());
    }
    if (!done) throw ui::Unanswered(window + ": step '" + step + "' cannot be done now");
  }
}

class HeadlessSession : public EditSession {
 public:
  ui::Services Services() override { return env_.Services(); }
  void SetKeywordDirs(std::vector<std::filesystem::path> dirs) override {
    env_.SetKeywordDirs(std::move(dirs));
  }
  void WhenBuilderShown(std::function<void(ui::ExprBldGestures&)> play) override {
    env_.driver().SetStandingHandler("frmExprBld", [play](hl::HeadlessWindow& window) {
      HeadlessGestures gestures(dynamic_cast<hl::HeadlessExprBldView&>(window.View()));
      play(gestures);
    });
  }
  void AnswerFile(std::optional<std::string> name) override {
    env_.driver().QueueFile(std::move(name));
  }
  void AnswerMessage(int button) override { env_.driver().QueueMessageAnswer(button); }
  void AnswerFind(std::string text) override { env_.driver().QueueFind(std::move(text)); }
  void AnswerReplace(std::string find, std::string with) override {
    env_.driver().QueueReplace(std::move(find), std::move(with));
  }
  void AnswerInput(std::string text) override {
    env_.AnswerInputBox([text](hl::HeadlessInputBoxView& box) {
      box.TypeInput(text);
      box.Press("OKButton");
    });
  }
  void AnswerFunction(std::string how, std::vector<std::string> values) override {
    env_.AnswerFunction([how, values](hl::HeadlessFunctionView& dialog) {
      if (how == "close") {
        dialog.Form().CloseBox();
        return;
      }
      if (how == "ok")
        for (size_t i = 0; i < values.size(); ++i)
          if (!dialog.EditValue(static_cast<int32_t>(i), values[i]))
            throw ui::Unanswered("frmFunction has no argument row " + std::to_string(i) +
                                 " for the value \"" + values[i] + "\"");
      dialog.Press(how == "ok" ? "cmdok" : "cmdcancel");
    });
  }
  void AnswerPrompt(std::string how, bool same, std::string text) override {
    env_.AnswerPrompt([how, same, text](hl::HeadlessPromptView& prompt) {
      if (how == "ok") {
        prompt.EnterValue(text);
        prompt.CheckSame(same);
      }
      prompt.Press(how == "ok" ? "cmdok" : "cmdcancel");
    });
  }
  void AnswerTemplateManager(std::vector<std::string> steps) override {
    env_.AnswerTemplateManager([steps](hl::HeadlessTemplateManagerView& m) {
      PlaySteps(m, steps, [&m](const std::string& verb, const std::string& rest) {
        if (verb == "select") return m.ChooseTemplate(rest);
        if (verb == "value") {
          auto [name, value] = Assignment(rest);
          return m.EditValue(std::string_view(name), value);
        }
        return m.Press("cmd" + verb);
      });
    });
  }
  void AnswerTemplateEditor(std::vector<std::string> steps) override {
    env_.AnswerTemplateEditor([steps](hl::HeadlessTemplateEditorView& e) {
      PlaySteps(e, steps, [&e](const std::string& verb, const std::string& rest) {
        if (verb == "name") return e.EnterName(rest);
        if (verb == "description") return e.EnterDescription(rest);
        if (verb == "body") return e.ReplaceBody(rest);
        if (verb == "type") return e.TypeBody(rest);
        if (verb == "default" || verb == "param-description") {
          auto [name, value] = Assignment(rest);
          return e.EditParameter(std::string_view(name), verb == "default" ? 2 : 1, value);
        }
        return e.Press("cmd" + verb);
      });
    });
  }
  std::vector<std::string> Unused() const override { return env_.driver().Unused(); }
  const std::vector<hl::ShownMessage>& Messages() const override {
    return env_.driver().Messages();
  }
  bool Screenshot(const std::string&, std::string& error) override {
    error = "the headless window has no picture; --screenshot needs the desktop window";
    return false;
  }

 private:
  mutable hl::Environment env_;  // its driver answers const questions too
};

}  // namespace

void EditSession::AnswerTemplateManager(std::vector<std::string>) {
  throw ui::Unanswered(
      "the desktop window's template dialogs cannot be played from a script yet; use "
      "--headless");
}

void EditSession::AnswerTemplateEditor(std::vector<std::string> steps) {
  AnswerTemplateManager(std::move(steps));
}

std::unique_ptr<EditSession> NewHeadlessSession() {
  return std::make_unique<HeadlessSession>();
}

std::unique_ptr<EditSession> NewDesktopSession(bool scripted, std::string& why) {
  if (!Desktop()) {
    why = "this kxexpr was built without the desktop window (Qt 6); use --headless";
    return nullptr;
  }
  return Desktop()(scripted, why);
}

DesktopSessionRegistrar::DesktopSessionRegistrar(DesktopSessionFactory factory) {
  Desktop() = std::move(factory);
}

}  // namespace kx::cli
