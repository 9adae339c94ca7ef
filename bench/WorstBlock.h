// The longest block of a long performance in which everything moves.
#pragma once

#include <string>

// Of all blocks of 64 samples but the first thousand.
struct WorstBlock {
  int runs;                     // performances played, all the same
  double p50, p99, p999, worst; // ns per block, in the run whose worst block was the shortest
  double leastP50, leastP999,
      leastWorst; // ns per block, each block taken from the run in which it was fastest
};

// Plays the same ten minutes at 48 kHz again and again until `seconds` have passed, three times at least: a
// new pedal position and a new Tone before every block, On/Off and Color now and then. An interruption by
// the system hits another block in each run, so the fastest time of each block is the effect's own.
// minutes: of audio. [allocates]
WorstBlock findWorstBlock(const std::string& modulePath, double minutes, double seconds);
