#pragma once
// The component's windows on Win32 and the services that go with them: the views make the
// controls and pass the user's gestures on; the presenters (editor/, functions/,
// templates/) decide everything.

#include <filesystem>
#include <memory>
#include <vector>

#include "ui/services.h"
#include "ui/template_views.h"
#include "ui/views.h"

namespace kx::com::win32 {

class Win32FileDialog : public ui::FileDialog {
 public:
  std::optional<std::string> ShowOpen(const ui::FileDialogRequest& request) override;
};

// Help on a context number of the host's help file.
class Win32HelpViewer : public ui::HelpViewer {
 public:
  void ShowContext(const std::string& help_file, int32_t context) override;
};

class Win32DialogFactory : public ui::DialogFactory {
 public:
  // `keyword_dirs`: folders a keyword file named without a folder is looked for in.
  explicit Win32DialogFactory(std::vector<std::filesystem::path> keyword_dirs)
      : keyword_dirs_(std::move(keyword_dirs)) {}
  std::unique_ptr<ui::ExprBldView> NewExprBldView() override;
  std::unique_ptr<ui::FunctionView> NewFunctionView() override;
  std::unique_ptr<ui::PromptView> NewPromptView() override;
  std::unique_ptr<ui::InputBoxView> NewInputBoxView() override;
  std::unique_ptr<ui::TemplateManagerView> NewTemplateManagerView() override;
  std::unique_ptr<ui::TemplateEditorView> NewTemplateEditorView() override;

 private:
  std::vector<std::filesystem::path> keyword_dirs_;
};

}  // namespace kx::com::win32
