#pragma once
// Subcommands of `kxexpr` register themselves here, each from its own file, so adding one
// touches nothing else. Commands write only to the context's streams, so tests can run them.

#include <CLI/CLI.hpp>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace kx::cli {

struct Context {
  std::ostream& out;
  std::ostream& err;
  std::istream& in;
  int exit_code = 0;
};

using CommandSetup = std::function<void(CLI::App& app, Context& context)>;

// Registers a subcommand; `order` sets its place in --help.
struct CommandRegistrar {
  CommandRegistrar(int order, CommandSetup setup);
};

// Runs the command line; returns the process exit status. Everything a command writes
// passes a filter that shows control characters instead of sending them (^X; \u007f and
// \u0080-\u009f for DEL and C1, as JSON spells them), and output that cannot be written
// (a full disk, a closed pipe) is an error: a message and a non-zero status.
int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err, std::istream& in);
int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
        std::istream& in);

// Where bundled data (sample conversion, templates, registry) lives: $KXEXPR_DATA, else the
// folder the build was configured with.
std::string DataDir();

}  // namespace kx::cli
