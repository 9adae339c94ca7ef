#include "PlainTriangle.h"

#include <algorithm>

namespace {

PlainFilter smootherAt(double freq, double rateHz) {
  PlainFilterRequest request{0, freq, 0.0, 0.0, 0.0, 0.0, rateHz};
  return PlainFilter(request);
}

} // namespace

PlainTriangle::PlainTriangle(double smoothFreqHz, double startPhase, double rateHz)
    : phase(startPhase), smoothFreq(smoothFreqHz), invRate(1 / rateHz),
      smoother(smootherAt(smoothFreqHz, rateHz)) {}

void PlainTriangle::start(double rate, double upper, double lower, int n, int offset) {
  firstRate = firstCall ? rate : lastRate;
  firstCall = false;
  lastRate = rate;
  slope = n > 1 ? (rate - firstRate) / (n - 1) : 0.0;
  upperDepth = upper;
  lowerDepth = lower;
  first = next = offset;
  end = offset + std::max(n, 0);
  if (static_cast<int>(values.size()) < end) {
    values.resize(end);
    phaseHistory.resize(end);
    directionHistory.resize(end);
  }
}

void PlainTriangle::playTo(int i) {
  while (next <= i)
    playNext();
}

void PlainTriangle::playNext() {
  const double step = (firstRate + (next - first) * slope) * invRate * 2.0;
  phaseHistory[next] = phase;
  directionHistory[next] = falling;

  const double b = (phase - 0.5) * 2.0;
  double v = (b > 0 ? upperDepth : lowerDepth) * 10.0 * b;
  if (v > 1.0) v = 1.0;
  if (v < -1.0) v = -1.0;
  double value = v * 0.5 + 0.5;
  if (smoothFreq > 0) value = smoother.run(value);
  values[next] = std::max(value, 0.0);

  const double p = falling ? phase - step : phase + step;
  if (p >= 1.0) {
    phase = 1.0;
    falling = true;
  } else if (!(p > 0.0)) {
    phase = 0.0;
    falling = false;
  } else {
    phase = p;
  }
  ++next;
}
