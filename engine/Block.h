// One block: what the player asks for, and what no later block reads.
#pragma once

#include "engine/ToneFilter.h"

#include <cstdint>

// The parameters that take part in the sound, each 0..1.
struct PedalSettings {
  float onOff; // on at exactly 1
  float tone;
  float color; // one of eight colours, see colorOf
  float pedalPos;
};

// Ramps lead from the value at the end of the block before, in sample 0, to the new one in the last sample.
struct Block {
  int32_t samples;
  PedalSettings settings;
  ToneCoefficients toneStep; // per sample
  double pedalStep;          // per sample
  double jumpDelay;          // samples: where a tap jumps to
  bool fades;                // a switch plays a fade; else every gain is the idle one
  int32_t silentSample;      // the sample at which the colour changes, or `samples`
  int32_t glideStart;        // the sample at which the latest glide of the sweep began
  bool turns;                // the sweep turns around at the end of the block, unless a glide begins before
};

// The value of a ramp at a sample of the block. Sample 0 needs its product too: a step that is not finite
// makes every value of the ramp NaN. Inlined into functions for any processor.
[[gnu::always_inline]] inline double rampAt(double start, double step, int32_t sample) noexcept {
  return start + sample * step;
}
