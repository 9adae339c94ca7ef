// A tap of a circular delay line.
#pragma once

#include <cstdint>
#include <limits>

// Index into a circular line of `length` samples for any index, negative ones included: a tap can outgrow
// the line, by any number of turns, when the pitch falls in a long block at a low rate. length: 1 or more.
// [audio]
inline int32_t wrappedIndex(int32_t index, int32_t length) noexcept {
  if (index >= 0 && index < length) return index; // a division takes long
  const int32_t remainder = index % length;
  return remainder < 0 ? remainder + length : remainder;
}

// Whole samples of a delay of 0 or more samples. [audio]
inline int32_t wholeSamples(double delay) noexcept {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  return delay < kMost ? static_cast<int32_t>(delay) : kMost;
}

// The line `delay` samples before the sample just written at writeIndex, linearly interpolated between the
// two neighbours. delay: samples, 0 or more. length: samples, 1 or more. [audio] Allocates nothing.
inline double readTap(const double* line, int32_t length, int32_t writeIndex, double delay) noexcept {
  const int32_t whole = wholeSamples(delay);
  const double near = line[wrappedIndex(writeIndex - whole, length)];
  const double far = line[wrappedIndex(writeIndex - whole - 1, length)];
  return near + (far - near) * (delay - whole);
}
