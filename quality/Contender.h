// A pitch shifter as the comparison sees it: a pedal that reaches from an octave down to an octave up.
#pragma once

#include "quality/Shifter.h"

#include <string>
#include <vector>

struct Contender {
  std::string key;    // one word, for the page's places
  std::string name;   // as the page shows it
  bool reachesOctave; // else it is compared at the smallest interval alone
  // pedal: where it starts, 0 an octave down .. 1 an octave up. blockSamples: the longest block that will
  // come.
  std::function<std::unique_ptr<Shifter>(double pedal, int blockSamples)> make;
};

// The pedal position for an interval. cents: -1200..1200.
constexpr double pedalFor(double cents) { return (cents + 1200.0) / 2400.0; }
