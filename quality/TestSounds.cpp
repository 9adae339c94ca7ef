#include "quality/TestSounds.h"

#include <cmath>
#include <numbers>

Sound sine(double freqHz, int samples, double amplitude) {
  Sound sound(static_cast<std::size_t>(samples));
  for (int n = 0; n < samples; ++n)
    sound[n] = amplitude * std::sin(2.0 * std::numbers::pi * freqHz / kRateHz * n);
  return sound;
}

Sound chord(const std::vector<double>& freqsHz, int samples, double amplitude) {
  Sound sound(static_cast<std::size_t>(samples));
  const auto tones = static_cast<double>(freqsHz.size());
  for (std::size_t k = 0; k < freqsHz.size(); ++k) {
    const double start = std::numbers::pi * static_cast<double>(k * k) / tones;
    for (int n = 0; n < samples; ++n)
      sound[n] += amplitude * std::sin(2.0 * std::numbers::pi * freqsHz[k] / kRateHz * n + start);
  }
  return sound;
}

Sound impulses(int interval, int samples) {
  Sound sound(static_cast<std::size_t>(samples));
  for (int n = 0; n < samples; n += interval)
    sound[n] = 1.0;
  return sound;
}

Sound level(double value, int samples) { return Sound(static_cast<std::size_t>(samples), value); }
