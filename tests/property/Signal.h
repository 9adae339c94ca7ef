// Input samples of many kinds, one after the other.
#pragma once

#include "Random.h"

class Signal {
public:
  // How large samples get: up to kLargestBounded, up to 1e306, or now and then infinite or not a number.
  enum Range { kBounded, kFinite, kNonFinite };
  static constexpr double kLargestBounded = 8.0;

  Signal(Random& random, Range range);
  double next();

private:
  enum Kind { kSilence, kNegativeZero, kSine, kNoise, kImpulses, kDenormals, kLarge, kMixture, kKinds };

  double sample(Kind kind);
  double sine();
  double signedUnit();

  Random& random;
  Range range;
  Kind kind;
  double turnCos, turnSin; // of one sample of the sine
  double sineNow = 0.0, cosineNow = 0.5;
};
