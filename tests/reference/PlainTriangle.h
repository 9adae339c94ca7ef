// The sweep oscillator, written for reading: a phase that runs up to 1 and down to 0.
#pragma once

#include "PlainFilter.h"

#include <vector>

class PlainTriangle {
public:
  // smoothFreq: Hz, 0 or less for no smoothing; startPhase: 0..1; rateHz: samples per second.
  PlainTriangle(double smoothFreq, double startPhase, double rateHz);

  // Starts a run of n values from the phase that the oscillator has, in the place of what is left of the run
  // before. rate: Hz, reached at the last value; depths: 0.1 is the plain triangle. offset: the first value's
  // place in the block.
  void start(double rate, double upperDepth, double lowerDepth, int n, int offset);
  // Plays the run up to place i of the block. A run that another one cuts short is never played to its end:
  // a moving pedal starts one at every sample.
  void playTo(int i);
  void finish() { playTo(end - 1); }

  double phase; // 0..1
  bool falling = false;
  // By place in the block, as long as it needs to be.
  std::vector<double> values;
  std::vector<double> phaseHistory;   // phase before each value
  std::vector<char> directionHistory; // direction before each value

private:
  void playNext();

  double smoothFreq;
  double invRate; // s: one sample
  double lastRate = 0.0;
  bool firstCall = true;
  PlainFilter smoother;

  // the run
  double firstRate = 0.0, slope = 0.0; // Hz, Hz per sample
  double upperDepth = 0.0, lowerDepth = 0.0;
  int first = 0, next = 0, end = 0; // places in the block
};
