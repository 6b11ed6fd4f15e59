#pragma once
// A builder with its editor window, for hosts, the command line and tests.

#include <memory>

#include "component/expression_builder.h"
#include "editor/frm_expr_bld.h"

namespace kx {

// The builder's window is a frmExprBld over `context`; its reports go to the context's
// message box, its KXTypeLibPath comes from the context's registry.
std::unique_ptr<ExpressionBuilder> NewExpressionBuilder(const ExprBldContext& context);

// Makes "KXExpressionBuilder75.ExpressionBuilder" creatable through `classes`.
void RegisterExpressionBuilder(ClassRegistry& classes, const ExprBldContext& context);

}  // namespace kx
