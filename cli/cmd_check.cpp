// kxexpr check [--json] [FILE|-]...: checks the syntax of expression texts.

#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

#include "command.h"
#include "host/checker_parser.h"
#include "runtime/error.h"
#include "runtime/files.h"

namespace kx::cli {

namespace {

struct CheckOptions {
  std::vector<std::string> files;
  bool json = false;
};

// One object per file, on one line, so that several files give one line each.
void PrintJson(std::ostream& out, const std::string& name,
               const std::vector<host::SyntaxError>& errors) {
  nlohmann::json list = nlohmann::json::array();
  for (const host::SyntaxError& e : errors)
    list.push_back({{"line", e.line},
                    {"column", e.column},
                    {"start", e.start},
                    {"length", e.length},
                    {"message", e.message}});
  nlohmann::json doc = {{"file", name}, {"valid", errors.empty()}, {"errors", list}};
  // Names in a text may be in a single-byte code page; keep the output valid JSON anyway.
  out << doc.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

CommandRegistrar reg(40, [](CLI::App& app, Context& context) {
  auto* cmd = app.add_subcommand(
      "check",
      "Check the syntax of expression texts. Prints \"file:line:column: message\" for\n"
      "every error and exits with 1 when there is one (2 when a file cannot be read).");
  auto options = std::make_shared<CheckOptions>();
  cmd->add_option("FILE", options->files,
                  "Expression texts; \"-\" or nothing reads standard input");
  cmd->add_flag("--json", options->json,
                "Print {\"file\", \"valid\", \"errors\": [{line, column, start, length, "
                "message}]}, one line per file");
  cmd->callback([&context, options] {
    std::vector<std::string> files = options->files;
    if (files.empty()) files.push_back("-");
    bool unreadable = false, invalid = false;
    for (const std::string& file : files) {
      std::string text;
      std::string name = file;
      if (file == "-") {
        name = "<stdin>";
        text.assign(std::istreambuf_iterator<char>(context.in), std::istreambuf_iterator<char>());
      } else {
        try {
          text = ReadWholeFile(file);
        } catch (const Error& e) {
          context.err << "kxexpr check: " << e.Description() << " (" << e.Number() << ")\n";
          unreadable = true;
          continue;
        }
      }
      std::vector<host::SyntaxError> errors = host::CheckExpressionSyntax(text);
      invalid = invalid || !errors.empty();
      if (options->json) {
        PrintJson(context.out, name, errors);
      } else {
        for (const host::SyntaxError& e : errors)
          context.out << name << ':' << e.line << ':' << e.column << ": " << e.message << '\n';
      }
    }
    context.exit_code = unreadable ? 2 : invalid ? 1 : 0;
  });
});

}  // namespace

}  // namespace kx::cli
