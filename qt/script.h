#pragma once
// Playing the user on the desktop windows: the editor window's gestures done on its
// widgets, and scripted answers for the dialogs that open on the way. Message boxes, file
// dialogs and the editor's find and replace take their answers from a headless Driver (its
// strict queues); the argument, prompt and input dialogs appear and are operated on their
// widgets.

#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "qt/services.h"
#include "ui/gestures.h"
#include "ui/headless/headless.h"

namespace kx::qt {

class QtGestures : public ui::ExprBldGestures {
 public:
  explicit QtGestures(QtExprBldView& view) : view_(view) {}
  QtExprBldView& View() override { return view_; }
  bool IsShown() override { return view_.Form().IsShown(); }
  bool ClickNode(std::string_view key) override;
  bool MoveToRow(int32_t row) override;
  bool DoubleClickRow(int32_t row) override;
  bool BuildFunction(int32_t row) override;
  bool Press(std::string_view name) override;
  bool ChooseMenu(std::string_view name) override;
  bool ClickToolbar(std::string_view key) override;
  bool Type(const std::string& text) override;
  bool ClickEditor(int32_t position) override;
  void Resize(int32_t width, int32_t height) override;
  bool CloseBox() override;
  std::vector<ui::MenuItem*> Menus() override;
  std::vector<ui::Button*> Commands() override;

 private:
  // Runs a gesture; what a presenter let escape (an unanswered dialog) comes out here.
  template <typename Gesture>
  bool Act(Gesture&& gesture);
  bool EnsureRow(int32_t row);

  QtExprBldView& view_;
};

// The desktop windows with a player. `scripted`: a script is the user, so message boxes,
// file dialogs and the editor's find and replace take the Driver's answers instead of
// appearing, and a modal dialog nobody answered fails the run. Otherwise the user answers
// whatever no answer was queued for.
class Desktop {
 public:
  explicit Desktop(bool scripted);
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  ui::Services Services();
  Environment& env() { return env_; }
  ui::headless::Driver& driver() { return driver_; }
  const ui::headless::Driver& driver() const { return driver_; }

  // `play` acts on the editor window once it is up and modal.
  void WhenBuilderShown(std::function<void(ui::ExprBldGestures&)> play);
  // One-shot answers for the next run of each dialog, acting on its view.
  void AnswerFunction(std::function<void(QtFunctionView&)> answer);
  void AnswerPrompt(std::function<void(QtPromptView&)> answer);
  void AnswerInputBox(std::function<void(QtInputBoxView&)> answer);
  // The answers the script language knows.
  void AnswerFunction(const std::string& how, const std::vector<std::string>& values);
  void AnswerPrompt(const std::string& how, bool same, const std::string& text);
  void AnswerInput(const std::string& text);
  std::vector<std::string> Unused() const;

  // What went wrong while the windows ran on their own (a dialog nobody answered, a
  // failing play): the first such exception, taken once.
  std::exception_ptr TakeFailure() { return TakeEscaped(); }
  // A PNG of the editor window as it is now. From then on, a dialog a script answers is
  // also taken just before its answer closes it, into PATH with "-" and its name added
  // before the extension (w.png: w-frmFunction.png).
  bool Screenshot(const std::string& path, std::string& error);

 private:
  void OnModal(QtWindow& window);
  void DialogPicture(QWidget* dialog, const std::string& name);

  std::string picture_;
  std::string picture_error_;

  bool scripted_;
  Environment env_;
  ui::headless::Driver driver_;
  ui::headless::HeadlessMessageBox message_box_{driver_};
  ui::headless::HeadlessFileDialog file_dialog_{driver_};
  std::function<void(ui::ExprBldGestures&)> play_;
  std::deque<std::function<void(QtFunctionView&)>> functions_;
  std::deque<std::function<void(QtPromptView&)>> prompts_;
  std::deque<std::function<void(QtInputBoxView&)>> inputs_;
};

// The user's edit of an argument cell: the row becomes current, the value cell takes the
// text and the grid reports it. False when the grid has no such row.
bool EditArgument(QtFunctionView& view, int32_t row, const std::string& text);
// The user types into the input box, key by key.
void TypeInput(QtInputBoxView& view, const std::string& text);

}  // namespace kx::qt
