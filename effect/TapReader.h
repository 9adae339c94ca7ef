// The delay line: writing a chunk into it and reading it between samples with two crossfaded taps.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "effect/Chunk.h"
#include "effect/TapSweep.h"

#include <cstdint>
#include <limits>

// Index into a circular line of `length` samples for any index, negative ones included: a tap can outgrow
// the line, by any number of turns, when the pitch falls in a long block at a low rate.
inline int32_t wrappedIndex(int32_t index, int32_t length) noexcept {
  if (index >= 0 && index < length) return index; // a division takes long
  const int32_t rest = index % length;
  return rest < 0 ? rest + length : rest;
}

// Whole samples of a delay of 0 or more samples.
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

// Equal-power weight sin(pi/2 x) of a crossfade position x of 0..1, by a polynomial of seventh degree, so
// that two taps at x and 1 - x keep their common power. Number: a double or a vector of them. [audio]
template <typename Number> Number crossfadeWeight(Number x) noexcept {
  const Number x2 = x * x;
  return x * (1.570791011 + x2 * (-0.6458928493 + x2 * (0.0794343442 + x2 * -0.004333095)));
}

// A circular line and a chunk of it that has just been written.
struct DelayLineView {
  const double* line;
  int32_t length;     // samples
  int32_t writeIndex; // 0..length - 1: the chunk's first sample
  bool isStraight;    // every tap of the chunk reads between the ends of the line

  // longestDelay: of both taps at the chunk's first sample and of a jump; they grow by one sample per sample
  // at most. The chunk does not reach beyond the end of the line.
  DelayLineView(const double* line, int32_t length, int32_t writeIndex, double longestDelay) noexcept
      : line(line), length(length), writeIndex(writeIndex), isStraight(longestDelay + 2.0 <= writeIndex) {}
};

// Most samples of a chunk that can be written before any is read: no tap that starts it at `delay` samples or
// less, and grows by one sample per sample at most, reaches around the line into the chunk. delay: 0 or more.
// At least 1: a single sample is always written before it is read. [audio]
int32_t writableAhead(double delay, int32_t lineLength) noexcept;

// Fills chunk.shifted from the chunk's delays and sweep. [audio]
void readTaps(const DelayLineView& view, Chunk& chunk) noexcept;
// Sample i alone.
void readSample(const DelayLineView& view, int32_t i, Chunk& chunk) noexcept;
// The samples of an even stretch, from `begin` on, without the chunk's delays and sweep.
void readEvenTaps(const DelayLineView& view, int32_t begin, const EvenStretch& stretch,
                  Chunk& chunk) noexcept;
