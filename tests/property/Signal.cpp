#include "Signal.h"

#include <limits>

Signal::Signal(Random& source, Range samples) : random(source), range(samples) {
  kind = static_cast<Kind>(random.below(kKinds));
  if (kind < kSine && random.chance(70)) kind = kSine; // silence teaches little
  // The angle whose half has the tangent t: exact arithmetic where sin and cos would be the library's.
  const double t = 0.0005 + 0.2 * random.unit();
  turnCos = (1 - t * t) / (1 + t * t);
  turnSin = 2 * t / (1 + t * t);
}

double Signal::next() {
  if (range == kNonFinite && random.below(400) == 0) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    return random.pick({kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN()});
  }
  return sample(kind == kMixture ? static_cast<Kind>(random.below(kMixture)) : kind);
}

double Signal::sample(Kind wanted) {
  switch (wanted) {
  case kNegativeZero:
    return -0.0;
  case kSine:
    return sine();
  case kNoise:
    return signedUnit();
  case kImpulses:
    return random.below(50) == 0 ? signedUnit() : 0.0;
  case kDenormals:
    return signedUnit() * 0x1p-1023; // below the smallest normal number, 2^-1022
  case kLarge: {
    const double size = range == kBounded ? kLargestBounded : random.pick({1e3, 1e12, 1e150, 1e306});
    return signedUnit() * size;
  }
  default:
    return 0.0;
  }
}

double Signal::sine() {
  const double s = sineNow * turnCos + cosineNow * turnSin;
  cosineNow = cosineNow * turnCos - sineNow * turnSin;
  sineNow = s;
  return s;
}

double Signal::signedUnit() { return 2.0 * random.unit() - 1.0; }
