// The longest block of a long performance in which everything moves.
#pragma once

#include "bench/Percentile.h"

#include <string>

// Of all blocks of 64 samples but the first thousand, ns per block.
struct WorstBlock {
  int runs;     // performances played, all the same
  Spread best;  // the run whose worst block was the shortest
  Spread least; // each block taken from the run in which it was fastest
};

// Plays the same performance at 48 kHz again and again until `seconds` have passed, three times at least: a
// new pedal position and a new Tone before every block, On/Off and Color now and then. An interruption by
// the system hits another block in each run, so the fastest time of each block is the effect's own.
// modulePath: throws EffectError when it cannot be loaded. minutes: of audio, more than 0. [allocates]
WorstBlock findWorstBlock(const std::string& modulePath, double minutes, double seconds);
