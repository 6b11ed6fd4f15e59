#pragma once
// A builder with its editor window over headless views, in a folder of its own that serves
// as the current directory ("comments.txt" is read there).

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "runtime/files.h"
#include "ui/headless/headless.h"

namespace kx {

struct BuilderRig {
  using View = ui::headless::HeadlessExprBldView;

  ui::headless::Environment env;
  std::filesystem::path dir;
  ExprBldContext context;
  std::unique_ptr<ExpressionBuilder> builder;

  // `adjust` changes the window's context before the builder is made.
  explicit BuilderRig(const std::function<void(ExprBldContext&)>& adjust = {}) {
    static int serial = 0;
    dir = std::filesystem::temp_directory_path() /
          ("kx_builder_" + std::to_string(::getpid()) + "_" + std::to_string(++serial));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    context.services = env.Services();
    context.new_checker = [] { return std::make_shared<host::BasicCompiler>(); };
    context.current_dir = dir;
    if (adjust) adjust(context);
    builder = NewExpressionBuilder(context);
  }
  ~BuilderRig() {
    builder.reset();
    std::filesystem::remove_all(dir);
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
    std::filesystem::path path = dir / name;
    WriteWholeFile(path, bytes);
    return path.string();
  }
};

}  // namespace kx
