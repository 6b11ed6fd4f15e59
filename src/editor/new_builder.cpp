#include "editor/new_builder.h"

namespace kx {

std::unique_ptr<ExpressionBuilder> NewExpressionBuilder(const ExprBldContext& context) {
  return std::make_unique<ExpressionBuilder>(
      context.registry,
      [&context](KXExpressionBuilder& builder) -> std::unique_ptr<BuilderWindow> {
        return std::make_unique<frmExprBld>(context, &builder);
      },
      context.services.message_box);
}

void RegisterExpressionBuilder(ClassRegistry& classes, const ExprBldContext& context) {
  classes.Register(kExpressionBuilderProgID, [context]() -> std::shared_ptr<KXExpressionBuilder> {
    return NewExpressionBuilder(context);
  });
}

}  // namespace kx
