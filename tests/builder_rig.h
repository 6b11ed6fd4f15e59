#pragma once
// A builder with its editor window over headless views, in a folder of its own that serves
// as the current directory ("comments.txt" is read there).

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "runtime/files.h"
#include "scratch_dir.h"
#include "ui/headless/headless.h"

namespace kx {

struct BuilderRig {
  using View = ui::headless::HeadlessExprBldView;

  ui::headless::Environment env;
  ScratchDir scratch;
  const std::filesystem::path& dir = scratch.path;
  ExprBldContext context;
  std::unique_ptr<ExpressionBuilder> builder;

  // `adjust` changes the window's context before the builder is made.
  explicit BuilderRig(const std::function<void(ExprBldContext&)>& adjust = {}) {
    context.services = env.Services();
    context.new_checker = [] { return std::make_shared<host::BasicCompiler>(); };
    context.current_dir = dir;
    if (adjust) adjust(context);
    builder = NewExpressionBuilder(context);
  }

  View& view() { return *env.ExprBld(); }
  frmExprBld& window() { return dynamic_cast<frmExprBld&>(builder->Window()); }
  ui::headless::HeadlessEditor& editor() { return view().KXEditor1(); }
  // Shows the window modally; `user` acts and must close it.
  void ShowModal(std::function<void(View&)> user) {
    env.AnswerExprBld(std::move(user));
    builder->Show(1);
  }
  std::string Write(const std::string& name, const std::string& bytes) {
    return scratch.Write(name, bytes);
  }
};

}  // namespace kx
