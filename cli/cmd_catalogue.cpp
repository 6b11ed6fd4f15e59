// kxexpr catalogue [NAME]: the built-in constructs, or what the catalogue answers for NAME.

#include <ostream>

#include "command.h"
#include "functions/function_info.h"
#include "runtime/text.h"

namespace kx::cli {

namespace {

void PrintInfo(std::ostream& out, const FunctionInfo& info) {
  out << info.Name << '\n';
  out << "  Description: " << info.Description << '\n';
  out << "  Help topic:  " << info.HelpContextID << '\n';
  out << "  Syntax:\n";
  for (const std::string& line : Split(info.Syntax, kCrLf)) out << "    " << line << '\n';
  out << "  Arguments:   " << info.ArgumentCount << '\n';
  for (int i = 0; i < info.ArgumentCount; ++i) {
    const ArgumentInfo& a = info.Arguments[static_cast<size_t>(i)];
    out << "    " << (i + 1) << ". " << a.Name << (a.Required ? " (required" : " (optional")
        << ", kind " << a.Kind << ", default \"" << a.Default << "\")\n";
    out << "       " << a.Description << '\n';
  }
}

CommandRegistrar reg(10, [](CLI::App& app, Context& context) {
  auto* cmd = app.add_subcommand(
      "catalogue",
      "Print the built-in flow-control constructs with syntax, help topic and arguments.\n"
      "With NAME, print what the catalogue answers for that name (names are matched exactly;\n"
      "an unknown name gets the \"<Unknown>\" answer).");
  auto name = std::make_shared<std::string>();
  auto* opt = cmd->add_option("NAME", *name, "A construct name, e.g. \"For...Next\"");
  cmd->callback([&context, name, opt] {
    if (opt->count() > 0) {
      FunctionInfo info;
      info.Name = *name;
      GetFunctionInfo(info);
      PrintInfo(context.out, info);
      return;
    }
    bool first = true;
    for (const std::string& construct : BuildFunctionLists()) {
      if (construct.empty()) continue;
      if (!first) context.out << '\n';
      first = false;
      FunctionInfo info;
      info.Name = construct;
      GetFunctionInfo(info);
      PrintInfo(context.out, info);
    }
  });
});

}  // namespace

}  // namespace kx::cli
