#pragma once
// The message formatter: "%1", "%2" ... replaced in turn by the arguments.

#include <string>
#include <string_view>
#include <vector>

namespace kx {

// Replaces every "%1" by args[0], then every "%2" by args[1], and so on. Each pass works on
// the result of the one before, so a "%2" brought in by the first argument is replaced too,
// and "%1" also matches the start of "%10".
std::string FormatMessageText(std::string_view text, const std::vector<std::string>& args);

}  // namespace kx
