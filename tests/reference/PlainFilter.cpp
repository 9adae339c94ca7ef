#include "PlainFilter.h"

#include <cmath>

namespace {

constexpr double kPi = 3.141592653589794; // the filters' own pi, a little above the true one
constexpr double kRoot2 = 1.4142135623730951;

} // namespace

PlainFilter::PlainFilter(PlainFilterRequest& request) { design(request); }

void PlainFilter::design(PlainFilterRequest& request) {
  if (request.q <= 0) request.q = 1.0;
  double f = request.freq > 0 ? request.freq : 20.0;
  if (f > 0.5 * request.sampleRate) f = 0.5 * request.sampleRate;
  request.freq = f;

  const double fs = request.sampleRate;
  const double q = request.q;
  const double k = std::tan(kPi * f / fs);
  const double k1 = std::tan(kPi * request.freqLow / fs);
  const double k2 = std::tan(kPi * request.freqHigh / fs);
  const double kk = k * k;
  const double k1k2 = k1 * k2;

  fb1 = fb2 = ff0 = ff1 = ff2 = 0.0;
  smoother = false;
  if (request.type == 0) { // first-order low-pass
    const double d = 1 + k;
    ff0 = k / d;
    ff1 = k / d;
    fb1 = (1 - k) / d;
  } else if (request.type == 1) { // first-order high-pass
    const double d = 1 + k;
    ff0 = 1 / d;
    ff1 = -1 / d;
    fb1 = (1 - k) / d;
  } else if (request.type == 2 || request.type == 3) { // Butterworth low-pass, high-pass
    const double d = 1 + kRoot2 * k + kk;
    ff0 = request.type == 2 ? kk / d : 1 / d;
    ff1 = request.type == 2 ? 2 * kk / d : -2 / d;
    ff2 = ff0;
    fb1 = -2 * (kk - 1) / d;
    fb2 = -(1 - kRoot2 * k + kk) / d;
  } else if (request.type == 4 || request.type == 5) { // band-pass, band-stop between two edges
    const double d = 1 - k1 + k2 + k1k2;
    ff0 = request.type == 4 ? (k2 - k1) / d : (k1k2 + 1) / d;
    ff1 = request.type == 4 ? 0.0 : 2 * (k1k2 - 1) / d;
    ff2 = request.type == 4 ? -(k2 - k1) / d : (k1k2 + 1) / d;
    fb1 = -2 * (k1k2 - 1) / d;
    fb2 = -(1 + k1 - k2 + k1k2) / d;
  } else if (request.type == 6 || request.type == 7) { // low-pass, high-pass with Q
    const double d = 1 + kk + kRoot2 * k / q;
    ff0 = request.type == 6 ? kk / d : 1 / d;
    ff1 = request.type == 6 ? 2 * kk / d : -2 / d;
    ff2 = ff0;
    fb1 = -2 * (kk - 1) / d;
    fb2 = -(1 + kk - kRoot2 * k / q) / d;
  } else if (request.type == 8 || request.type == 9) { // band-pass, notch with Q
    const double d = 1 + kk + k / q;
    ff0 = request.type == 8 ? k / q / d : (1 + kk) / d;
    ff1 = request.type == 8 ? 0.0 : 2 * (kk - 1) / d;
    ff2 = request.type == 8 ? -(k / q) / d : (1 + kk) / d;
    fb1 = -2 * (kk - 1) / d;
    fb2 = -(1 + kk - k / q) / d;
  } else if (request.type == 10) {
    designPeaking(k, q, request.gainDb);
  } else if (request.type == 11) { // low shelf
    const double d = 1 + k;
    const double g = std::pow(10.0, request.gainDb / 20);
    ff0 = (1 + g * k) / d;
    ff1 = (g * k - 1) / d;
    fb1 = (1 - k) / d;
  } else if (request.type == 12) { // high shelf
    const double d = 1 + k;
    const double g = 1 / std::pow(10.0, -request.gainDb / 20);
    ff0 = (k + g) / d;
    ff1 = (k - g) / d;
    fb1 = (1 - k) / d;
  } else {
    designSmoother(f, fs);
  }

  if (lastType != request.type) refresh();
  lastType = request.type;
}

void PlainFilter::designPeaking(double k, double q, double gainDb) {
  const double kk = k * k;
  const double a = 1 + kk;
  if (gainDb > 0) {
    const double g = std::pow(10.0, gainDb / 20);
    const double d = a + k / q;
    ff0 = (a + g * k / q) / d;
    ff1 = 2 * (kk - 1) / d;
    ff2 = (a - g * k / q) / d;
    fb2 = -(a - k / q) / d;
  } else {
    const double g = std::pow(10.0, -gainDb / 20);
    const double d = a + g * k / q;
    ff0 = (a + k / q) / d;
    ff1 = 2 * (kk - 1) / d;
    ff2 = (a - k / q) / d;
    fb2 = -(a - g * k / q) / d;
  }
  fb1 = -ff1;
}

// The pole whose power gain at `freq` is g.
void PlainFilter::designSmoother(double freq, double sampleRate) {
  const double g = 0.5011872337;
  const double c = std::cos(2 * kPi * freq / sampleRate);
  const double p = ((g * c - 1) + std::sqrt((c - 1) * g * ((g * c - 2) + g))) / -0.4988127663;
  ff0 = p;
  fb1 = 1 - p;
  smoother = true;
}

double PlainFilter::runWith(double b1, double b2, double a0, double a1, double a2, double x) {
  if (smoother) {
    const double y = a0 * state1 + b1 * x;
    state1 = y;
    return y;
  }
  const double y = a0 * x + state1;
  state1 = a1 * x + state2 + b1 * y;
  state2 = a2 * x + b2 * y;
  return y;
}

double PlainFilter::run(double x) { return runWith(fb1, fb2, ff0, ff1, ff2, x); }

void PlainFilter::glideTo(PlainFilterRequest& request, int n) {
  oldFb1 = fb1;
  oldFb2 = fb2;
  oldFf0 = ff0;
  oldFf1 = ff1;
  oldFf2 = ff2;
  design(request);
  glideLength = n;
  const double perSample = 1.0 / n;
  stepFb1 = (fb1 - oldFb1) * perSample;
  stepFb2 = (fb2 - oldFb2) * perSample;
  stepFf0 = (ff0 - oldFf0) * perSample;
  stepFf1 = (ff1 - oldFf1) * perSample;
  stepFf2 = (ff2 - oldFf2) * perSample;
  glidePosition = 0.0;
}

double PlainFilter::runGliding(double x) {
  const double t = glidePosition;
  const double y = runWith(oldFb1 + stepFb1 * t, oldFb2 + stepFb2 * t, oldFf0 + stepFf0 * t,
                           oldFf1 + stepFf1 * t, oldFf2 + stepFf2 * t, x);
  if (glidePosition == glideLength) {
    oldFb1 = fb1;
    oldFb2 = fb2;
    oldFf0 = ff0;
    oldFf1 = ff1;
    oldFf2 = ff2;
    stepFb1 = stepFb2 = stepFf0 = stepFf1 = stepFf2 = 0.0;
    glidePosition = glideLength + 1;
  } else if (glidePosition < glideLength) {
    glidePosition = glidePosition + 1.0;
  }
  return y;
}

void PlainFilter::refresh() { state1 = state2 = 0.0; }
