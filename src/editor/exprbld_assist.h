#pragma once
// The editor's completion and call tips from what the palette lists: the host library's
// functions, the flow-control constructs, and the record layouts with their fields.

#include <map>
#include <string>
#include <vector>

#include "editor/frm_expr_bld.h"
#include "ui/editor_assist.h"

namespace kx {

class PaletteAssist : public ui::EditorAssist {
 public:
  // Neither is owned; both outlive the assist.
  PaletteAssist(KXExpressionBuilder& builder, const ExprBldContext& context)
      : builder_(builder), context_(context) {}

  std::vector<std::string> Words() override;
  std::vector<std::string> RecordNames() override;
  std::vector<std::string> FieldNames(const std::string& record) override;
  std::optional<ui::FunctionHelp> Describe(const std::string& function) override;

 private:
  // The host library's function names, read once per library path.
  const std::vector<std::string>& Functions();

  KXExpressionBuilder& builder_;
  const ExprBldContext& context_;
  std::string functions_path_;
  std::vector<std::string> functions_;
  std::map<std::string, std::optional<ui::FunctionHelp>> described_;
};

}  // namespace kx
