#include "engine/fast/FreeTaps.h"

#include "dsp/ExactArithmetic.h"
#include "engine/TapSteps.h"

#include <algorithm>

int32_t followFreely(int32_t i, double minDelay, TapState& state, Slice& slice) noexcept {
  TapState taps = state;
  for (; i < slice.samples; ++i) {
    const double position = crossfadeAt(taps.phase);
    if (position == 0.0 || position == 1.0) break;
    const double next1 = taps.delay1 + 1.0 - slice.pitchRatio[i];
    const double next2 = taps.delay2 + 1.0 - slice.pitchRatio[i];
    if (!(next1 >= minDelay) || !(next2 >= minDelay)) break;
    slice.sweepBuffer[i] = position;
    slice.delay1[i] = taps.delay1;
    slice.delay2[i] = taps.delay2;
    taps.delay1 = next1;
    taps.delay2 = next2;
    lfoTriangle::advance(taps.phase, taps.falling, slice.phaseStep[i]);
  }
  state = taps;
  return i;
}

// Of each glide but the last one only the first step is played, and the next one starts from the rate that it
// was bound for.
int32_t glideAtEverySample(lfoTriangle& sweep, Slice& slice) noexcept {
  const int32_t last = slice.samples - 1;
  if (std::find(slice.moved, slice.moved + slice.samples, false) != slice.moved + slice.samples) return 0;
  slice.sweepRate[0] = sweep.lastRate;
  for (int32_t i = 0; i < last; ++i)
    slice.phaseStep[i] = sweep.firstStep(slice.sweepRate[i], slice.sweepRate[i + 1] - slice.sweepRate[i]);
  sweep.lastRate = slice.sweepRate[last];
  return last;
}
