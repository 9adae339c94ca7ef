// Same bits as the low pass, the tone filter and the pedal's smoother one after another, faster: in one loop
// with their states in locals, where each has the time in which another waits for its own sample before.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "dsp/IIRFilter.h"
#include "engine/Block.h"
#include "engine/Slice.h"
#include "engine/ToneFilter.h"

#include <bit>
#include <cstdint>

// The pedal's smoother while its input is steady.
struct SmootherRun {
  double pole, input; // the input times its gain
  double state;       // 0..1, the smoothed pedal

  // Whether no sample changes the state, to the bit.
  bool isSteady() const noexcept {
    return std::bit_cast<uint64_t>(pole * state + input) == std::bit_cast<uint64_t>(state);
  }
};

// The filters of a block. [audio] Allocates nothing.
class JointFilters {
public:
  // The filters, which it moves on; all have to outlive it.
  JointFilters(const Block& block, IIRFilter& lowPass, ToneFilter& toneFilter) noexcept
      : shift(lowPass), branches(toneFilter.lendBranches()), lowPole(toneFilter.start().lowPole),
        highPole(toneFilter.start().highPole), lowStep(block.toneStep.lowPole),
        highStep(block.toneStep.highPole) {}

  // Whether no sample changes the poles of the tone filter.
  bool isToneSteady() const noexcept { return lowStep == 0.0 && highStep == 0.0; }

  // Writes the states of the tone filter's branches before the slice.
  void begin(Slice& slice) const noexcept {
    slice.low[0] = branches.toneLowState;
    slice.high[0] = branches.toneHighState;
  }

  // Takes samples begin to end - 1 of slice.shifted and writes the states of the tone filter's branches after
  // each. kSteadyTone, kSteadyPedal: leave out what changes nothing; false is always right.
  template <bool kSteadyTone, bool kSteadyPedal>
  [[gnu::always_inline]] void run(Slice& slice, int32_t begin, int32_t end, SmootherRun& pedal) noexcept;

private:
  IIRFilter& shift;
  ToneBranches& branches;
  double lowPole, highPole, lowStep, highStep; // at the block's start, and per sample
};

template <bool kSteadyTone, bool kSteadyPedal>
inline void JointFilters::run(Slice& slice, int32_t begin, int32_t end, SmootherRun& pedal) noexcept {
  const double ff0 = shift.ff0, ff1 = shift.ff1, ff2 = shift.ff2, fb1 = shift.fb1, fb2 = shift.fb2;
  const double pole = pedal.pole, input = pedal.input;
  double state1 = shift.state1, state2 = shift.state2, position = pedal.state;
  ToneBranches tone = branches;
  const double steadyLow = rampAt(lowPole, lowStep, 0), steadyHigh = rampAt(highPole, highStep, 0);
#pragma GCC unroll 1 // several samples at once run out of registers
  for (int32_t i = begin; i < end; ++i) {
    const double x = slice.shifted[i];
    const double y = ff0 * x + state1;
    state1 = ff1 * x + state2 + fb1 * y;
    state2 = ff2 * x + fb2 * y;
    const int32_t inBlock = slice.first + i;
    tone.step(y * 0.5, kSteadyTone ? steadyLow : rampAt(lowPole, lowStep, inBlock),
              kSteadyTone ? steadyHigh : rampAt(highPole, highStep, inBlock));
    if (!kSteadyPedal) position = pole * position + input;
    slice.low[i + 1] = tone.toneLowState;
    slice.high[i + 1] = tone.toneHighState;
  }
  shift.state1 = state1;
  shift.state2 = state2;
  branches = tone;
  pedal.state = position;
}
