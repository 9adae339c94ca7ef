// Input samples of many kinds, one after the other.
#pragma once

#include "Random.h"

class Signal {
public:
  // nonFinite: now and then a sample is infinite or not a number.
  Signal(Random& random, bool nonFinite);
  double next();

private:
  enum Kind { kSilence, kNegativeZero, kSine, kNoise, kImpulses, kDenormals, kLarge, kMixture, kKinds };

  double sample(Kind kind);
  double sine();
  double signedUnit();

  Random& random;
  bool nonFinite;
  Kind kind;
  double turnCos, turnSin; // of one sample of the sine
  double sineNow = 0.0, cosineNow = 0.5;
};
