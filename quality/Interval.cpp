#include "quality/Interval.h"

#include "quality/AnalyticSignal.h"
#include "quality/Lengths.h"
#include "quality/TestSounds.h"

#include <cmath>

namespace {

constexpr int kSamples = 1 << 16;
constexpr double kUnsplicedRangeHz = 30.0; // where the pull has no period any range will do

double medianHzOf(const MakeShifter& make, double freqHz, double ratio) {
  const Sound tone = sine(freqHz, settlingFor(ratio) + kSamples);
  return AnalyticSignal(lastOf(make()->play(tone, kShortBlock), kSamples), freqHz * ratio).medianHz();
}

} // namespace

double measuredCents(const MakeShifter& make, double ratio, std::optional<double> spliceRate) {
  const double rangeHz = spliceRate && ratio != 1.0 ? *spliceRate / std::abs(1.0 - ratio) : kUnsplicedRangeHz;
  double sum = 0.0;
  for (int k = 0; k < kIntervalTones; ++k) {
    const double freqHz = toneForHz(ratio) + rangeHz * k / kIntervalTones;
    sum += medianHzOf(make, freqHz, ratio) / freqHz;
  }
  return 1200.0 * std::log2(sum / kIntervalTones);
}
