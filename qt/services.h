#pragma once
// The desktop's services: message boxes, the open-file dialog, the help viewer and the
// factory of the Qt views, gathered in one Environment that hands them to presenters.

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qt/template_dialogs.h"
#include "qt/views.h"
#include "ui/services.h"

class QWidget;

namespace kx::qt {

// A QMessageBox with the platform's buttons, icons and answers.
class QtMessageBox : public ui::MessageBoxService {
 public:
  int Show(const std::string& text, int flags, const std::string& caption) override;
};

// "Text Files (*.txt)|*.txt|All Files (*.*)|*.*" in Qt's form: "Text Files (*.txt);;All
// Files (*.*)". A description that does not show its pattern gets it appended.
QString QtFilter(const std::string& filter);

class QtFileDialog : public ui::FileDialog {
 public:
  // Names come back in the file system's own encoding, so that they open as given.
  std::optional<std::string> ShowOpen(const ui::FileDialogRequest& request) override;
};

// Opens help files with the desktop's opener; the formats it opens take no context number.
class QtHelpViewer : public ui::HelpViewer {
 public:
  // `open` defaults to QDesktopServices::openUrl; tests put in their own.
  explicit QtHelpViewer(std::function<bool(const QString& path)> open = {});
  void ShowContext(const std::string& help_file, int32_t context) override;
  void SetOpener(std::function<bool(const QString& path)> open) { open_ = std::move(open); }

 private:
  std::function<bool(const QString&)> open_;
};

class QtDialogFactory : public ui::DialogFactory {
 public:
  explicit QtDialogFactory(const ViewContext& context) : context_(context) {}
  std::unique_ptr<ui::ExprBldView> NewExprBldView() override;
  std::unique_ptr<ui::FunctionView> NewFunctionView() override;
  std::unique_ptr<ui::PromptView> NewPromptView() override;
  std::unique_ptr<ui::InputBoxView> NewInputBoxView() override;
  std::unique_ptr<ui::TemplateManagerView> NewTemplateManagerView() override;
  std::unique_ptr<ui::TemplateEditorView> NewTemplateEditorView() override;

  // The newest view of each kind while it lives, nullptr otherwise (for tests and scripts).
  QtExprBldView* ExprBld() const { return Live(expr_bld_); }
  QtFunctionView* Function() const { return Live(function_); }
  QtPromptView* Prompt() const { return Live(prompt_); }
  QtInputBoxView* InputBox() const { return Live(input_box_); }
  QtTemplateManagerView* TemplateManager() const { return Live(template_manager_); }
  QtTemplateEditorView* TemplateEditor() const { return Live(template_editor_); }

 private:
  template <typename View>
  struct Made {
    View* view = nullptr;
    std::weak_ptr<const bool> alive;
  };
  template <typename View>
  static View* Live(const Made<View>& made) {
    return made.alive.expired() ? nullptr : made.view;
  }
  template <typename View>
  std::unique_ptr<View> Keep(std::unique_ptr<View> view, Made<View>& made) {
    made = {view.get(), view->Alive()};
    return view;
  }

  const ViewContext& context_;
  Made<QtExprBldView> expr_bld_;
  Made<QtFunctionView> function_;
  Made<QtPromptView> prompt_;
  Made<QtInputBoxView> input_box_;
  Made<QtTemplateManagerView> template_manager_;
  Made<QtTemplateEditorView> template_editor_;
};

// Everything presenters need on the desktop. Needs a QApplication.
class Environment {
 public:
  Environment();
  ui::Services Services();
  void SetKeywordDirs(std::vector<std::filesystem::path> dirs) { keyword_dirs_ = std::move(dirs); }
  // What editors made from now on open for Find and Replace instead of their own dialogs.
  void SetEditorDialogs(std::function<void(QtEditor&)> find,
                        std::function<void(QtEditor&)> replace) {
    context_.find_dialog = std::move(find);
    context_.replace_dialog = std::move(replace);
  }
  // The check editors made from now on run while the user types (the bundled checker
  // unless replaced; empty: none).
  void SetLiveCheck(LiveCheck check) { context_.live_check = std::move(check); }
  QtDialogFactory& dialogs() { return dialogs_; }
  QtMessageBox& message_box() { return message_box_; }
  QtHelpViewer& help() { return help_; }

 private:
  std::vector<std::filesystem::path> keyword_dirs_;
  ViewContext context_;
  QtMessageBox message_box_;
  QtFileDialog file_dialog_;
  QtHelpViewer help_;
  QtDialogFactory dialogs_{context_};
};

}  // namespace kx::qt
