// When the pedal's smoother comes to rest.
#pragma once

#include <cstdint>

// Samples at 48 kHz, counted from the move.
struct Tail {
  int64_t start; // the smoothed position narrowed to float changes no more
  int64_t end;   // the smoothed position changes no more
};

// Runs the smoother from a settled position to another, in a block of 64 and then still, as the effect does.
// from, to: 0..1.
Tail findTail(float from, float to);
