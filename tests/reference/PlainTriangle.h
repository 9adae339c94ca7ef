// The sweep oscillator, written for reading: a phase that runs up to 1 and down to 0.
#pragma once

#include "PlainFilter.h"

#include <vector>

class PlainTriangle {
public:
  // smoothFreq: Hz, 0 or less for no smoothing; startPhase: 0..1; rateHz: samples per second.
  PlainTriangle(double smoothFreq, double startPhase, double rateHz);

  // Writes n values. rate: Hz, reached at the last value; depths: 0.1 is the plain triangle.
  // historyOffset: where in the histories the first value is recorded; they grow as needed.
  void run(double rate, double upperDepth, double lowerDepth, int n, double* out, int historyOffset);

  double phase; // 0..1
  bool falling = false;
  std::vector<double> phaseHistory;   // phase before each value of the block
  std::vector<char> directionHistory; // direction before each value of the block

private:
  double smoothFreq;
  double invRate; // s: one sample
  double lastRate = 0.0;
  bool firstCall = true;
  PlainFilter smoother;
};
