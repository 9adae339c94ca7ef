// The signal that every case hears: a plucked tone with some noise, the same in each run.
#pragma once

#include <cstdint>

inline constexpr double kBenchRateHz = 48000.0;
inline constexpr int32_t kBenchSamples = 12288; // a multiple of every block size

// kBenchSamples samples within -1..1, none of them denormal.
const double* benchSignal();

// The same, narrowed.
const float* benchSignalFloat();
