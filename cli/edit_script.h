#pragma once
// The script language of `kxexpr edit --script`: one user action per line, played against
// the builder's window (see docs/automation.md).

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace kx::cli {

enum class Verb {
  ClickNode,  // click-node KEY
  Row,        // row N
  DblClick,   // dblclick N
  Build,      // build N
  Press,      // press CONTROL
  Menu,       // menu NAME
  Toolbar,    // toolbar KEY
  Type,       // type TEXT
  Caret,      // caret POS
  Select,     // select START LENGTH
  Resize,     // resize WIDTH HEIGHT
  Close,      // close (the window's close box)
  Answer,     // answer KIND ...
  Dump,       // dump
};

struct ScriptAction {
  Verb verb;
  int line = 0;
  std::string text;               // KEY, CONTROL, NAME, TEXT; for answers the kind
  std::vector<int32_t> numbers;   // N, POS, START LENGTH, WIDTH HEIGHT, message button
  std::vector<std::string> args;  // answers: the parts after the kind (template dialogs: steps)
};

// Parses a whole script. Errors raise kx::Error(5) with "SOURCE:LINE: what is wrong".
std::vector<ScriptAction> ParseScript(std::istream& in, const std::string& source);
std::vector<ScriptAction> ParseScript(std::string_view text, const std::string& source);

// A TEXT argument with its escapes resolved: \n \r \t \\ (other backslashes stay).
std::string Unescape(std::string_view text);

}  // namespace kx::cli
