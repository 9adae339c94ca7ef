// How late the shifted sound comes, and how far it is torn apart.
#pragma once

#include "quality/Shifter.h"

#include <optional>

struct Delay {
  double medianMs;   // half of the energy is back by then
  double shortestMs; // 1 % of it
  double longestMs;  // 99 % of it
  double spreadMs;   // from 5 to 95 % of the energy of one impulse, median over the impulses that come back
  double lostShare;  // 0..1: impulses of which less than a tenth of the loudest one's energy comes back
};

// Sends kImpulses impulses at uneven distances around a third of a second, so that they meet the shifter at
// every stage of its own motion, and looks at the energy that comes back after each. The first three answers
// are of all impulses together. ratio: the intended one. Result: nothing when nothing comes back. Allocates.
std::optional<Delay> measuredDelay(const MakeShifter& make, double ratio);

inline constexpr int kImpulses = 128;
