#include <gtest/gtest.h>

#include <QApplication>

#include <QDir>
#include <QTemporaryDir>
#include <cstdio>

namespace {

QtMessageHandler previous = nullptr;

// The offscreen platform says on every window what it cannot do (raise, size hints).
void Log(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (message.contains(QLatin1String("This plugin does not support"))) return;
  if (previous)
    previous(type, context, message);
  else
    fprintf(stderr, "%s\n", qPrintable(message));
}

}  // namespace

int main(int argc, char** argv) {
  previous = qInstallMessageHandler(Log);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Qt wants a private runtime folder and warns on every start without one.
  QTemporaryDir runtime;
  if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR") && runtime.isValid()) {
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
  }
  QApplication app(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  int result = RUN_ALL_TESTS();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  return result;
}
