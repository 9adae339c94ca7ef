#include "bench/Signal.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace {

std::vector<double> makeSignal() {
  constexpr double kToneHz = 147.0;
  constexpr int kHarmonics = 12;
  std::minstd_rand noise(20); // any seed: only the values' ordinariness matters
  std::vector<double> signal(kBenchSamples);
  for (int32_t i = 0; i < kBenchSamples; ++i) {
    double x = 1e-4 * (static_cast<double>(noise()) / std::minstd_rand::max() - 0.5);
    for (int h = 1; h <= kHarmonics; ++h)
      x += 0.3 / h * std::sin(2.0 * std::numbers::pi * h * kToneHz * i / kBenchRateHz + h * h);
    signal[i] = x;
  }
  return signal;
}

std::vector<double> makeDenormals() {
  std::minstd_rand noise(21); // any seed
  std::vector<double> signal(kBenchSamples);
  for (double& x : signal)
    x = (static_cast<double>(noise()) / std::minstd_rand::max() - 0.5) * std::numeric_limits<double>::min();
  return signal;
}

} // namespace

const double* benchSignal() {
  static const std::vector<double> signal = makeSignal();
  return signal.data();
}

const double* benchSilence() {
  static const std::vector<double> silence(kBenchSamples);
  return silence.data();
}

const double* benchDenormals() {
  static const std::vector<double> signal = makeDenormals();
  return signal.data();
}

const float* benchSignalFloat() {
  static const std::vector<float> signal(benchSignal(), benchSignal() + kBenchSamples);
  return signal.data();
}
