#pragma once
// Runs the kxexpr command line in-process, with `input` as standard input.

#include <sstream>
#include <string>
#include <vector>

#include "command.h"

namespace kx::cli {

struct Result {
  int code;
  std::string out, err;
};

inline Result RunCli(const std::vector<std::string>& args, const std::string& input = "") {
  std::ostringstream out, err;
  std::istringstream in(input);
  int code = Run(args, out, err, in);
  return {code, out.str(), err.str()};
}

}  // namespace kx::cli
