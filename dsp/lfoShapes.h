// The other members of the oscillator family. They keep no history and differ in wave and phase.
#pragma once

#include "dsp/lfoBase.h"

namespace treadshift {

// Sine by a polynomial of the form that Hastings tabulates (Approximations for Digital Computers, 1955),
// phase -1..1 once per cycle; never smoothed. The rate glides, on a fresh oscillator from 0 Hz.
class lfoSin : public lfoBase {
public:
  using lfoBase::lfoBase;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// The sine's absolute value, phase 0..1; never smoothed. The rate glides, on a fresh oscillator from 0 Hz.
class lfoHalfSin : public lfoBase {
public:
  using lfoBase::lfoBase;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// Owner of the smoothing filter that the following members share.
class lfoSmoothed : public lfoBase {
public:
  // As lfoBase. Allocates the filter. [host, processing stopped]
  lfoSmoothed(double smoothFreq, double startPhase, double sampleRate);
  ~lfoSmoothed() override;

  IIRFilter* smoother; // owned; null: allocation failed
};

// Rising ramp, phase 0..1. The rate glides, on a fresh oscillator from 0 Hz.
class lfoSaw : public lfoSmoothed {
public:
  using lfoSmoothed::lfoSmoothed;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// Falling ramp, phase 1..0. The rate glides, on a fresh oscillator from 0 Hz.
class lfoRvSaw : public lfoSmoothed {
public:
  using lfoSmoothed::lfoSmoothed;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// Parabolic wave: the ramp's shape squared, phase 0..1. The rate holds for a whole block.
class lfoTriangle2 : public lfoSmoothed {
public:
  using lfoSmoothed::lfoSmoothed;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// 0 for phase up to 0.5, then 1; ignores the depths. The rate holds for a whole block.
class lfoRectangular : public lfoSmoothed {
public:
  using lfoSmoothed::lfoSmoothed;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;
};

// Sample and hold of a linear congruential generator (multiplier 1664525, increment 1013904223: Press et al.,
// Numerical Recipes in C, section 7.1), one new value per cycle, 0 until the first cycle ends; ignores the
// depths, never smoothed. The rate holds for a whole block. Every oscillator starts from kFirstSeed, so a
// render repeats bit for bit.
class lfoRand : public lfoBase {
public:
  static constexpr uint32_t kFirstSeed = 1;

  using lfoBase::lfoBase;
  void Excute(double rate, double upperDepth, double lowerDepth, int numSamples, double* out,
              int historyOffset) override;

  uint32_t seed = kFirstSeed;

private:
  double nextRandom(); // 0 <= x < 1, in steps of 2^-23
};

} // namespace treadshift
