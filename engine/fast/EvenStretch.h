// Same bits as moving the taps sample by sample, faster: stretches along which phase and delays change by the
// same amounts exactly, so that each value is start + j * move and several can be had at once.
#pragma once

#include "engine/DelayLine.h"
#include "engine/TapPair.h"

#include <cstdint>

// The delays stay between the same two powers of two, from 1 sample on.
struct EvenStretch {
  int32_t samples; // 0: none
  double phase, phaseMove;
  double delay1, move1;
  double delay2, move2;
};

// The motion of the taps while every sample has the same pitch. [audio] Allocates nothing.
struct SteadyTaps {
  TapState now;
  double phaseStep;  // per sample
  double pitchRatio; // 2^(cents / 1200)
  double minDelay;   // samples
  double jumpDelay;  // samples

  // The even stretch that begins here, of `most` samples or less. It may be found shorter than it is.
  EvenStretch stretch(int32_t most) const noexcept;
  // Moves on behind the last sample of a stretch.
  void pass(const EvenStretch& stretch) noexcept;

private:
  bool jumpsSoon(const EvenStretch& stretch) const noexcept;
  void advance(TapState& taps) const noexcept;
};

// The line around a slice that has just been written.
struct LineView {
  const double* line;
  int32_t length;     // samples
  int32_t writeIndex; // 0..length - 1: the slice's first sample

  explicit LineView(const DelayLine& line) noexcept
      : line(line.samples()), length(line.length()), writeIndex(line.writtenFrom()) {}

  // The nearer neighbour of a tap at the slice's sample i; the other one stands before it, if both are on the
  // same side of the line's ends. delay: samples.
  const double* neighbour(int32_t i, double delay) const noexcept;

  // As much of a stretch that begins at sample i as both taps read, in whole vectors of four, before one of
  // them passes the line's end.
  EvenStretch beforeSeam(int32_t i, EvenStretch stretch) const noexcept;

private:
  int32_t samplesToSeam(int32_t i, double delay, double move, int32_t samples) const noexcept;
};
