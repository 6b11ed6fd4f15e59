#pragma once
// The services a presenter receives: nothing here is reached process-wide.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ui/message_box.h"

namespace kx::ui {

class ExprBldView;
class FunctionView;
class PromptView;
class InputBoxView;
class TemplateManagerView;
class TemplateEditorView;

struct FileDialogRequest {
  std::string filter;  // "Text Files (*.txt)|*.txt"
  std::string title;
  int32_t flags = 0;  // the platform's open-file flags
};

class FileDialog {
 public:
  virtual ~FileDialog() = default;
  // The chosen file name, or nullopt when the user cancelled.
  virtual std::optional<std::string> ShowOpen(const FileDialogRequest& request) = 0;
};

class HelpViewer {
 public:
  virtual ~HelpViewer() = default;
  // Opens `help_file` on a context number (the platform's HELP_CONTEXT command).
  virtual void ShowContext(const std::string& help_file, int32_t context) = 0;
};

// Creates the views of the component's windows. A presenter shows its view itself through
// the view's Window (modal dialogs: Show(true) returns when the dialog is hidden).
class DialogFactory {
 public:
  virtual ~DialogFactory() = default;
  virtual std::unique_ptr<ExprBldView> NewExprBldView() = 0;
  virtual std::unique_ptr<FunctionView> NewFunctionView() = 0;
  virtual std::unique_ptr<PromptView> NewPromptView() = 0;
  virtual std::unique_ptr<InputBoxView> NewInputBoxView() = 0;
  virtual std::unique_ptr<TemplateManagerView> NewTemplateManagerView() = 0;
  virtual std::unique_ptr<TemplateEditorView> NewTemplateEditorView() = 0;
};

// Everything a presenter may use besides its own view. Not owned.
struct Services {
  MessageBoxService* message_box = nullptr;
  FileDialog* file_dialog = nullptr;
  HelpViewer* help = nullptr;
  DialogFactory* dialogs = nullptr;
};

}  // namespace kx::ui
