#include "quality/Lengths.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr double kToneHz = 1000.0;
constexpr int kFewestSamples = 1 << 17;
constexpr int kMostSamples = 1 << 20;
constexpr double kSplices = 10.0;
constexpr double kPieceSeconds = 0.06;
constexpr double kLatencySeconds = 0.7;
constexpr double kCutSeconds = 0.07; // two pieces that overlap by half, and some more

} // namespace

double toneForHz(double ratio) { return std::max(kToneHz, kLowestShiftedHz / ratio); }

int samplesFor(double ratio) {
  if (ratio == 1.0) return kFewestSamples;
  const double wanted = kSplices * kPieceSeconds / std::abs(1.0 - ratio) * kRateHz;
  const double bounded = std::clamp(wanted, double(kFewestSamples), double(kMostSamples));
  return static_cast<int>(std::bit_ceil(static_cast<unsigned>(bounded)));
}

int settlingFor(double ratio) {
  const double cutting = ratio == 1.0 ? 0.0 : kCutSeconds / std::abs(1.0 - ratio);
  return samplesIn(kLatencySeconds + cutting);
}

Sound lastOf(const Sound& sound, int samples) { return {sound.end() - samples, sound.end()}; }
