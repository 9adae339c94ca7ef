// Lengths in whole samples from any number, the unusable ones included.
#pragma once

#include <cstdint>

// Truncates towards zero. Not a number, or beyond 32 bits: the most negative integer, which is what the
// processor's own conversion gives and what no length accepts. [any thread]
inline int32_t truncatedToInt32(double number) noexcept {
  const bool fits = number > -2147483649.0 && number < 2147483648.0;
  return fits ? static_cast<int32_t>(number) : INT32_MIN;
}

// Doubles with wrap-around instead of overflow; a doubled length that does not fit comes out negative or 0.
// [any thread]
inline int32_t doubled(int32_t number) noexcept {
  return static_cast<int32_t>(2u * static_cast<uint32_t>(number));
}
