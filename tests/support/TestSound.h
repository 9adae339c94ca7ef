// Sound for tests, and the values of Color by their row.
#pragma once

#include <cmath>
#include <vector>

// Deterministic sound of -1..1, never 0 and never the same for long.
inline std::vector<double> testSound(int samples, int from = 0) {
  std::vector<double> sound(samples);
  for (int i = 0; i < samples; ++i)
    sound[i] = 0.6 * std::sin(0.05 * (from + i)) + 0.3 * std::sin(0.31 * (from + i) + 1.0) + 0.01;
  return sound;
}

// The middle of a row's interval of Color values. row: 0..7.
inline float colorOfRow(int row) { return static_cast<float>(row) * 0.125f + 0.0625f; }
