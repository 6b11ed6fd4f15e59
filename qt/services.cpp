#include "qt/services.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

#include "host/checker_object.h"
#include "qt/cp1252.h"
#include "runtime/text.h"

namespace kx::qt {

namespace {

// The platform's button sets, default-button flags and answers.
constexpr int kButtonsMask = 0x7;
constexpr int kIconMask = 0x70;
constexpr int kDefaultMask = 0x300;
enum : int { kAbortRetryIgnore = 2, kRetryCancel = 5 };
enum : int { kAnswerAbort = 3, kAnswerRetry = 4, kAnswerIgnore = 5 };

}  // namespace

int QtMessageBox::Show(const std::string& text, int flags, const std::string& caption) {
  QMessageBox box(QApplication::activeWindow());
  box.setText(ToQt(text));
  box.setWindowTitle(caption.empty() ? QGuiApplication::applicationDisplayName() : ToQt(caption));
  switch (flags & kIconMask) {
    case ui::kMbCritical:
      box.setIcon(QMessageBox::Critical);
      break;
    case ui::kMbQuestion:
      box.setIcon(QMessageBox::Question);
      break;
    case ui::kMbExclamation:
      box.setIcon(QMessageBox::Warning);
      break;
    case ui::kMbInformation:
      box.setIcon(QMessageBox::Information);
      break;
    default:
      break;
  }
  struct Choice {
    QMessageBox::StandardButton button;
    int answer;
  };
  std::vector<Choice> choices;
  switch (flags & kButtonsMask) {
    case ui::kMbOkCancel:
      choices = {{QMessageBox::Ok, ui::kAnswerOk}, {QMessageBox::Cancel, ui::kAnswerCancel}};
      break;
    case kAbortRetryIgnore:
      choices = {{QMessageBox::Abort, kAnswerAbort},
                 {QMessageBox::Retry, kAnswerRetry},
                 {QMessageBox::Ignore, kAnswerIgnore}};
      break;
    case ui::kMbYesNoCancel:
      choices = {{QMessageBox::Yes, ui::kAnswerYes},
                 {QMessageBox::No, ui::kAnswerNo},
                 {QMessageBox::Cancel, ui::kAnswerCancel}};
      break;
    case ui::kMbYesNo:
      choices = {{QMessageBox::Yes, ui::kAnswerYes}, {QMessageBox::No, ui::kAnswerNo}};
      break;
    case kRetryCancel:
      choices = {{QMessageBox::Retry, kAnswerRetry}, {QMessageBox::Cancel, ui::kAnswerCancel}};
      break;
    default:
      choices = {{QMessageBox::Ok, ui::kAnswerOk}};
      break;
  }
  QMessageBox::StandardButtons buttons;
  for (const Choice& c : choices) buttons |= c.button;
  box.setStandardButtons(buttons);
  size_t default_index = static_cast<size_t>((flags & kDefaultMask) >> 8);
  if (default_index < choices.size()) box.setDefaultButton(choices[default_index].button);
  box.exec();
  // Closing the box is its Cancel (or its only button); Qt says which one that is.
  QAbstractButton* clicked = box.clickedButton();
  for (const Choice& c : choices)
    if (clicked && box.button(c.button) == clicked) return c.answer;
  for (const Choice& c : choices)
    if (c.answer == ui::kAnswerCancel) return c.answer;
  return choices.size() == 1 ? choices.front().answer : ui::kAnswerNo;
}

QString QtFilter(const std::string& filter) {
  std::vector<std::string> parts = Split(filter, "|");
  QStringList filters;
  for (size_t i = 0; i + 1 < parts.size(); i += 2) {
    QString description = ToQt(parts[i]).trimmed();
    QString patterns = ToQt(parts[i + 1]).replace(QLatin1Char(';'), QLatin1Char(' ')).trimmed();
    if (!description.contains(QLatin1Char('(')))
      description += QStringLiteral(" (") + patterns + QLatin1Char(')');
    else if (!description.contains(QLatin1Char('(') + patterns + QLatin1Char(')')))
      description = description.left(description.indexOf(QLatin1Char('('))).trimmed() +
                    QStringLiteral(" (") + patterns + QLatin1Char(')');
    filters << description;
  }
  return filters.join(QStringLiteral(";;"));
}

std::optional<std::string> QtFileDialog::ShowOpen(const ui::FileDialogRequest& request) {
  constexpr int32_t kFileMustExist = 0x1000;
  QFileDialog dialog(QApplication::activeWindow(), ToQt(request.title), QString(),
                     QtFilter(request.filter));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(request.flags & kFileMustExist ? QFileDialog::ExistingFile
                                                    : QFileDialog::AnyFile);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
  QByteArray name = QFile::encodeName(dialog.selectedFiles().front());
  return std::string(name.constData(), static_cast<size_t>(name.size()));
}

QtHelpViewer::QtHelpViewer(std::function<bool(const QString&)> open) : open_(std::move(open)) {}

void QtHelpViewer::ShowContext(const std::string& help_file, int32_t /*context*/) {
  QString path = QFile::decodeName(QByteArray::fromStdString(help_file));
  if (open_)
    open_(path);
  else
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

std::unique_ptr<ui::ExprBldView> QtDialogFactory::NewExprBldView() {
  return Keep(std::make_unique<QtExprBldView>(context_), expr_bld_);
}

std::unique_ptr<ui::FunctionView> QtDialogFactory::NewFunctionView() {
  return Keep(std::make_unique<QtFunctionView>(), function_);
}

std::unique_ptr<ui::PromptView> QtDialogFactory::NewPromptView() {
  return Keep(std::make_unique<QtPromptView>(), prompt_);
}

std::unique_ptr<ui::InputBoxView> QtDialogFactory::NewInputBoxView() {
  return Keep(std::make_unique<QtInputBoxView>(), input_box_);
}

std::unique_ptr<ui::TemplateManagerView> QtDialogFactory::NewTemplateManagerView() {
  return Keep(std::make_unique<QtTemplateManagerView>(), template_manager_);
}

std::unique_ptr<ui::TemplateEditorView> QtDialogFactory::NewTemplateEditorView() {
  return Keep(std::make_unique<QtTemplateEditorView>(), template_editor_);
}

Environment::Environment() {
  context_.keyword_dirs = &keyword_dirs_;
  // The bundled checker, whoever validates: it needs no host and answers at once.
  context_.live_check = [](const std::string& text) -> std::optional<LiveError> {
    host::BasicCompiler checker;
    checker.Check(text);
    if (checker.ErrorText().empty()) return std::nullopt;
    return LiveError{checker.ErrorStart(), checker.ErrorLength(), checker.ErrorText()};
  };
}

ui::Services Environment::Services() {
  return {&message_box_, &file_dialog_, &help_, &dialogs_};
}

}  // namespace kx::qt
