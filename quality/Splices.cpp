#include "quality/Splices.h"

#include "quality/AnalyticSignal.h"
#include "quality/Lengths.h"
#include "quality/LineSpectrum.h"
#include "quality/TestSounds.h"

#include <numeric>

namespace {

constexpr double kToneStepHz = 7.0;
constexpr int kSpliceTones = 4;

// The squares less their mean, an even number of them.
Sound squaredMotion(const Sound& envelope) {
  Sound squares(envelope.begin(), envelope.begin() + static_cast<std::ptrdiff_t>(envelope.size() / 2 * 2));
  for (double& value : squares)
    value *= value;
  const double mean =
      std::accumulate(squares.begin(), squares.end(), 0.0) / static_cast<double>(squares.size());
  for (double& value : squares)
    value -= mean;
  return squares;
}

} // namespace

std::optional<double> splicesPerSecond(const MakeShifter& make, double ratio) {
  const int samples = samplesFor(ratio);
  double mostRipple = kLeastRippleDb;
  std::optional<double> rate;
  for (int k = 0; k < kSpliceTones; ++k) {
    const Sound tone = sine(toneForHz(ratio) + k * kToneStepHz, settlingFor(ratio) + samples);
    const AnalyticSignal heard(lastOf(make()->play(tone, kShortBlock), samples), toneForHz(ratio) * ratio);
    if (heard.rippleDb() <= mostRipple) continue;
    mostRipple = heard.rippleDb();
    rate = LineSpectrum(squaredMotion(heard.envelope())).strongest().hz;
  }
  return rate;
}
