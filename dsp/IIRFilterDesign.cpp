// Coefficient designs: bilinear transform of the analogue prototypes, K = tan(pi f / fs).
#include "dsp/IIRFilter.h"

#include <algorithm>
#include <cmath>

namespace treadshift {

namespace {

constexpr double kButterworthDamping = 1.4142135623730951; // the root of 2
constexpr double kDefaultFreq = 20.0;                      // Hz
constexpr double kDefaultQ = 1.0;

// A smoother's power gain at its frequency is -3 dB: g, and g - 1 as its own constant, kept because the
// pole's last bits hang on both.
constexpr double kHalfPower = 0.5011872337;
constexpr double kHalfPowerLess1 = -0.4988127663;

void substituteUnusable(filterPrm_tag* prm) {
  if (prm->q <= 0.0) prm->q = kDefaultQ;
  const double freq = prm->freq > 0.0 ? prm->freq : kDefaultFreq;
  prm->freq = std::min(freq, 0.5 * prm->sampleRate);
}

double linearGain(double gainDb) { return std::pow(10.0, gainDb / 20.0); }

} // namespace

IIRFilter::IIRFilter(filterPrm_tag* prm) noexcept { FDexcute(prm); }

void IIRFilter::FDexcute(filterPrm_tag* prm) noexcept {
  type = static_cast<int16_t>(prm->type);
  substituteUnusable(prm);
  const Coefficients designed = design(*prm);
  ff0 = designed.ff0;
  ff1 = designed.ff1;
  ff2 = designed.ff2;
  fb1 = designed.fb1;
  fb2 = designed.fb2;
  setOrders();
  if (prevType != type) refresh();
  prevType = type;
}

void IIRFilter::setOrders() noexcept {
  switch (type) {
  case kLowPass1:
  case kHighPass1:
  case kLowShelf:
  case kHighShelf:
    ffOrder = fbOrder = 1;
    break;
  case kLowPass2:
  case kHighPass2:
  case kBandPass:
  case kBandStop:
  case kLowPassQ:
  case kHighPassQ:
  case kBandPassQ:
  case kNotchQ:
  case kPeaking:
    ffOrder = fbOrder = 2;
    break;
  default:
    ffOrder = 1;
    fbOrder = 0;
  }
}

IIRFilter::Coefficients IIRFilter::design(const filterPrm_tag& prm) const noexcept {
  const double fs = prm.sampleRate;
  const double K = std::tan(pi * prm.freq / fs);
  const double K1 = std::tan(pi * prm.freqLow / fs);
  const double K2 = std::tan(pi * prm.freqHigh / fs);
  const double Q = prm.q;

  switch (type) {
  case kLowPass1: {
    const double D = 1.0 + K;
    return {K / D, K / D, 0.0, (1.0 - K) / D, 0.0};
  }
  case kHighPass1: {
    const double D = 1.0 + K;
    return {1.0 / D, -1.0 / D, 0.0, (1.0 - K) / D, 0.0};
  }
  case kLowPass2: {
    const double D = 1.0 + kButterworthDamping * K + K * K;
    return {K * K / D, 2.0 * K * K / D, K * K / D, -2.0 * (K * K - 1.0) / D,
            -(1.0 - kButterworthDamping * K + K * K) / D};
  }
  case kHighPass2: {
    const double D = 1.0 + kButterworthDamping * K + K * K;
    return {1.0 / D, -2.0 / D, 1.0 / D, -2.0 * (K * K - 1.0) / D,
            -(1.0 - kButterworthDamping * K + K * K) / D};
  }
  case kBandPass: {
    const double D = 1.0 - K1 + K2 + K1 * K2;
    return {(K2 - K1) / D, 0.0, -(K2 - K1) / D, -2.0 * (K1 * K2 - 1.0) / D, -(1.0 + K1 - K2 + K1 * K2) / D};
  }
  case kBandStop: {
    const double D = 1.0 - K1 + K2 + K1 * K2;
    return {(K1 * K2 + 1.0) / D, 2.0 * (K1 * K2 - 1.0) / D, (K1 * K2 + 1.0) / D, -2.0 * (K1 * K2 - 1.0) / D,
            -(1.0 + K1 - K2 + K1 * K2) / D};
  }
  case kLowPassQ: { // damping r K / Q in this and the next, K / Q in the three after: intended
    const double D = 1.0 + K * K + kButterworthDamping * K / Q;
    return {K * K / D, 2.0 * K * K / D, K * K / D, -2.0 * (K * K - 1.0) / D,
            -(1.0 + K * K - kButterworthDamping * K / Q) / D};
  }
  case kHighPassQ: {
    const double D = 1.0 + K * K + kButterworthDamping * K / Q;
    return {1.0 / D, -2.0 / D, 1.0 / D, -2.0 * (K * K - 1.0) / D,
            -(1.0 + K * K - kButterworthDamping * K / Q) / D};
  }
  case kBandPassQ: {
    const double D = 1.0 + K * K + K / Q;
    return {K / Q / D, 0.0, -(K / Q) / D, -2.0 * (K * K - 1.0) / D, -(1.0 + K * K - K / Q) / D};
  }
  case kNotchQ: {
    const double D = 1.0 + K * K + K / Q;
    return {(1.0 + K * K) / D, 2.0 * (K * K - 1.0) / D, (1.0 + K * K) / D, -2.0 * (K * K - 1.0) / D,
            -(1.0 + K * K - K / Q) / D};
  }
  case kPeaking: { // boost widens the zeros, cut the poles, so that equal boost and cut undo each other
    const double A = 1.0 + K * K;
    const double G = linearGain(prm.gainDb > 0.0 ? prm.gainDb : -prm.gainDb);
    const double wide = G * K / Q;
    const double narrow = K / Q;
    const double zeros = prm.gainDb > 0.0 ? wide : narrow;
    const double poles = prm.gainDb > 0.0 ? narrow : wide;
    const double D = A + poles;
    const double middle = 2.0 * (K * K - 1.0) / D;
    return {(A + zeros) / D, middle, (A - zeros) / D, -middle, -(A - poles) / D};
  }
  case kLowShelf: {
    const double D = 1.0 + K;
    const double G = linearGain(prm.gainDb);
    return {(1.0 + G * K) / D, (G * K - 1.0) / D, 0.0, (1.0 - K) / D, 0.0};
  }
  case kHighShelf: {
    const double D = 1.0 + K;
    const double G = 1.0 / linearGain(-prm.gainDb);
    return {(K + G) / D, (K - G) / D, 0.0, (1.0 - K) / D, 0.0};
  }
  default: { // solves |H(f)|^2 = g for the pole of y[n] = p y[n-1] + (1 - p) x[n]
    const double c = std::cos(2.0 * pi * prm.freq / fs);
    const double g = kHalfPower;
    const double p = ((g * c - 1.0) + std::sqrt((c - 1.0) * g * ((g * c - 2.0) + g))) / kHalfPowerLess1;
    return {p, 0.0, 0.0, 1.0 - p, 0.0};
  }
  }
}

void IIRFilter::ipFDexcute(filterPrm_tag* prm, int n) noexcept {
  keepOldCoefficients();
  FDexcute(prm);
  rampLength = n;
  const double perSample = 1.0 / n;
  stepFb1 = (fb1 - oldFb1) * perSample;
  stepFb2 = (fb2 - oldFb2) * perSample;
  stepFf0 = (ff0 - oldFf0) * perSample;
  stepFf1 = (ff1 - oldFf1) * perSample;
  stepFf2 = (ff2 - oldFf2) * perSample;
  rampPos = 0.0;
}

void IIRFilter::keepOldCoefficients() noexcept {
  oldFb1 = fb1;
  oldFb2 = fb2;
  oldFf0 = ff0;
  oldFf1 = ff1;
  oldFf2 = ff2;
}

void IIRFilter::walkOn() noexcept {
  if (rampPos == rampLength) {
    keepOldCoefficients();
    stepFb1 = stepFb2 = stepFf0 = stepFf1 = stepFf2 = 0.0;
    rampPos = rampLength + 1.0;
  } else if (rampPos < rampLength) {
    rampPos += 1.0;
  }
}

} // namespace treadshift
