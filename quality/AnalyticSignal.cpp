#include "quality/AnalyticSignal.h"

#include "quality/Fourier.h"
#include "quality/Quantile.h"

#include <algorithm>
#include <cmath>
#include <numbers>

AnalyticSignal::AnalyticSignal(const Sound& sound, double aroundHz) {
  const int size = static_cast<int>(sound.size());
  Bins bins = transform(sound);
  const auto end = static_cast<std::size_t>(2.0 * aroundHz / kRateHz * size);
  for (std::size_t bin = end; bin < bins.size(); ++bin)
    bins[bin] = 0.0;
  const auto values = oneSidedInverse(bins, size);
  for (int n = kEdgeSamples; n < size - kEdgeSamples; ++n) {
    magnitudes.push_back(std::abs(values[n]));
    frequencies.push_back(std::arg(values[n] * std::conj(values[n - 1])) * kRateHz /
                          (2.0 * std::numbers::pi));
  }
}

double AnalyticSignal::medianHz() const { return quantile(frequencies, 0.5); }

double AnalyticSignal::rippleDb() const {
  const double loud = quantile(magnitudes, 0.99), quiet = quantile(magnitudes, 0.01);
  if (loud == 0.0) return 0.0;
  return std::min(20.0 * std::log10(loud / std::max(quiet, 1e-300)), kMostRippleDb);
}
