#pragma once
// The Driver plays the user from strict queues: a modal window or question that nobody
// scripted raises ui::Unanswered naming it, never a silent OK.

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ui/services.h"

namespace kx::ui::headless {

class HeadlessWindow;

// What was shown through the message-box service.
struct ShownMessage {
  std::string text;
  int flags = 0;
  std::string caption;
  bool operator==(const ShownMessage&) const = default;
};

// What the editor control's own replace function is told.
struct ReplaceAnswer {
  std::string find;
  std::string replacement;
  bool all = true;  // "Replace All"; false replaces the next match only
};

class Driver {
 public:
  using Handler = std::function<void(HeadlessWindow& window)>;

  // A modal Show of the window named `window_name` ("frmExprBld", "frmFunction",
  // "frmprompt", "frminputbox", "frmtemplate", "frmtempladd") runs, in this order: the next
  // one-shot answer queued for that name, else the standing handler for it, else raises Unanswered
  // naming it. The handler acts as the user (presses a button, closes the window); a modal window
  // still shown when the handler returns raises Unanswered too, because nobody closed it.
  void QueueAnswer(const std::string& window_name, Handler answer);
  // An empty handler removes the standing one.
  void SetStandingHandler(const std::string& window_name, Handler handler);

  // The button (kAnswerOk, kAnswerCancel, kAnswerYes, kAnswerNo ...) the next message box
  // with more than an OK button gets. OK-only boxes take no answer: they are recorded and
  // acknowledged. A queued button the box does not have raises Unanswered.
  void QueueMessageAnswer(int button);
  // The next file dialog's choice: a file name, or nullopt for Cancel.
  void QueueFile(std::optional<std::string> name);
  // Answers for the editor control's own find and replace functions.
  void QueueFind(std::string text);
  void QueueReplace(std::string find, std::string replacement, bool all = true);

  // Every message box shown, in order, answered or not.
  const std::vector<ShownMessage>& Messages() const { return messages_; }
  // Every file dialog shown, in order.
  const std::vector<FileDialogRequest>& FileRequests() const { return file_requests_; }
  // The modal windows run so far, by name, in order.
  const std::vector<std::string>& ModalRuns() const { return modal_runs_; }
  // Answers queued but never used, one line each (a script checks it was played out).
  std::vector<std::string> Unused() const;

  // Used by the headless views and services.
  void RunModal(HeadlessWindow& window);
  int AnswerMessage(const ShownMessage& message);
  std::optional<std::string> AnswerFile(const FileDialogRequest& request);
  std::string AnswerFind();
  ReplaceAnswer AnswerReplace();

 private:
  std::map<std::string, std::deque<Handler>> answers_;
  std::map<std::string, Handler> standing_;
  std::deque<int> message_answers_;
  std::deque<std::optional<std::string>> files_;
  std::deque<std::string> finds_;
  std::deque<ReplaceAnswer> replaces_;
  std::vector<ShownMessage> messages_;
  std::vector<FileDialogRequest> file_requests_;
  std::vector<std::string> modal_runs_;
};

// Whether a message box with `flags` has the button `answer` (the platform's numbers).
bool MessageBoxHas(int flags, int answer);

}  // namespace kx::ui::headless
