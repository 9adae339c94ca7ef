// What is played into the pedal: strings, noise, silence, and now and then what no guitar does.
#pragma once

#include "tests/property/Random.h"

#include <vector>

// No sample is larger.
inline constexpr double kLargestInput = 8.0;

class PlayedSound {
public:
  explicit PlayedSound(Random& source) : random(source) { change(); }

  // Goes on with another kind of sound.
  void change();

  // Fills the block.
  void play(std::vector<double>& block);

private:
  enum Kind { kString, kLoudString, kNoise, kClicks, kSilence, kDenormals, kBoth, kKinds };

  double next();
  double string();
  void pluck();

  Random& random;
  Kind kind = kString;
  double turnCos = 1.0, turnSin = 0.0; // of one sample, damped
  double now = 0.0, aside = 0.0;       // the string's place and the other coordinate of its circle
};
