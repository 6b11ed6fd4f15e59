#include "runtime/format.h"

#include "runtime/text.h"

namespace kx {

std::string FormatMessage(std::string_view text, const std::vector<std::string>& args) {
  std::string out(text);
  for (size_t i = 0; i < args.size(); ++i)
    out = ReplaceAll(out, "%" + std::to_string(i + 1), args[i]);
  return out;
}

}  // namespace kx
