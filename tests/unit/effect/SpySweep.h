// A sweep oscillator that writes down how it is run and lets a test look around meanwhile.
#pragma once

#include "ExposedTreadshift.h"

#include <functional>
#include <utility>
#include <vector>

struct SweepCall {
  double rate, upperDepth, lowerDepth;
  int samples, historyOffset;
  double phase; // at entry
  int falling;  // at entry
};

class SpySweep : public lfoTriangle {
public:
  using lfoTriangle::lfoTriangle;

  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override {
    calls.push_back({rate, upperDepth, lowerDepth, numSamples, historyOffset, phase, falling});
    if (meanwhile) meanwhile();
    lfoTriangle::Excute(rate, upperDepth, lowerDepth, numSamples, out, historyOffset);
  }

  std::vector<SweepCall> calls;
  std::function<void()> meanwhile;
};

// Puts a spy in the place of an effect's sweep, in its state; the effect owns it from then on.
inline SpySweep& spyOn(ExposedTreadshift& effect) {
  auto* spy = new SpySweep(0.0, 0.0, effect.rateHz);
  spy->phase = effect.sweepLfo->phase;
  spy->falling = effect.sweepLfo->falling;
  spy->lastRate = effect.sweepLfo->lastRate;
  spy->firstCall = effect.sweepLfo->firstCall;
  delete std::exchange(effect.sweepLfo, spy);
  return *spy;
}
