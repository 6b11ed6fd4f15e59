#include "command.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "runtime/error.h"
#include "ui/message_box.h"

namespace kx::cli {

namespace {

struct Entry {
  int order;
  CommandSetup setup;
};

std::vector<Entry>& Registry() {
  static std::vector<Entry> entries;
  return entries;
}

}  // namespace

CommandRegistrar::CommandRegistrar(int order, CommandSetup setup) {
  Registry().push_back({order, std::move(setup)});
}

std::string DataDir() {
  if (const char* env = std::getenv("KXEXPR_DATA"); env && *env) return env;
  return KX_DATA_DIR;
}

int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err, std::istream& in) {
  Context context{out, err, in};
  CLI::App app{
      "kxexpr: the expression builder's tools. Lists and rewrites a conversion's expressions,\n"
      "checks expressions, manages template files, reads type libraries, opens the editor.",
      "kxexpr"};
  app.set_version_flag("--version", std::string("kxexpr ") + KX_VERSION);
  app.require_subcommand(1);
  app.fallthrough(false);

  auto entries = Registry();
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& a, const Entry& b) { return a.order < b.order; });
  for (auto& e : entries) e.setup(app, context);

  // Messages the component would show in a message box go to standard error here.
  ui::StreamMessageBox box(err);
  ui::ScopedMessageBox scoped(box);
  if (argc > 1 && argv[1][0] != '-') {
    bool known = false;
    for (const CLI::App* sub : app.get_subcommands({})) known = known || sub->check_name(argv[1]);
    if (!known) {
      err << "kxexpr: unknown command '" << argv[1] << "'\n";
      err << "Run 'kxexpr --help' for the commands and their options.\n";
      return 2;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    out << app.help();
    return 0;
  } catch (const CLI::CallForAllHelp& e) {
    out << app.help("", CLI::AppFormatMode::All);
    return 0;
  } catch (const CLI::CallForVersion& e) {
    out << e.what() << '\n';
    return 0;
  } catch (const CLI::ParseError& e) {
    // Help for a subcommand comes through here too.
    if (e.get_exit_code() == 0) {
      out << e.what();
      return 0;
    }
    err << "kxexpr: " << e.what() << '\n';
    err << "Run 'kxexpr --help' for the commands and their options.\n";
    return 2;
  } catch (const Error& e) {
    err << "kxexpr: " << e.Description() << " (" << e.Number() << ")\n";
    return 1;
  } catch (const std::exception& e) {
    err << "kxexpr: " << e.what() << '\n';
    return 1;
  }
  return context.exit_code;
}

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
        std::istream& in) {
  std::vector<const char*> argv{"kxexpr"};
  for (const auto& a : args) argv.push_back(a.c_str());
  return Run(static_cast<int>(argv.size()), argv.data(), out, err, in);
}

}  // namespace kx::cli
