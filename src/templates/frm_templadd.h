#pragma once
// frmtempladd: the template editor. Name, description and body of one template, and the
// parameters the body names, found again as the body is typed, with their descriptions
// and defaults. It edits a copy: the set and the template it was opened on stay as they
// are until the caller takes the result.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "templates/templates.h"
#include "ui/services.h"
#include "ui/template_views.h"

namespace kx {

// What both template dialogs need besides their views.
struct TemplateDialogContext {
  ui::Services services;
  std::string product_name;  // caption of their messages
  std::string font_name;     // the general font; empty for the view's own
};

inline constexpr std::string_view kTemplateEditorCaption = "Template";

// The template editor's labels of the markers a default may be, in the order offered.
std::vector<std::string> EditorValueChoices();
// The marker an editor label stands for; any other text is literal.
std::string EditorValueOf(const std::string& text);

// The names a body's parameters get, in order, as far as they can be told while the body
// is being typed: a trailing "<<" without ">>" is left out instead of scanned without end,
// and a name that clashes in case with an earlier one ends the list.
std::vector<std::string> ParameterNamesSoFar(const std::string& body);

class frmtempladd : public ui::TemplateEditorEvents {
 public:
  explicit frmtempladd(TemplateDialogContext context);
  ~frmtempladd() override;

  // Shows the dialog modally on a copy of `source` (null: a new, empty template). Names
  // are checked against the templates of `set` other than `source`. Returns the template
  // the user confirmed, a new object with every value equal to its default, or null after
  // Cancel.
  ExprTemplateRef Edit(const ExprTemplate* source, const ExprTemplates& set);
  ui::TemplateEditorView& View() { return *view_; }

  // ui::TemplateEditorEvents
  void Form_Activate() override {}
  void Form_Resize() override {}
  bool Form_QueryUnload(int /*unload_mode*/) override { return false; }
  void Form_Unload() override {}
  void txtbody_Change() override;
  void ssdgridparams_Change(int32_t row, int32_t column, const std::string& text) override;
  void cmdok_Click() override;
  void cmdcancel_Click() override;

 private:
  struct Entry {
    std::string description;
    std::string default_value;
  };
  ui::MessageBoxService& Box() { return *context_.services.message_box; }
  void Form_Load();
  void ShowParameters();
  // Why the dialog's content cannot be kept; empty when it can.
  std::string Refusal();
  ExprTemplateRef Build();

  TemplateDialogContext context_;
  std::unique_ptr<ui::TemplateEditorView> view_;
  const ExprTemplate* source_ = nullptr;
  const ExprTemplates* set_ = nullptr;
  // The rows shown, in the body's order, and what was entered for every name seen, so that
  // a name typed again gets back its description and default.
  std::vector<std::string> names_;
  std::map<std::string, Entry> entries_;
  ExprTemplateRef result_;
};

}  // namespace kx
