// Same bits as moving the taps sample by sample, faster: stretches along which phase and delays change by the
// same amounts exactly, so that each value is start + j * move and several can be had at once.
#pragma once

#include "engine/DelayLine.h"
#include "engine/RealTime.h"
#include "engine/TapPair.h"

#include <cstdint>

// The delays lie between the same two powers of two, from 1 sample on.
struct Stretch {
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

  // The stretch that begins here, of `most` samples or less. It may be found shorter than it is.
  Stretch stretch(int32_t most) const noexcept TREADSHIFT_REALTIME;
  // Moves on behind the last sample of a stretch.
  void pass(const Stretch& stretch) noexcept TREADSHIFT_REALTIME;

private:
  bool jumpsSoon(const Stretch& stretch) const noexcept TREADSHIFT_REALTIME;
  void advance(TapState& taps) const noexcept TREADSHIFT_REALTIME;
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
  const double* neighbour(int32_t i, double delay) const noexcept TREADSHIFT_REALTIME;

  // As much of a stretch that begins at sample i as both taps read, in whole vectors of four, before one of
  // them passes the line's end.
  Stretch beforeSeam(int32_t i, Stretch stretch) const noexcept TREADSHIFT_REALTIME;

private:
  int32_t samplesToSeam(int32_t i, double delay, double move,
                        int32_t samples) const noexcept TREADSHIFT_REALTIME;
};
