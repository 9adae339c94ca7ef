// The sweep oscillator: a triangle that can be rewound to any sample of its latest block.
#pragma once

#include "dsp/lfoBase.h"

// Phase runs 0 to 1 and back once per 1/rate seconds; the rate glides linearly from the block before. With
// both depths 0.1 the output is the phase itself, exactly 0 and 1 at the turns.
class lfoTriangle : public lfoBase {
public:
  // As lfoBase. rateFilterFreq: Hz, of a rate smoother that the first Excute settles and that is for the
  // owner's use. Allocates.
  lfoTriangle(double smoothFreq, double startPhase, double sampleRate);
  lfoTriangle(double smoothFreq, double startPhase, double sampleRate, double rateFilterFreq);
  ~lfoTriangle() override;

  // Records phase and direction before each sample in the histories; slots past their end are skipped.
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;

  // Makes the histories hold `samples` slots. Allocates for more than kHistoryLength only; throws
  // std::bad_alloc, with the histories as they were, when memory cannot be had. [audio, before a long block]
  void reserveHistory(int samples);

  // Puts phase and direction back to where they stood before the sample recorded in `slot` (0 up to the
  // slots held). The rate of the latest call stays. [audio]
  void rewind(int slot);

  IIRFilter* smoother;   // owned; null: allocation failed
  IIRFilter* rateFilter; // owned; null: allocation failed

private:
  void settleAt(double rate);
  void record(int slot);
  void advance();

  // Slots from kHistoryLength on, for blocks longer than a second at 48 kHz.
  double* longPhaseHistory = nullptr;      // owned; null until reserved
  uint8_t* longDirectionHistory = nullptr; // owned; null until reserved
  int longHistoryLength = 0;               // samples
};
