// Numbers compared by their bits: 0 and -0 differ, a not-a-number equals itself alone.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

inline uint64_t bitsOf(double number) { return std::bit_cast<uint64_t>(number); }
inline uint32_t bitsOf(float number) { return std::bit_cast<uint32_t>(number); }

// Whether two vectors, arrays or other ranges of numbers are equally long and have the same bits throughout.
template <typename Numbers, typename Others> bool sameBits(const Numbers& one, const Others& other) {
  return std::ranges::equal(one, other, [](auto a, auto b) { return bitsOf(a) == bitsOf(b); });
}

// How many of two equally long arrays' elements differ in their bits.
template <typename Number> int differences(const Number* a, const Number* b, int count) {
  int different = 0;
  for (int i = 0; i < count; ++i)
    different += bitsOf(a[i]) != bitsOf(b[i]);
  return different;
}
