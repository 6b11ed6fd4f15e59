#pragma once
// The message-box service. Presenters and the error reporter show messages through it;
// the desktop supplies dialogs, the command line prints, tests record.

#include <deque>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kx::ui {

// Flags and answers use the platform's numbers so that presenters can keep them.
enum MessageBoxFlags : int {
  kMbOk = 0,
  kMbOkCancel = 1,
  kMbYesNoCancel = 3,
  kMbYesNo = 4,
  kMbCritical = 16,
  kMbQuestion = 32,
  kMbExclamation = 48,
  kMbInformation = 64,
};
enum MessageBoxAnswer : int {
  kAnswerOk = 1,
  kAnswerCancel = 2,
  kAnswerYes = 6,
  kAnswerNo = 7,
};

class MessageBoxService {
 public:
  virtual ~MessageBoxService() = default;
  // Shows `text`; an empty caption means the application's default title. Returns the
  // button pressed.
  virtual int Show(const std::string& text, int flags, const std::string& caption) = 0;
};

// Remembers every message. A box with only OK is acknowledged; any other takes the next
// scripted answer, and raises ui::Unanswered naming its text when there is none.
class RecordingMessageBox : public MessageBoxService {
 public:
  struct Shown {
    std::string text;
    int flags;
    std::string caption;
  };
  int Show(const std::string& text, int flags, const std::string& caption) override;

  std::vector<Shown> shown;
  std::deque<int> answers;
};

// Writes each message as a line on a stream ("caption: text"); answers OK (or Yes).
class StreamMessageBox : public MessageBoxService {
 public:
  explicit StreamMessageBox(std::ostream& out) : out_(out) {}
  int Show(const std::string& text, int flags, const std::string& caption) override;

 private:
  std::ostream& out_;
};

// The service in use. Defaults to a StreamMessageBox on standard error.
MessageBoxService& CurrentMessageBox();
// Installs `box` (not owned) as the service until the returned guard is destroyed.
class ScopedMessageBox {
 public:
  explicit ScopedMessageBox(MessageBoxService& box);
  ~ScopedMessageBox();
  ScopedMessageBox(const ScopedMessageBox&) = delete;
  ScopedMessageBox& operator=(const ScopedMessageBox&) = delete;

 private:
  MessageBoxService* previous_;
};

}  // namespace kx::ui
