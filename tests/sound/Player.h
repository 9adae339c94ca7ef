// Plays sounds through the built module as a host does, and knows what the sweep of a resting pedal does.
#pragma once

#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <vector>

constexpr double kPi = 3.14159265358979323846;

constexpr float kHeel = 0.0f, kMiddle = 0.5f, kToe = 1.0f;

// What a colour promises: its range in cents, and how loud dry and shifted sound are at a pedal position.
struct Promise {
  double centsAtHeel, centsAtToe;
  int mix;

  double cents(double pedal) const { return centsAtHeel + (centsAtToe - centsAtHeel) * pedal; }
  double ratio(double pedal) const;
  double dry(double pedal) const;
  double wet(double pedal) const;
};

extern const Promise kPromises[kColorCount];

// One effect of the built module at a rate, with Tone at 0: only the low tone branch sounds then, and it
// forgets within a few samples.
class Player {
public:
  Player(float rateHz, int color, float pedal, float onOff = 1.0f);

  void set(Parameter parameter, float value) { effect.setParameter(parameter, value); }
  void setColor(int color) { set(kColor, colorParameter(color)); }

  // In blocks of blockSize samples, the last one shorter.
  std::vector<double> play(const std::vector<double>& input, int blockSize = 256);

private:
  EffectRunner effect;
};

std::vector<double> sine(double freqHz, double rateHz, int samples, double amplitude = 0.5);

// The crossfade position of every sample while the pedal rests: a triangle that takes the time in which a
// tap travels the sweep's length (whole samples in 65.535 ms) for its way up and down.
std::vector<double> crossfade(double rateHz, double ratio, int samples);

// Gain of the wet path at Tone 0 for a steady tone that comes out of the taps at freqHz: low pass at a
// quarter of the rate, halving, low branch.
double wetGainAt(double freqHz, double rateHz);
