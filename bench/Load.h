// Many effects on one core, played in turns as a host plays them.
#pragma once

#include "bench/Percentile.h"

#include <cstdint>
#include <string>

inline constexpr int kLoadEffects = 200;

// A period is the time that a block lasts; all effects have to be done with theirs in it. What they take is
// the processor's time: what the system gives to others meanwhile does not count.
struct Load {
  int32_t block; // samples
  int runs;      // performances played, all the same
  Spread best;   // per period, of the run whose worst period was the shortest: share of the period, 0 and up
  int bestLate;  // periods of that run that were not done in time
  Spread least;  // each period taken from the run in which it was fastest
  int leastLate; // periods of these that were not done in time
  Spread blocks; // per block, each from the run in which it was fastest: ns
};

// Plays kLoadEffects effects at 48 kHz through the same performance again and again until `seconds` have
// passed, three times at least; every pedal moves on its own. Periods begin when time has come and the ones
// before are done: one that takes too long makes the next ones late. modulePath: throws EffectError when it
// cannot be loaded. audioSeconds: length of the performance. [allocates]
Load findLoad(const std::string& modulePath, int32_t block, double audioSeconds, double seconds);
