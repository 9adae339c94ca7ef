// Sounds that are measured: one channel at 48 kHz.
#pragma once

#include <vector>

inline constexpr double kRateHz = 48000.0;

using Sound = std::vector<double>; // samples

// Whole samples in a time. seconds: 0 or more.
inline int samplesIn(double seconds) { return static_cast<int>(seconds * kRateHz + 0.5); }
