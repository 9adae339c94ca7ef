// Sound for tests.
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
