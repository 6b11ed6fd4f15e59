#include "ui/headless/driver.h"

#include "ui/headless/views.h"
#include "ui/unanswered.h"

namespace kx::ui::headless {

bool MessageBoxHas(int flags, int answer) {
  switch (flags & 7) {
    case kMbOk:
      return answer == kAnswerOk;
    case kMbOkCancel:
      return answer == kAnswerOk || answer == kAnswerCancel;
    case 2:  // Abort, Retry, Ignore
      return answer >= 3 && answer <= 5;
    case kMbYesNoCancel:
      return answer == kAnswerYes || answer == kAnswerNo || answer == kAnswerCancel;
    case kMbYesNo:
      return answer == kAnswerYes || answer == kAnswerNo;
    case 5:  // Retry, Cancel
      return answer == 4 || answer == kAnswerCancel;
    default:
      return false;
  }
}

void Driver::QueueAnswer(const std::string& window_name, Handler answer) {
  answers_[window_name].push_back(std::move(answer));
}

void Driver::SetStandingHandler(const std::string& window_name, Handler handler) {
  if (handler)
    standing_[window_name] = std::move(handler);
  else
    standing_.erase(window_name);
}

void Driver::QueueMessageAnswer(int button) {
  message_answers_.push_back(button);
}

void Driver::QueueFile(std::optional<std::string> name) {
  files_.push_back(std::move(name));
}

void Driver::QueueFind(std::string text) {
  finds_.push_back(std::move(text));
}

void Driver::QueueReplace(std::string find, std::string replacement, bool all) {
  replaces_.push_back({std::move(find), std::move(replacement), all});
}

std::vector<std::string> Driver::Unused() const {
  std::vector<std::string> unused;
  for (const auto& [name, queue] : answers_)
    for (size_t i = 0; i < queue.size(); ++i) unused.push_back("answer for " + name);
  for (int button : message_answers_) unused.push_back("message answer " + std::to_string(button));
  for (const auto& file : files_) unused.push_back("file " + (file ? *file : "cancel"));
  for (const auto& text : finds_) unused.push_back("find " + text);
  for (const auto& answer : replaces_)
    unused.push_back("replace " + answer.find + " with " + answer.replacement);
  return unused;
}

void Driver::RunModal(HeadlessWindow& window) {
  std::string name(window.Name());
  modal_runs_.push_back(name);
  Handler handler;
  if (auto it = answers_.find(name); it != answers_.end() && !it->second.empty()) {
    handler = std::move(it->second.front());
    it->second.pop_front();
  } else if (auto standing = standing_.find(name); standing != standing_.end()) {
    handler = standing->second;
  } else {
    throw Unanswered("nobody answered the modal window " + name);
  }
  handler(window);
  if (window.IsShown())
    throw Unanswered("the modal window " + name + " is still open: nobody closed it");
}

int Driver::AnswerMessage(const ShownMessage& message) {
  messages_.push_back(message);
  if ((message.flags & 7) == kMbOk) return kAnswerOk;
  if (message_answers_.empty())
    throw Unanswered("nobody answered the message box \"" + message.text + "\"");
  int answer = message_answers_.front();
  message_answers_.pop_front();
  if (!MessageBoxHas(message.flags, answer))
    throw Unanswered("the message box \"" + message.text + "\" has no button " +
                     std::to_string(answer));
  return answer;
}

std::optional<std::string> Driver::AnswerFile(const FileDialogRequest& request) {
  file_requests_.push_back(request);
  if (files_.empty()) throw Unanswered("nobody answered the file dialog \"" + request.title + "\"");
  std::optional<std::string> answer = std::move(files_.front());
  files_.pop_front();
  return answer;
}

std::string Driver::AnswerFind() {
  if (finds_.empty()) throw Unanswered("nobody answered the editor's find dialog");
  std::string answer = std::move(finds_.front());
  finds_.pop_front();
  return answer;
}

ReplaceAnswer Driver::AnswerReplace() {
  if (replaces_.empty()) throw Unanswered("nobody answered the editor's replace dialog");
  ReplaceAnswer answer = std::move(replaces_.front());
  replaces_.pop_front();
  return answer;
}

}  // namespace kx::ui::headless
