// The contract of the low-frequency oscillators: control signals of 0..1, a block at a time.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "dsp/IIRFilter.h"

#include <cstdint>

namespace treadshift {

// Oscillators carry a second of history and are large: create them on the heap. The constructors of members
// with filters allocate those; an allocation that fails leaves the filter null and the wave unsmoothed.
// One thread at a time. Running allocates nothing.
class lfoBase {
public:
  static constexpr int kHistoryLength = 48000; // samples: one second at 48 kHz

  // smoothFreq: Hz, cut-off of the smoothing filter; 0 or less: no smoothing.
  // startPhase: where the wave starts, in the phase range of the shape. sampleRate: Hz, not 0.
  // [host, processing stopped]
  lfoBase(double smoothFreq, double startPhase, double sampleRate);
  virtual ~lfoBase();

  lfoBase(const lfoBase&) = delete;
  lfoBase& operator=(const lfoBase&) = delete;

  // Writes numSamples values into out; fewer than 1 write nothing. [audio]
  // rate: Hz, 0 or more. upperDepth, lowerDepth: 0..1, tenfold gain of the wave above and below its middle,
  // then clipped: 0.1 leaves the plain wave, more flattens it. historyOffset: slot of the block's first
  // sample in the histories; a slot outside 0..47999 is written by none. out: room for numSamples. Nothing
  // else is checked.
  virtual void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
                      int historyOffset) = 0;

  double smoothFreq; // Hz
  double startPhase;
  double sampleRate;    // Hz
  double value;         // output of the latest sample, 0..1
  double step;          // phase per sample
  double invSampleRate; // s
  double lastRate;      // Hz: rate of the call before, where a gliding rate starts
  int32_t firstCall;    // 1 until the first Excute of a triangle
  double phase;
  double phaseHistory[kHistoryLength];      // phase before each sample; written by the triangle only
  uint8_t directionHistory[kHistoryLength]; // `falling` before each sample; written by the triangle only
  uint8_t falling;                          // 1 while the triangle runs downward

protected:
  // Runs a block whose rate walks in a straight line from lastRate to `rate`, which its last sample reaches;
  // a block of one sample still runs at lastRate. phasePerCycle: the phase range that a cycle takes.
  // nextValue(): sets `value` and moves `phase` on by `step`.
  template <typename NextValue>
  void runGliding(double rate, double phasePerCycle, int numSamples, double* out, NextValue nextValue) {
    const double slope = numSamples == 1 ? 0.0 : (rate - lastRate) / (numSamples - 1.0); // Hz per sample
    for (int i = 0; i < numSamples; ++i) {
      step = (lastRate + i * slope) * invSampleRate * phasePerCycle;
      nextValue();
      out[i] = value;
    }
    lastRate = rate;
  }

  // Runs a block at one rate and one phase unit per cycle. nextValue(): as above.
  template <typename NextValue> void runLevel(double rate, int numSamples, double* out, NextValue nextValue) {
    step = rate * invSampleRate;
    for (int i = 0; i < numSamples; ++i) {
      nextValue();
      out[i] = value;
    }
  }

  // The wave steepened by its half's depth and flattened at -1 and 1. wave: -1..1.
  static double shaped(double wave, double upperDepth, double lowerDepth);

  // A new filter for the owner to delete, or null when memory is short. type: FilterType. freq: Hz.
  IIRFilter* newFilter(int32_t type, double freq) const;

  // Runs `value` through the filter, if smoothing is on, and lifts it to 0 at least.
  void smoothValue(IIRFilter* filter);
};

} // namespace treadshift
