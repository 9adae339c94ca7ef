// The delay line: writing a chunk into it and reading it between samples with two crossfaded taps.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "effect/Chunk.h"
#include "effect/TapSweep.h"

#include <cstdint>
#include <limits>

// Index into a circular line of `length` samples for any index, negative ones included: a tap can outgrow
// the line, by any number of turns, when the pitch falls in a long block at a low rate. length: 1 or more.
// [audio]
inline int32_t wrappedIndex(int32_t index, int32_t length) noexcept {
  if (index >= 0 && index < length) return index; // a division takes long
  const int32_t rest = index % length;
  return rest < 0 ? rest + length : rest;
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

// Equal-power weight sin(pi/2 x) of a crossfade position x of 0..1, by a polynomial of seventh degree (of the
// form that Hastings tabulates, Approximations for Digital Computers, 1955), so that two taps at x and 1 - x
// keep their common power. Number: a double or a vector of them. [audio]
template <typename Number> [[gnu::always_inline]] inline Number crossfadeWeight(Number x) noexcept {
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

  // The nearer neighbour of a tap at the chunk's sample i; the other one stands before it, if both are on the
  // same side of the line's ends.
  const double* neighbour(int32_t i, double delay) const noexcept {
    const int32_t index = writeIndex + i - wholeSamples(delay);
    return line + (index > 0 ? index : index + length);
  }

  // As much of a stretch that begins at sample i as both taps read, in whole vectors of four, before one of
  // them passes the line's end.
  EvenStretch beforeSeam(int32_t i, EvenStretch stretch) const noexcept {
    stretch.samples = samplesToSeam(i, stretch.delay1, stretch.move1, stretch.samples);
    stretch.samples = samplesToSeam(i, stretch.delay2, stretch.move2, stretch.samples) & ~3;
    return stretch;
  }

private:
  // Of `samples` samples from i on, how many a tap reads before it passes the line's end, its delay changing
  // by `move` each; rather a few too few. 0 while it passes, and for one that has outgrown the line.
  int32_t samplesToSeam(int32_t i, double delay, double move, int32_t samples) const noexcept {
    const int32_t index = writeIndex + i - wholeSamples(delay);
    if (index > 0) return samples;
    if (index > -2 || index < 2 - length) return 0;
    const double closing = 1.0 - move;
    if (!(closing > 0.0)) return samples; // 0 may be -0, and a little less, as the host has it rounded
    const double times = (-1 - index) / closing;
    return times < samples ? static_cast<int32_t>(times) : samples;
  }
};

// Most samples of a chunk that can be written before any is read: no tap that starts it at `delay` samples or
// less, and grows by one sample per sample at most, reaches around the line into the chunk. delay: 0 or more.
// At least 1: a single sample is always written before it is read. [audio]
inline int32_t writableAhead(double delay, int32_t lineLength) noexcept {
  const double free = lineLength - 2 - delay;
  return free < 1.0 ? 1 : static_cast<int32_t>(free);
}

// Fills chunk.shifted from the chunk's delays and sweep. [audio]
void readTaps(const DelayLineView& view, Chunk& chunk) noexcept;
// Sample i alone. [audio]
void readSample(const DelayLineView& view, int32_t i, Chunk& chunk) noexcept;
