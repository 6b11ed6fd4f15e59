#pragma once
// Headless views and services: real, small implementations that keep state, for tests and
// for `kxexpr edit --headless`. The user is played from strict queues: a modal window or
// question that nobody scripted raises ui::Unanswered naming it, never a silent OK.

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ui/services.h"
#include "ui/views.h"

namespace kx::ui::headless {

class HeadlessWindow;

// What was shown through the message-box service.
struct ShownMessage {
  std::string text;
  int flags = 0;
  std::string caption;
};

// Plays the user. A modal Show of a window named N runs, in this order: the next one-shot
// answer queued for N, else the standing handler for N, else raises Unanswered("N").
// Message boxes with only an OK button are acknowledged and recorded; any other takes the
// next queued button or raises Unanswered naming its text.
class Driver {
 public:
  using Handler = std::function<void(HeadlessWindow& window)>;
  void QueueAnswer(const std::string& window_name, Handler answer);
  void SetStandingHandler(const std::string& window_name, Handler handler);
  void QueueMessageAnswer(int button);
  // A file name, or nullopt for a cancelled file dialog.
  void QueueFile(std::optional<std::string> name);
  // Answers for the editor control's own find and replace functions.
  void QueueFind(std::string text);
  void QueueReplace(std::string find, std::string replacement);

  const std::vector<ShownMessage>& Messages() const { return messages_; }
  // Answers queued but never used (a script may check that it was played out).
  std::vector<std::string> Unused() const;

  // Used by the headless views and services.
  void RunModal(HeadlessWindow& window);
  int AnswerMessage(const ShownMessage& message);
  std::optional<std::string> AnswerFile(const FileDialogRequest& request);
  std::string AnswerFind();
  std::pair<std::string, std::string> AnswerReplace();

 private:
  std::map<std::string, std::deque<Handler>> answers_;
  std::map<std::string, Handler> standing_;
  std::deque<int> message_answers_;
  std::deque<std::optional<std::string>> files_;
  std::deque<std::string> finds_;
  std::deque<std::pair<std::string, std::string>> replaces_;
  std::vector<ShownMessage> messages_;
};

// The window part of every headless view: a name, its presenter's event sink, and state.
class HeadlessWindow : public Window {
 public:
  HeadlessWindow(std::string name, Driver& driver);
  // The presenter's events (the view's SetEvents sets it).
  WindowEvents* Events() const { return events_; }
  void SetWindowEvents(WindowEvents* events) { events_ = events; }
  // The user closes the window with its close box: Form_QueryUnload(kUnloadCloseBox), then
  // unless cancelled Form_Unload and hide.
  void CloseBox();
  // The user resizes the window (twips): sets the client size and fires Form_Resize.
  void Resize(int32_t width, int32_t height);
  bool Loaded() const;
  // ... Window's members, implemented with state.
 private:
  std::string name_;
  Driver& driver_;
  WindowEvents* events_ = nullptr;
};

// Every view the factory made is kept so that a script or test can act on it.
class Environment {
 public:
  Environment();
  ~Environment();
  ui::Services Services();
  Driver& driver();
  // The views made so far, newest last (views outlive their presenters' use of them).
  // Each headless view type offers the user's gestures on its controls, firing the events
  // a real view would (clicking a node, moving to a grid row, double-clicking, typing at
  // the caret, pressing a button, choosing a menu item or a toolbar button).
};

}  // namespace kx::ui::headless
