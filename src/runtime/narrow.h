#pragma once
// Checked narrowing to the published 16-bit width: values that do not fit raise 6.

#include <cstdint>
#include <limits>

#include "runtime/error.h"

namespace kx {

template <typename From>
int16_t CheckedInt16(From value) {
  if (value < static_cast<From>(std::numeric_limits<int16_t>::min()) ||
      value > static_cast<From>(std::numeric_limits<int16_t>::max()))
    Raise(kErrOverflow);
  return static_cast<int16_t>(value);
}

template <typename From>
int32_t CheckedInt32(From value) {
  if (value < static_cast<From>(std::numeric_limits<int32_t>::min()) ||
      value > static_cast<From>(std::numeric_limits<int32_t>::max()))
    Raise(kErrOverflow);
  return static_cast<int32_t>(value);
}

// Booleans as they cross the published interfaces: true = -1, false = 0.
inline int16_t ToVariantBool(bool b) { return b ? -1 : 0; }

}  // namespace kx
