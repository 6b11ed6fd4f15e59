// kxexpr catalogue [NAME]: the built-in constructs, or what the catalogue answers for NAME.

#include <nlohmann/json.hpp>
#include <ostream>

#include "command.h"
#include "functions/function_info.h"
#include "inventory_view.h"
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

using nlohmann::ordered_json;

ordered_json InfoJson(const FunctionInfo& info) {
  ordered_json j;
  j["name"] = TextAsUtf8(info.Name);
  j["description"] = TextAsUtf8(info.Description);
  j["helpContextId"] = info.HelpContextID;
  j["syntax"] = TextAsUtf8(info.Syntax);
  ordered_json arguments = ordered_json::array();
  for (int i = 0; i < info.ArgumentCount; ++i) {
    const ArgumentInfo& a = info.Arguments[static_cast<size_t>(i)];
    ordered_json aj;
    aj["name"] = TextAsUtf8(a.Name);
    aj["required"] = static_cast<bool>(a.Required);
    aj["kind"] = a.Kind;
    aj["default"] = TextAsUtf8(a.Default);
    aj["description"] = TextAsUtf8(a.Description);
    arguments.push_back(std::move(aj));
  }
  j["arguments"] = std::move(arguments);
  return j;
}

CommandRegistrar reg(10, [](CLI::App& app, Context& context) {
  auto* cmd = app.add_subcommand(
      "catalogue",
      "Print the built-in flow-control constructs with syntax, help topic and arguments.\n"
      "With NAME, print what the catalogue answers for that name (names are matched exactly;\n"
      "an unknown name gets the \"<Unknown>\" answer).");
  auto name = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  auto* opt = cmd->add_option("NAME", *name, "A construct name, e.g. \"For...Next\"");
  cmd->add_flag("--json", *json,
                "Print JSON: {name, description, helpContextId, syntax, arguments: [{name, "
                "required, kind, default, description}]}, an array of them without NAME");
  cmd->callback([&context, name, opt, json] {
    if (opt->count() > 0) {
      FunctionInfo info;
      info.Name = *name;
      GetFunctionInfo(info);
      if (*json)
        context.out << InfoJson(info).dump(2) << '\n';
      else
        PrintInfo(context.out, info);
      return;
    }
    if (*json) {
      ordered_json all = ordered_json::array();
      for (const std::string& construct : BuildFunctionLists()) {
        if (construct.empty()) continue;
        FunctionInfo info;
        info.Name = construct;
        GetFunctionInfo(info);
        all.push_back(InfoJson(info));
      }
      context.out << all.dump(2) << '\n';
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
