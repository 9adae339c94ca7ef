// The recursions of a chunk, in which each sample waits for the one before.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "effect/Chunk.h"

#include <bit>
#include <cstdint>

// Shift filter, the branches of the tone filter and, while the pedal stays, its smoother. All run in one loop
// with their state in locals: while one waits for its own sample before, the others fill the time. [audio]
struct FilterRun {
  double ff0, ff1, ff2, fb1, fb2; // shift filter, see IIRFilter
  double k1, k2, k1Step, k2Step;  // poles of the tone branches where the block starts, and per sample
  double pedalPole, pedalInput;   // smoother: its pole, and the pedal times its input gain
  double state1, state2;          // of the shift filter
  double low, high;               // states of the tone branches
  double pedal;                   // 0..1, smoothed

  // True when no sample changes the poles of the tone branches.
  bool toneStays() const noexcept { return k1Step == 0.0 && k2Step == 0.0; }
  // True when no sample changes the smoothed pedal, to the bit.
  bool pedalStays() const noexcept {
    return std::bit_cast<uint64_t>(pedalPole * pedal + pedalInput) == std::bit_cast<uint64_t>(pedal);
  }

  // Takes samples begin to end - 1 of chunk.shifted and writes the states of the tone branches after each.
  // kToneStays, kPedalStays: leave out what changes nothing; false is always right.
  template <bool kToneStays, bool kPedalStays>
  [[gnu::always_inline]] void run(Chunk& chunk, int32_t begin, int32_t end) noexcept;
};

template <bool kToneStays, bool kPedalStays>
inline void FilterRun::run(Chunk& chunk, int32_t begin, int32_t end) noexcept {
  FilterRun f = *this;
  const double steadyK1 = k1 + 0.0 * k1Step, steadyK2 = k2 + 0.0 * k2Step;
#pragma GCC unroll 1 // several samples at once run out of registers
  for (int32_t i = begin; i < end; ++i) {
    const double x = chunk.shifted[i];
    const double y = f.ff0 * x + f.state1;
    f.state1 = f.ff1 * x + f.state2 + f.fb1 * y;
    f.state2 = f.ff2 * x + f.fb2 * y;
    const double half = y * 0.5;
    const int32_t inBlock = chunk.first + i;
    f.low = half + (kToneStays ? steadyK1 : k1 + inBlock * k1Step) * (f.low - half);
    f.high = half + (kToneStays ? steadyK2 : k2 + inBlock * k2Step) * (f.high + half);
    if (!kPedalStays) f.pedal = f.pedalPole * f.pedal + f.pedalInput;
    chunk.low[i + 1] = f.low;
    chunk.high[i + 1] = f.high;
  }
  state1 = f.state1;
  state2 = f.state2;
  low = f.low;
  high = f.high;
  pedal = f.pedal;
}
