#include "PlainOscillator.h"

#include <cmath>

namespace {

double limited(double v) { return v > 1.0 ? 1.0 : v < -1.0 ? -1.0 : v; }

double deepened(double b, double upper, double lower) {
  const double depth = b > 0.0 ? upper : lower;
  return limited(depth * 10.0 * b);
}

double sineOf(double x) {
  const double q = x * x;
  double y = -0.004333095;
  for (double coefficient : {0.0794343442, -0.6458928493, 1.570791011})
    y = y * q + coefficient;
  return y * x;
}

double aboutMiddle(double phase) { return (phase - 0.5) * 2.0; }

PlainFilter lowPassAt(double freqHz, double rateHz) {
  PlainFilterRequest request{0, freqHz, 0.0, 0.0, 0.0, 0.0, rateHz};
  return PlainFilter(request);
}

} // namespace

PlainOscillator::PlainOscillator(Wave wave, double smoothFreq, double startPhase, double rateHz)
    : phase(startPhase), wave(wave), smoothFreq(smoothFreq), rateHz(rateHz),
      lowPass(lowPassAt(smoothFreq, rateHz)) {}

double PlainOscillator::stepAt(double rate, int i, int n) const {
  const double perHertz = 1.0 / rateHz;
  const double slope = n > 1 ? (rate - lastRate) / static_cast<double>(n - 1) : 0.0;
  switch (wave) {
  case Wave::sine:
    return (lastRate + i * slope) * perHertz * 2.0;
  case Wave::halfSine:
  case Wave::saw:
  case Wave::reverseSaw:
    return (lastRate + i * slope) * perHertz;
  default:
    return rate * perHertz;
  }
}

double PlainOscillator::shape(double upper, double lower) const {
  switch (wave) {
  case Wave::saw:
  case Wave::reverseSaw:
    return deepened(aboutMiddle(phase), upper, lower) * 0.5 + 0.5;
  case Wave::sine:
    return deepened(sineOf(aboutMiddle(std::fabs(phase))), upper, lower) * 0.5 + 0.5;
  case Wave::halfSine:
    return std::fabs(deepened(sineOf(aboutMiddle(std::fabs(phase))), upper, lower));
  case Wave::triangle2: {
    const double v = deepened(aboutMiddle(std::fabs(phase)), upper, lower);
    return v * v;
  }
  case Wave::rectangular:
    return aboutMiddle(phase) > 0.0 ? 1.0 : 0.0;
  default:
    return held;
  }
}

double PlainOscillator::smoothed(double value) {
  const bool hasSmoother = wave != Wave::sine && wave != Wave::halfSine && wave != Wave::random;
  if (!hasSmoother) return value;
  const double out = smoothFreq > 0.0 ? lowPass.run(value) : value;
  return out < 0.0 ? 0.0 : out;
}

void PlainOscillator::advance(double step) {
  if (wave == Wave::reverseSaw) {
    phase = phase == 0.0 ? 1.0 : phase - step;
    if (phase < 0.0) phase = 0.0;
    return;
  }
  const double bottom = wave == Wave::sine ? -1.0 : 0.0;
  phase = phase == 1.0 ? bottom : phase + step;
  if (phase > 1.0) phase = 1.0;
}

// The top 23 of 32 bits as a fraction: what a float of exponent 0 with these mantissa bits has above 1.
double PlainOscillator::randomValue() {
  seed = (seed * 1664525 + 1013904223) % 4294967296ULL;
  return static_cast<double>(seed / 512) / 8388608.0;
}

std::vector<double> PlainOscillator::block(double rate, double upper, double lower, int n) {
  std::vector<double> out;
  for (int i = 0; i < n; ++i) {
    const double step = stepAt(rate, i, n);
    if (wave == Wave::random) {
      advance(step);
      if (phase == 0.0) held = randomValue();
      out.push_back(held);
      continue;
    }
    out.push_back(smoothed(shape(upper, lower)));
    advance(step);
  }
  lastRate = rate;
  return out;
}
