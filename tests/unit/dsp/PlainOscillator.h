// The oscillators once more, as a table of rules: how far the phase goes per sample, what a phase sounds
// like, and where the phase goes next.
#pragma once

#include <cstdint>
#include <vector>

enum class Wave { triangle, sine, halfSine, saw, reverseSaw, triangle2, rectangular, random };

constexpr Wave kEveryWave[] = {Wave::triangle,   Wave::sine,      Wave::halfSine,    Wave::saw,
                               Wave::reverseSaw, Wave::triangle2, Wave::rectangular, Wave::random};

// A first-order low-pass at freqHz, sample by sample.
class PlainLowPass {
public:
  PlainLowPass(double freqHz, double rateHz);
  double next(double x);

private:
  double feed, back, state = 0.0;
};

class PlainOscillator {
public:
  PlainOscillator(Wave wave, double smoothFreq, double startPhase, double rateHz);

  std::vector<double> block(double rate, double upper, double lower, int n);

  double phase;
  bool falling = false;
  std::vector<double> phases; // before each sample of the latest block
  std::vector<bool> directions;

private:
  double stepAt(double rate, int i, int n) const;
  double shape(double upper, double lower) const;
  double smoothed(double value);
  void advance(double step);
  double randomValue();

  Wave wave;
  double smoothFreq, rateHz;
  PlainLowPass lowPass;
  double lastRate = 0.0;
  bool fresh = true;
  double held = 0.0;
  uint64_t seed = 1;
};
