#pragma once
// What the builder needs of its editor window. The window (editor/) implements it; the
// builder receives a factory, so component/ does not depend on the window's folder.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "ui/views.h"

namespace kx {

class KXExpressionBuilder;

class BuilderWindow {
 public:
  virtual ~BuilderWindow() = default;
  // Creates the view when there is none and runs the window's load handler.
  virtual void Load() = 0;
  virtual bool IsLoaded() const = 0;
  // Unloads the window (its unload handler runs); a later Load prepares it afresh.
  virtual void Unload() = 0;
  // The loaded window's view; Load first.
  virtual ui::ExprBldView& View() = 0;
  virtual void SetGeneralFont(const std::string& font_name) = 0;
  virtual void SetHelpFileIDs(int32_t help_id) = 0;
  // Fills the token tree from the builder's sides, user lists and host library (errors are
  // reported as "BuildTreeView(CKXExpressionBuilder)"). The user lists are added through
  // `add_user_nodes` between the field-name subtree and the function subtree.
  virtual void BuildTreeView(const std::function<void()>& add_user_nodes) = 0;
};

using BuilderWindowFactory =
    std::function<std::unique_ptr<BuilderWindow>(KXExpressionBuilder& builder)>;

}  // namespace kx
