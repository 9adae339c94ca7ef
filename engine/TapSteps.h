// The step of both taps from one sample to the next.
#pragma once

#include "dsp/lfoTriangle.h"
#include "engine/Crossfade.h"
#include "engine/Slice.h"
#include "engine/TapPair.h"

#include <cstdint>

inline void TapState::advance(double phaseStep, double pitchRatio, double minDelay) noexcept {
  const double next1 = delay1 + 1.0 - pitchRatio;
  const double next2 = delay2 + 1.0 - pitchRatio;
  if (next1 >= minDelay) delay1 = next1;
  if (next2 >= minDelay) delay2 = next2;
  lfoTriangle::advance(phase, falling, phaseStep);
}

// Tells where both taps read at sample i of the slice and moves them on. A tap jumps only where it is not
// heard, its own weight being zero. jumpDelay, minDelay: samples. [audio] Allocates nothing.
inline void followOne(int32_t i, double jumpDelay, double minDelay, double phaseStep, double pitchRatio,
                      TapState& taps, Slice& slice) noexcept {
  const double position = crossfadeAt(taps.phase);
  if (position == 0.0) taps.delay1 = jumpDelay;
  if (1.0 - position == 0.0) taps.delay2 = jumpDelay;
  slice.sweepBuffer[i] = position;
  slice.delay1[i] = taps.delay1;
  slice.delay2[i] = taps.delay2;
  taps.advance(phaseStep, pitchRatio, minDelay);
}
