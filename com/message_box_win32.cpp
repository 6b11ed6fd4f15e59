// The message-box service of the server: real message boxes, owned by the caller's active
// window. Installed for the whole process when the server is loaded.

#include <windows.h>

#include "objects.h"
#include "ui/message_box.h"

namespace kx::com {

namespace {

// The run-time's default caption: the component's project name.
constexpr char kDefaultTitle[] = "KXExpressionBuilder75";

class Win32MessageBox : public ui::MessageBoxService {
 public:
  int Show(const std::string& text, int flags, const std::string& caption) override {
    const int answer = MessageBoxA(GetActiveWindow(), text.c_str(),
                                   caption.empty() ? kDefaultTitle : caption.c_str(),
                                   static_cast<UINT>(flags) | MB_SETFOREGROUND);
    if (answer != 0) return answer;
    // No box could be shown (no desktop): the answer that changes nothing.
    switch (flags & 7) {
      case ui::kMbYesNo:
        return ui::kAnswerNo;
      case ui::kMbOk:
        return ui::kAnswerOk;
      default:
        return ui::kAnswerCancel;
    }
  }
};

Win32MessageBox g_message_box;
ui::ScopedMessageBox g_installed(g_message_box);

}  // namespace

ui::MessageBoxService& Win32MessageBoxService() {
  return g_message_box;
}

}  // namespace kx::com
