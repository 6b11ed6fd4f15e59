// The desktop window for `kxexpr edit`: linked into kxexpr only when it is built with Qt, so
// that nothing else of the command line needs Qt.

#include <QApplication>
#include <QDir>
#include <QFile>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "edit_session.h"
#include "qt/script.h"

namespace kx::cli {

namespace {

// What a display needs: a platform Qt was told to use, or an X or Wayland display.
bool HaveDisplay(std::string& why) {
  if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
      !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
    return true;
  why =
      "no display (DISPLAY is not set): run it on a desktop, under a virtual one "
      "(xvfb-run -a kxexpr edit ...), with QT_QPA_PLATFORM=offscreen and a --script, or "
      "use --headless";
  return false;
}

QtMessageHandler default_log = nullptr;

// Platforms without a window manager (offscreen, some virtual displays) say on every
// window what they cannot do; that is no news to the user.
void Log(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (message.startsWith(QLatin1String("This plugin does not support"))) return;
  if (default_log)
    default_log(type, context, message);
  else
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

// The application lives as long as the session that made it; a host may have its own.
std::unique_ptr<QApplication> NewApplication() {
  if (QApplication::instance()) return nullptr;
  default_log = qInstallMessageHandler(Log);
  // Qt wants a private runtime folder and complains without one.
  if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
    QByteArray runtime = QFile::encodeName(QDir::tempPath()) + "/kxexpr-runtime-" +
                         QByteArray::number(static_cast<qulonglong>(getuid()));
    if (QDir().mkpath(QFile::decodeName(runtime)) &&
        QFile::setPermissions(QFile::decodeName(runtime),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
      qputenv("XDG_RUNTIME_DIR", runtime);
  }
  static int argc = 1;
  static char name[] = "kxexpr";
  static char* argv[] = {name, nullptr};
  auto app = std::make_unique<QApplication>(argc, argv);
  QApplication::setApplicationDisplayName(QStringLiteral("kxexpr"));
  return app;
}

class DesktopSession : public EditSession {
 public:
  explicit DesktopSession(bool scripted) : app_(NewApplication()), desktop_(scripted) {}
  ~DesktopSession() override {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  ui::Services Services() override { return desktop_.Services(); }
  void SetKeywordDirs(std::vector<std::filesystem::path> dirs) override {
    desktop_.env().SetKeywordDirs(std::move(dirs));
  }
  void WhenBuilderShown(std::function<void(ui::ExprBldGestures&)> play) override {
    desktop_.WhenBuilderShown(std::move(play));
  }
  void AnswerFile(std::optional<std::string> name) override {
    desktop_.driver().QueueFile(std::move(name));
  }
  void AnswerMessage(int button) override { desktop_.driver().QueueMessageAnswer(button); }
  void AnswerFind(std::string text) override { desktop_.driver().QueueFind(std::move(text)); }
  void AnswerReplace(std::string find, std::string with) override {
    desktop_.driver().QueueReplace(std::move(find), std::move(with));
  }
  void AnswerInput(std::string text) override { desktop_.AnswerInput(text); }
  void AnswerFunction(std::string how, std::vector<std::string> values) override {
    desktop_.AnswerFunction(how, values);
  }
  void AnswerPrompt(std::string how, bool same, std::string text) override {
    desktop_.AnswerPrompt(how, same, text);
  }
  std::vector<std::string> Unused() const override { return desktop_.Unused(); }
  const std::vector<ui::headless::ShownMessage>& Messages() const override {
    return desktop_.driver().Messages();
  }
  bool Screenshot(const std::string& path, std::string& error) override {
    return desktop_.Screenshot(path, error);
  }
  std::exception_ptr TakeFailure() override { return desktop_.TakeFailure(); }

 private:
  std::unique_ptr<QApplication> app_;  // first made, last gone
  qt::Desktop desktop_;
};

const DesktopSessionRegistrar registrar([](bool scripted,
                                           std::string& why) -> std::unique_ptr<EditSession> {
  if (!HaveDisplay(why)) return nullptr;
  return std::make_unique<DesktopSession>(scripted);
});

}  // namespace

}  // namespace kx::cli
