// The pedal's way: from one position to the next along each block, smoothed from sample to sample.
#pragma once

#include "dsp/IIRFilter.h"
#include "engine/RealTime.h"

#include <cstdint>

struct Block;
struct Slice;

class PedalMotion {
public:
  PedalMotion() = default;
  ~PedalMotion();
  PedalMotion(const PedalMotion&) = delete;
  PedalMotion& operator=(const PedalMotion&) = delete;

  // Makes the smoother for a sample rate in Hz and puts the pedal at the heel. Allocates; throws
  // std::bad_alloc. [host, processing stopped]
  void build(double rateHz);
  // Frees the smoother. [host, processing stopped]
  void release() noexcept;

  // Starts steady at a position of 0..1. [audio] This and all below allocates nothing.
  void settleAt(float position) noexcept TREADSHIFT_REALTIME;

  // Sets how the pedal moves along the block. perSample: the inverse of the samples from the first to the
  // last.
  void begin(Block& block, double perSample) const noexcept TREADSHIFT_REALTIME;

  // Follows the pedal along a slice: which samples it moves at, and the float from which each sample's pitch
  // is made. A sample at which it moves takes its own, any other that of the sample before; before the first,
  // pitchPedal.
  void follow(const Block& block, Slice& slice, float pitchPedal) noexcept TREADSHIFT_REALTIME;

  // Remembers where the block's ramp led.
  void end(const Block& block) noexcept TREADSHIFT_REALTIME;

  // For fast/, in a block whose ramp is flat.
  // Whether the smoother has arrived, to the bit, so that no sample moves the pedal.
  bool isSteady(const Block& block) const noexcept TREADSHIFT_REALTIME;
  // Whether the smoother moves on only inside the doubles that narrow to pitchPedal, so that every move makes
  // the same pitch again.
  bool keepsPitch(float pitchPedal, const Block& block) const noexcept TREADSHIFT_REALTIME;
  // The smoother's recursion: its next state is pole() * state() + input(block).
  double pole() const noexcept { return pedalSmoother->ff0; }
  double input(const Block& block) const noexcept { return pedalSmoother->fb1 * rampValue(block, 0); }
  double state() const noexcept { return pedalSmoother->state1; }
  // Takes over the state after the last sample.
  void arriveAt(double position) noexcept { lastSmoothedPedal = pedalSmoother->state1 = position; }

  bool isFinite() const noexcept;

private:
  double rampValue(const Block& block, int32_t sample) const noexcept TREADSHIFT_REALTIME;

  IIRFilter* pedalSmoother = nullptr; // owned, null until built: 5 Hz
  double lastPedal = 0.0;             // 0..1: where the ramp of the block before led
  double lastSmoothedPedal = 0.0;     // 0..1: of the sample before
};
