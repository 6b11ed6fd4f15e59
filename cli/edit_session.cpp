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
