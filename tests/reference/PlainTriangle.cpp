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

void PlainTriangle::run(double rate, double upperDepth, double lowerDepth, int n, double* out,
                        int historyOffset) {
  if (firstCall) {
    lastRate = rate;
    firstCall = false;
  }
  if (n < 1) {
    lastRate = rate;
    return;
  }
  const std::size_t needed = static_cast<std::size_t>(historyOffset) + n;
  if (phaseHistory.size() < needed) {
    phaseHistory.resize(needed);
    directionHistory.resize(needed);
  }

  const double slope = n == 1 ? 0.0 : (rate - lastRate) / (n - 1);
  for (int i = 0; i < n; ++i) {
    const double step = (lastRate + i * slope) * invRate * 2.0;
    phaseHistory[historyOffset + i] = phase;
    directionHistory[historyOffset + i] = falling;

    const double b = (phase - 0.5) * 2.0;
    double v = (b > 0 ? upperDepth : lowerDepth) * 10.0 * b;
    if (v > 1.0) v = 1.0;
    if (v < -1.0) v = -1.0;
    double value = v * 0.5 + 0.5;
    if (smoothFreq > 0) value = smoother.run(value);
    value = std::max(value, 0.0);

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
    out[i] = value;
  }
  lastRate = rate;
}
