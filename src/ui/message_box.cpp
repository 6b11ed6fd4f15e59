#include "ui/message_box.h"

#include <iostream>

#include "ui/unanswered.h"

namespace kx::ui {

namespace {
MessageBoxService* g_current = nullptr;
}

int RecordingMessageBox::Show(const std::string& text, int flags, const std::string& caption) {
  shown.push_back({text, flags, caption});
  if ((flags & 7) == kMbOk) return kAnswerOk;
  if (answers.empty()) throw Unanswered("nobody answered the message box \"" + text + "\"");
  int answer = answers.front();
  answers.pop_front();
  return answer;
}

int StreamMessageBox::Show(const std::string& text, int flags, const std::string& caption) {
  if (!caption.empty()) out_ << caption << ": ";
  out_ << text << '\n';
  out_.flush();
  return (flags & 7) == kMbYesNo || (flags & 7) == kMbYesNoCancel ? kAnswerYes : kAnswerOk;
}

MessageBoxService& CurrentMessageBox() {
  static StreamMessageBox standard_error(std::cerr);
  return g_current ? *g_current : standard_error;
}

ScopedMessageBox::ScopedMessageBox(MessageBoxService& box) : previous_(g_current) {
  g_current = &box;
}
ScopedMessageBox::~ScopedMessageBox() {
  g_current = previous_;
}

}  // namespace kx::ui
