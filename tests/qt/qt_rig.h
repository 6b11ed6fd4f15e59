#pragma once
// Helpers for the Qt view tests: a builder on the sample conversion with Qt views, and
// modal runs that act once a modal window is up and fail instead of hanging.

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>

#include "component/registry.h"
#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "host/conversion_document.h"
#include "qt/services.h"
#include "ui/message_box.h"

namespace kx::testing {

inline const std::filesystem::path kData = std::filesystem::path(KX_SOURCE_DIR) / "data";

// Once a modal window other than `outer` is up, runs `act` on it. A watchdog closes every
// modal window still up after `seconds` and fails the test, so a broken run ends.
inline void WhenModal(std::function<void(QWidget*)> act, QWidget* outer = nullptr,
                      int seconds = 20) {
  auto* poll = new QTimer;
  auto* watchdog = new QTimer;
  QObject::connect(poll, &QTimer::timeout, [=] {
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || modal == outer || !modal->isVisible()) return;
    poll->stop();
    watchdog->stop();
    poll->deleteLater();
    watchdog->deleteLater();
    act(modal);
  });
  QObject::connect(watchdog, &QTimer::timeout, [=] {
    ADD_FAILURE() << "no modal window answered in time";
    poll->stop();
    watchdog->stop();
    for (QWidget* modal = QApplication::activeModalWidget(); modal;
         modal = QApplication::activeModalWidget()) {
      if (auto* dialog = qobject_cast<QDialog*>(modal);
          dialog && !modal->inherits("kx::qt::FormDialog"))
        dialog->reject();
      else
        modal->close();
      QCoreApplication::processEvents();
      if (QApplication::activeModalWidget() == modal) modal->hide();
    }
  });
  poll->start(10);
  watchdog->setSingleShot(true);
  watchdog->start(seconds * 1000);
}

// An ExpressionBuilder over the sample conversion with Qt views; message boxes are recorded
// (a test that wants the real box puts the Qt one back).
struct QtRig {
  QtRig() {
    env.SetKeywordDirs({kData});
    context.services = env.Services();
    context.services.message_box = &box;
    context.registry = FileRegistry::Load(kData / "kxexpr.reg");
    context.library_base = kData;
    context.keyword_dirs = {kData};
    context.new_checker = [] { return std::make_shared<host::BasicCompiler>(); };
    builder = NewExpressionBuilder(context);
    document = host::ConversionDocument::Load(kData / "sample-conversion.json");
    builder->SourceControl(document->Source());
    builder->TargetControl(document->Target());
    builder->AllowValidation(true);
    builder->KXExpressionBuilder_BuildTree();
  }
  qt::QtExprBldView& view() { return *env.dialogs().ExprBld(); }

  qt::Environment env;
  ui::RecordingMessageBox box;
  ExprBldContext context;
  std::shared_ptr<host::ConversionDocument> document;
  std::unique_ptr<ExpressionBuilder> builder;
};

}  // namespace kx::testing
