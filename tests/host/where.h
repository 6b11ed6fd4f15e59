#pragma once
// A syntax error as the tables here spell it: "line:column start+length message".

#include <string>

#include "host/checker_parser.h"

namespace kx::host {

inline std::string Where(const SyntaxError& e) {
  return std::to_string(e.line) + ":" + std::to_string(e.column) + " " + std::to_string(e.start) +
         "+" + std::to_string(e.length) + " " + e.message;
}

}  // namespace kx::host
