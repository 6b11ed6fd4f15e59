#pragma once
// Win32 views of the template manager (frmtemplate) and the template editor (frmtempladd).

#include <memory>

#include "ui/template_views.h"

namespace kx::com::win32 {

std::unique_ptr<ui::TemplateManagerView> NewWin32TemplateManagerView();
std::unique_ptr<ui::TemplateEditorView> NewWin32TemplateEditorView();

}  // namespace kx::com::win32
