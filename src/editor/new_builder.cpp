#include "editor/new_builder.h"

#include "functions/frm_function.h"

namespace kx {

std::unique_ptr<ExpressionBuilder> NewExpressionBuilder(const ExprBldContext& context) {
  return std::make_unique<ExpressionBuilder>(
      context.registry,
      [&context](KXExpressionBuilder& builder) -> std::unique_ptr<BuilderWindow> {
        // The window reaches the builder's lists and the argument dialog through these.
        ExprBldContext window_context = context;
        auto& self = static_cast<ExpressionBuilder&>(builder);
        window_context.user_lists = [&self] { return self.Lists().Entries(); };
        window_context.function_builder = [&self, services = context.services,
                                           base = context.library_base](const std::string& text) {
          return LoadFunctionBuilder(services, self, text, self.HelpFile(), base);
        };
        return std::make_unique<frmExprBld>(std::move(window_context), &builder);
      },
      context.services.message_box);
}

void RegisterExpressionBuilder(ClassRegistry& classes, const ExprBldContext& context) {
  classes.Register(kExpressionBuilderProgID, [context]() -> std::shared_ptr<KXExpressionBuilder> {
    return NewExpressionBuilder(context);
  });
}

}  // namespace kx
