// Tones and lengths that suit an interval. ratio: the intended one, above 0.
#pragma once

#include "quality/Sound.h"

// A tone for this ratio: 1 kHz, or as much more as it takes for the shifted one to reach kLowestShiftedHz.
double toneForHz(double ratio);

inline constexpr double kLowestShiftedHz = 300.0;

// Samples enough for several splices of a shifter whose pieces are 60 ms or shorter: a power of two, from 2.7
// to 22 s.
int samplesFor(double ratio);

// Samples after which a shifter has settled: longer than any latency met here, and as long as it takes until
// all it sounds are pieces that it has cut since the start. A small interval lets it take its time.
int settlingFor(double ratio);

// A sound's end, of this many samples, at most its length. Allocates.
Sound lastOf(const Sound& sound, int samples);
