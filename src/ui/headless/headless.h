#pragma once
// Headless views and services: real, small implementations that keep state, for tests and
// for `kxexpr edit --headless`. The user is played from the Driver's strict queues.
//
//   ui::headless::Environment env;
//   env.SetKeywordDirs({data_dir});
//   env.AnswerFunction([](HeadlessFunctionView& view) { view.Press("cmdok"); });
//   env.driver().QueueMessageAnswer(ui::kAnswerYes);
//   SomePresenter presenter(env.Services());      // views come from env.Services().dialogs
//   env.ExprBld()->ClickNode("All");               // gestures fire the presenter's events
//   EXPECT_EQ(env.driver().Messages().size(), 1u);
//
// The factory hands presenters handles on views that the Environment owns, so a view stays
// readable after its presenter is gone; its events stop then.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ui/headless/controls.h"
#include "ui/headless/driver.h"
#include "ui/headless/editor.h"
#include "ui/headless/template_views.h"
#include "ui/headless/views.h"
#include "ui/services.h"

namespace kx::ui::headless {

// Records every message; OK-only boxes are acknowledged, others answered by the Driver.
class HeadlessMessageBox : public MessageBoxService {
 public:
  explicit HeadlessMessageBox(Driver& driver) : driver_(driver) {}
  int Show(const std::string& text, int flags, const std::string& caption) override;

 private:
  Driver& driver_;
};

class HeadlessFileDialog : public FileDialog {
 public:
  explicit HeadlessFileDialog(Driver& driver) : driver_(driver) {}
  std::optional<std::string> ShowOpen(const FileDialogRequest& request) override;

 private:
  Driver& driver_;
};

// Opens nothing; remembers what it was asked to open.
class HeadlessHelpViewer : public HelpViewer {
 public:
  struct Opened {
    std::string help_file;
    int32_t context = 0;
    bool operator==(const Opened&) const = default;
  };
  void ShowContext(const std::string& help_file, int32_t context) override {
    opened_.push_back({help_file, context});
  }
  const std::vector<Opened>& Requests() const { return opened_; }

 private:
  std::vector<Opened> opened_;
};

class Environment;

// Makes the Environment's views; presenters get handles that forward to them.
class HeadlessDialogFactory : public DialogFactory {
 public:
  explicit HeadlessDialogFactory(Environment& env) : env_(env) {}
  std::unique_ptr<ExprBldView> NewExprBldView() override;
  std::unique_ptr<FunctionView> NewFunctionView() override;
  std::unique_ptr<PromptView> NewPromptView() override;
  std::unique_ptr<InputBoxView> NewInputBoxView() override;
  std::unique_ptr<TemplateManagerView> NewTemplateManagerView() override;
  std::unique_ptr<TemplateEditorView> NewTemplateEditorView() override;

 private:
  Environment& env_;
};

class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  // The services to hand to presenters; valid while the Environment lives.
  ui::Services Services();
  Driver& driver() { return driver_; }
  HeadlessMessageBox& message_box() { return message_box_; }
  HeadlessHelpViewer& help() { return help_; }
  HeadlessDialogFactory& dialogs() { return dialogs_; }
  // The clipboard every editor control of this environment shares.
  std::string& clipboard() { return clipboard_; }
  // Folders searched for a keyword file named without a folder, before the current one.
  void SetKeywordDirs(std::vector<std::filesystem::path> dirs) { keyword_dirs_ = std::move(dirs); }

  // The newest view of each kind, nullptr before the first.
  HeadlessExprBldView* ExprBld() { return Latest<HeadlessExprBldView>(); }
  HeadlessFunctionView* Function() { return Latest<HeadlessFunctionView>(); }
  HeadlessPromptView* Prompt() { return Latest<HeadlessPromptView>(); }
  HeadlessInputBoxView* InputBox() { return Latest<HeadlessInputBoxView>(); }
  HeadlessTemplateManagerView* TemplateManager() { return Latest<HeadlessTemplateManagerView>(); }
  HeadlessTemplateEditorView* TemplateEditor() { return Latest<HeadlessTemplateEditorView>(); }
  // Every view made, oldest first.
  const std::vector<std::unique_ptr<HeadlessView>>& Views() const { return views_; }

  // One-shot answers for the next modal run of each dialog, typed for convenience (the
  // Driver's QueueAnswer with the window's name).
  void AnswerExprBld(std::function<void(HeadlessExprBldView&)> answer);
  void AnswerFunction(std::function<void(HeadlessFunctionView&)> answer);
  void AnswerPrompt(std::function<void(HeadlessPromptView&)> answer);
  void AnswerInputBox(std::function<void(HeadlessInputBoxView&)> answer);
  void AnswerTemplateManager(std::function<void(HeadlessTemplateManagerView&)> answer);
  void AnswerTemplateEditor(std::function<void(HeadlessTemplateEditorView&)> answer);

  // Used by the factory.
  template <typename View, typename... Args>
  View& Make(Args&&... args) {
    views_.push_back(std::make_unique<View>(driver_, std::forward<Args>(args)...));
    return static_cast<View&>(*views_.back());
  }
  EditorContext EditorServices() { return {&driver_, &clipboard_, &keyword_dirs_}; }

 private:
  template <typename View>
  View* Latest() {
    for (auto it = views_.rbegin(); it != views_.rend(); ++it)
      if (auto* view = dynamic_cast<View*>(it->get())) return view;
    return nullptr;
  }

  Driver driver_;
  HeadlessMessageBox message_box_{driver_};
  HeadlessFileDialog file_dialog_{driver_};
  HeadlessHelpViewer help_;
  HeadlessDialogFactory dialogs_{*this};
  std::string clipboard_;
  std::vector<std::filesystem::path> keyword_dirs_;
  std::vector<std::unique_ptr<HeadlessView>> views_;
};

}  // namespace kx::ui::headless
