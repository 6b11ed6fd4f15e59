#pragma once
// The number of the Error a call raises, or 0 when it raises none; or its number and
// description as "number: description", "" when it raises none.

#include <cstdint>
#include <functional>
#include <string>

#include "runtime/error.h"

namespace kx {

inline int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

inline std::string ErrorTextOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return std::to_string(e.Number()) + ": " + e.Description();
  }
  return "";
}

}  // namespace kx
