#pragma once
// The number of the Error a call raises, or 0 when it raises none.

#include <cstdint>
#include <functional>

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

}  // namespace kx
