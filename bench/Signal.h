// What the cases hear: a plucked tone with some noise, the same in each run, or next to nothing.
#pragma once

#include <cstdint>

inline constexpr double kBenchRateHz = 48000.0;
inline constexpr int32_t kBenchSamples = 12288; // a multiple of every block size

// kBenchSamples samples within -1..1, none of them denormal.
const double* benchSignal();

// As many zeros, and as many denormal numbers of both signs.
const double* benchSilence();
const double* benchDenormals();

// The signal, narrowed.
const float* benchSignalFloat();
