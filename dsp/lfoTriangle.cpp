#include "dsp/lfoTriangle.h"

namespace treadshift {

namespace {

constexpr double kRateFilterFreq = 5.0; // Hz

} // namespace

lfoTriangle::lfoTriangle(double smoothFreq, double startPhase, double sampleRate)
    : lfoTriangle(smoothFreq, startPhase, sampleRate, kRateFilterFreq) {}

lfoTriangle::lfoTriangle(double smoothFreq, double startPhase, double sampleRate, double rateFilterFreq)
    : lfoBase(smoothFreq, startPhase, sampleRate), smoother(newFilter(kLowPass1, smoothFreq)),
      rateFilter(newFilter(kOnePoleSmoother, rateFilterFreq)) {}

lfoTriangle::~lfoTriangle() {
  delete smoother;
  delete rateFilter;
}

void lfoTriangle::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
                         int historyOffset) {
  startGlide(rate, numSamples);
  for (int i = 0; i < numSamples; ++i) {
    step = glideStep(i);
    record(historyOffset, i);
    value = shaped((phase - 0.5) * 2.0, upperDepth, lowerDepth) * 0.5 + 0.5;
    smoothValue(smoother);
    advance(phase, falling, step);
    out[i] = value;
  }
}

void lfoTriangle::settleAt(double rate) {
  lastRate = rate;
  if (rateFilter) rateFilter->settleAt(rate);
  firstCall = 0;
}

// Compared as differences, because the sum of an offset far past the end and i may overflow.
void lfoTriangle::record(int historyOffset, int i) {
  if (historyOffset < -i || historyOffset >= kHistoryLength - i) return;
  phaseHistory[historyOffset + i] = phase;
  directionHistory[historyOffset + i] = falling;
}

} // namespace treadshift
