#include "quality/Sweep.h"

#include "quality/Lengths.h"
#include "quality/LineSpectrum.h"
#include "quality/TestSounds.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace {

constexpr int kSweepSamples = 1 << 17; // 2.7 sweeps

double largestStepOf(const Sound& sound) {
  double largest = 0.0;
  for (std::size_t n = 1; n < sound.size(); ++n)
    largest = std::max(largest, std::abs(sound[n] - sound[n - 1]));
  return largest;
}

double amplitudeOf(const Sound& sound) {
  const double power = std::inner_product(sound.begin(), sound.end(), sound.begin(), 0.0);
  return std::sqrt(2.0 * power / static_cast<double>(sound.size()));
}

} // namespace

double rockingPedal(double seconds) { return 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * seconds); }

Sweep measuredSweep(const MakeShifter& make, int blockSweepSamples) {
  const Sound tone = sine(kSweptHz, settlingFor(1.0) + kSweepSamples);
  const Sound heard = lastOf(make()->play(tone, blockSweepSamples, rockingPedal), kSweepSamples);
  return {largestStepOf(heard) / amplitudeOf(heard), LineSpectrum(heard).shareAboveDb(kHighHz)};
}
