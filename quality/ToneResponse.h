// What the shifted path does to the spectrum.
#pragma once

#include "quality/Sound.h"

#include <string>

// Level of the shifted path by frequency while the pedal asks for no shift, from the answer to an impulse:
// low pass, halving and tone filter together. tone: 0..1.
class ToneResponse {
public:
  // modulePath: see PedalShifter. Allocates.
  ToneResponse(const std::string& modulePath, double tone);

  // dB. hz: 0 up to half the rate; the nearest bin answers, 0.7 Hz apart.
  double db(double hz) const;

private:
  std::vector<double> power; // by bin
};
