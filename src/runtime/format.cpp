#include "runtime/format.h"

#include "runtime/text.h"

namespace kx {

namespace {

// One left-to-right pass gives the same text as the passes below when no argument holds a
// "%" and the text has no "%%" (so no pass can form a new placeholder), and there are at
// most nine arguments (so "%1" never has to stand for the start of "%10").
bool SinglePassWillDo(std::string_view text, const std::vector<std::string>& args) {
  if (args.size() > 9 || text.find("%%") != std::string_view::npos) return false;
  for (const std::string& a : args)
    if (a.find('%') != std::string::npos) return false;
  return true;
}

}  // namespace

std::string FormatMessageText(std::string_view text, const std::vector<std::string>& args) {
  if (SinglePassWillDo(text, args)) {
    std::string out;
    out.reserve(text.size() + 32);
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' &&
          static_cast<size_t>(text[i + 1] - '0') <= args.size()) {
        out += args[static_cast<size_t>(text[i + 1] - '1')];
        ++i;
      } else {
        out += text[i];
      }
    }
    return out;
  }
  std::string out(text);
  for (size_t i = 0; i < args.size(); ++i)
    out = ReplaceAll(out, "%" + std::to_string(i + 1), args[i]);
  return out;
}

}  // namespace kx
