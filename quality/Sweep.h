// What a moving pedal adds to the sound.
#pragma once

#include "quality/Shifter.h"

struct Sweep {
  double
      largestStep; // from one sample to the next, as a share of the amplitude that a sine as loud would have
  double highDb;   // power from kHighHz up, dB relative to all
};

// A sine of 220 Hz while the pedal goes from the heel to the toe and back once per second, set anew before
// each block. blockSamples: kShortBlock or kLongBlock. Allocates.
Sweep measuredSweep(const MakeShifter& make, int blockSamples);

inline constexpr double kHighHz = 4000.0;
inline constexpr double kSweptHz = 220.0;

// Heel at 0 s, toe at 0.5 s, a cosine between, again each second.
double rockingPedal(double seconds);
