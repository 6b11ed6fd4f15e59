#pragma once
// Checked narrowing to the published 16-bit width: values that do not fit raise 6.

#include <concepts>
#include <cstdint>
#include <utility>

#include "runtime/error.h"

namespace kx {

template <std::integral From>
int16_t CheckedInt16(From value) {
  if (!std::in_range<int16_t>(value)) Raise(kErrOverflow);
  return static_cast<int16_t>(value);
}

template <std::integral From>
int32_t CheckedInt32(From value) {
  if (!std::in_range<int32_t>(value)) Raise(kErrOverflow);
  return static_cast<int32_t>(value);
}

// Booleans as they cross the published interfaces: true = -1, false = 0.
inline int16_t ToVariantBool(bool b) {
  return b ? -1 : 0;
}

}  // namespace kx
