// Blocks and slices as the tests of single steps make them.
#pragma once

#include "engine/Block.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

inline constexpr double kRate = 44100.0;      // Hz
inline constexpr double kFiveSamples = 312.5; // Hz: a fade of 16 ms is five samples exactly

inline Block blockOf(int32_t samples, PedalSettings settings = {1.0f, 0.8f, 0.5f, 0.0f}) {
  Block block{};
  block.samples = block.silentSample = samples;
  block.settings = settings;
  return block;
}

// The inverse of the samples from a block's first to its last.
inline double perSampleOf(int32_t samples) { return samples >= 2 ? 1.0 / (samples - 1) : 0.0; }

// The pole of the pedal's smoother: a one-pole low pass has a power gain of -3 dB at 5 Hz where
// (1 - p)^2 = g (1 - 2 p cos w + p^2).
inline double smootherPoleAt(double rateHz) {
  const double g = std::pow(10.0, -0.3), c = std::cos(2.0 * 3.14159265358979 * 5.0 / rateHz);
  return (1.0 - g * c - std::sqrt((1.0 - g * c) * (1.0 - g * c) - (1.0 - g) * (1.0 - g))) / (1.0 - g);
}

// Calls step(slice) for each slice of a block, none longer than `longest`.
template <typename Step> void forEachSlice(int32_t samples, int32_t longest, Step step) {
  for (int32_t first = 0; first < samples; first += longest) {
    Slice slice{};
    slice.first = first;
    slice.samples = std::min(longest, samples - first);
    step(slice);
  }
}
