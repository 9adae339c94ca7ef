#include "dsp/lfoTriangle.h"

#include <memory>

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
  delete[] longPhaseHistory;
  delete[] longDirectionHistory;
}

void lfoTriangle::Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
                         int historyOffset) {
  if (firstCall) settleAt(rate);
  int slot = historyOffset;
  runGliding(rate, 2.0, numSamples, out, [&] {
    record(slot++);
    value = shaped((phase - 0.5) * 2.0, upperDepth, lowerDepth) * 0.5 + 0.5;
    smoothValue(smoother);
    advance();
  });
}

void lfoTriangle::settleAt(double rate) {
  lastRate = rate;
  if (rateFilter) rateFilter->state1 = (1.0 - rateFilter->fb1) * rate / rateFilter->ff0;
  firstCall = 0;
}

void lfoTriangle::record(int slot) {
  if (slot < kHistoryLength) {
    phaseHistory[slot] = phase;
    directionHistory[slot] = falling;
  } else if (slot - kHistoryLength < longHistoryLength) {
    longPhaseHistory[slot - kHistoryLength] = phase;
    longDirectionHistory[slot - kHistoryLength] = falling;
  }
}

void lfoTriangle::advance() {
  const double next = falling ? phase - step : phase + step;
  if (next >= 1.0) {
    phase = 1.0;
    falling = 1;
  } else if (!(next > 0.0)) { // NaN turns here as well
    phase = 0.0;
    falling = 0;
  } else {
    phase = next;
  }
}

void lfoTriangle::reserveHistory(int samples) {
  const int length = samples - kHistoryLength;
  if (length <= longHistoryLength) return;
  auto phases = std::make_unique<double[]>(length);
  auto directions = std::make_unique<uint8_t[]>(length);
  delete[] longPhaseHistory;
  delete[] longDirectionHistory;
  longPhaseHistory = phases.release();
  longDirectionHistory = directions.release();
  longHistoryLength = length;
}

void lfoTriangle::rewind(int slot) {
  const bool recent = slot < kHistoryLength;
  falling = recent ? directionHistory[slot] : longDirectionHistory[slot - kHistoryLength];
  phase = recent ? phaseHistory[slot] : longPhaseHistory[slot - kHistoryLength];
}
