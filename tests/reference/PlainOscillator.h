// The oscillators but the triangle, as a table of rules: how far the phase goes per sample, what a phase
// sounds like, and where the phase goes next.
#pragma once

#include "PlainFilter.h"

#include <cstdint>
#include <vector>

enum class Wave { triangle, sine, halfSine, saw, reverseSaw, triangle2, rectangular, random };

constexpr Wave kEveryWave[] = {Wave::triangle,   Wave::sine,      Wave::halfSine,    Wave::saw,
                               Wave::reverseSaw, Wave::triangle2, Wave::rectangular, Wave::random};

class PlainOscillator {
public:
  // wave: any but the triangle, which is PlainTriangle.
  PlainOscillator(Wave wave, double smoothFreq, double startPhase, double rateHz);

  std::vector<double> block(double rate, double upper, double lower, int n);

  double phase;

private:
  double stepAt(double rate, int i, int n) const;
  double shape(double upper, double lower) const;
  double smoothed(double value);
  void advance(double step);
  double randomValue();

  Wave wave;
  double smoothFreq, rateHz;
  PlainFilter lowPass;
  double lastRate = 0.0;
  double held = 0.0;
  uint64_t seed = 1;
};
