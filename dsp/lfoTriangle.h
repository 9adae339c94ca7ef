// The sweep oscillator: a triangle, a block at a time or sample by sample.
#pragma once

#include "dsp/lfoBase.h"

namespace treadshift {

// Phase runs 0 to 1 and back once per 1/rate seconds; the rate glides linearly from the block before. With
// both depths 0.1 the output is the phase itself, exactly 0 and 1 at the turns.
class lfoTriangle : public lfoBase {
public:
  // As lfoBase. rateFilterFreq: Hz, of a rate smoother that the first Excute settles and that is for the
  // owner's use. Allocates. [host, processing stopped]
  lfoTriangle(double smoothFreq, double startPhase, double sampleRate);
  lfoTriangle(double smoothFreq, double startPhase, double sampleRate, double rateFilterFreq);
  ~lfoTriangle() override;

  // Records phase and direction before each sample in the histories; slots before and past them are skipped.
  // [audio]
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;

  // The same run sample by sample, for an owner that may start another before this one ends: the phase moves
  // by the result of startGlide first, then by glideStep(1), glideStep(2), ... Excute starts a run of its
  // own, so glideStep is that run's from then on, and a run that was begun here goes on only after another
  // startGlide; `phase` and `falling`, which the owner moves by advance, are both ways' place. [audio]
  // Starts a run of numSamples samples from the rate of the run before to `rate`, which its last sample
  // reaches; a run of one sample stays at the old rate. The run after starts from `rate`, however much of
  // this one was played. Result: phase per sample at the run's first sample, which waits for no division.
  double startGlide(double rate, int numSamples) {
    if (firstCall) settleAt(rate);
    glideStart = lastRate;
    glideRise = numSamples == 1 ? 0.0 : rate - lastRate;
    glideLength = numSamples - 1.0;
    lastRate = rate;
    return firstStep(glideStart, glideRise);
  }
  // Phase per sample at the first sample of a run from `start` that rises by `rise` Hz in the end. The
  // product stays for rates that are not finite.
  double firstStep(double start, double rise) const { return (start + 0.0 * rise) * invSampleRate * 2.0; }
  // Phase per sample at sample i of the run, 0 up to its length.
  double glideStep(int i) const {
    const double slope = glideLength == 0.0 ? 0.0 : glideRise / glideLength;
    return (glideStart + i * slope) * invSampleRate * 2.0;
  }
  // Moves a phase by stepSize and turns it at 0 and 1.
  static void advance(double& phase, uint8_t& falling, double stepSize) {
    const double next = falling ? phase - stepSize : phase + stepSize;
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
  // True when the rate stands still: the step is the same at every sample, and in a run begun now as well.
  bool isLevel() const { return glideRise == 0.0 && glideStart == lastRate; }

  // Makes a rising triangle fall and a falling one rise. [audio]
  void turnAround() { falling = falling == 1 ? 0 : 1; }

  IIRFilter* smoother;   // owned; null: allocation failed
  IIRFilter* rateFilter; // owned; null: allocation failed

private:
  void settleAt(double rate);
  void record(int historyOffset, int i);

  double glideStart = 0.0;  // Hz: rate at the first sample of the run
  double glideRise = 0.0;   // Hz: from there to the last sample
  double glideLength = 0.0; // samples from the first to the last
};

} // namespace treadshift
