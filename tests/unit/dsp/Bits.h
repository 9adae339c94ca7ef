// Numbers compared by their bits: 0 and -0 differ, a not-a-number equals itself.
#pragma once

#include <bit>
#include <cstdint>

inline uint64_t bitsOf(double number) { return std::bit_cast<uint64_t>(number); }
inline uint32_t bitsOf(float number) { return std::bit_cast<uint32_t>(number); }

// How many of two equally long arrays' elements differ in their bits.
template <typename Number> int differences(const Number* a, const Number* b, int count) {
  int different = 0;
  for (int i = 0; i < count; ++i)
    different += bitsOf(a[i]) != bitsOf(b[i]);
  return different;
}
