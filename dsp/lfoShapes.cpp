#include "dsp/lfoShapes.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace treadshift {

namespace {

// sin(pi/2 x) for x in -1..1.
double sine(double x) {
  const double x2 = x * x;
  return (((-0.004333095 * x2 + 0.0794343442) * x2 - 0.6458928493) * x2 + 1.570791011) * x;
}

double folded(double phase) { return (std::abs(phase) - 0.5) * 2.0; }

// Restarts only from exactly 1, where the clamp below puts every cycle's last sample.
double risen(double phase, double step, double restart) {
  return std::min(phase == 1.0 ? restart : phase + step, 1.0);
}

double fallen(double phase, double step) { return std::max(phase == 0.0 ? 1.0 : phase - step, 0.0); }

} // namespace

void lfoSin::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out, int) {
  runGliding(rate, 2.0, numSamples, out, [&] {
    value = shaped(sine(folded(phase)), upperDepth, lowerDepth) * 0.5 + 0.5;
    phase = risen(phase, step, -1.0);
  });
}

void lfoHalfSin::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out, int) {
  runGliding(rate, 1.0, numSamples, out, [&] {
    value = std::abs(shaped(sine(folded(phase)), upperDepth, lowerDepth));
    phase = risen(phase, step, 0.0);
  });
}

lfoSmoothed::lfoSmoothed(double smoothFreq, double startPhase, double sampleRate)
    : lfoBase(smoothFreq, startPhase, sampleRate), smoother(newFilter(kLowPass1, smoothFreq)) {}

lfoSmoothed::~lfoSmoothed() { delete smoother; }

void lfoSaw::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out, int) {
  runGliding(rate, 1.0, numSamples, out, [&] {
    value = shaped((phase - 0.5) * 2.0, upperDepth, lowerDepth) * 0.5 + 0.5;
    smoothValue(smoother);
    phase = risen(phase, step, 0.0);
  });
}

void lfoRvSaw::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out, int) {
  runGliding(rate, 1.0, numSamples, out, [&] {
    value = shaped((phase - 0.5) * 2.0, upperDepth, lowerDepth) * 0.5 + 0.5;
    smoothValue(smoother);
    phase = fallen(phase, step);
  });
}

void lfoTriangle2::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
                          int) {
  runLevel(rate, numSamples, out, [&] {
    const double wave = shaped(folded(phase), upperDepth, lowerDepth);
    value = wave * wave;
    smoothValue(smoother);
    phase = risen(phase, step, 0.0);
  });
}

void lfoRectangular::Excute(double rate, double, double, int numSamples, double* out, int) {
  runLevel(rate, numSamples, out, [&] {
    value = (phase - 0.5) * 2.0 > 0.0 ? 1.0 : 0.0;
    smoothValue(smoother);
    phase = risen(phase, step, 0.0);
  });
}

void lfoRand::Excute(double rate, double, double, int numSamples, double* out, int) {
  runLevel(rate, numSamples, out, [&] {
    phase = risen(phase, step, 0.0);
    if (phase == 0.0) value = nextRandom();
  });
}

double lfoRand::nextRandom() {
  constexpr uint32_t kExponentOf1 = 0x3F800000;
  constexpr int kMantissaShift = 32 - 23;
  seed = seed * 1664525u + 1013904223u;
  return std::bit_cast<float>(kExponentOf1 | seed >> kMantissaShift) - 1.0f;
}

} // namespace treadshift
