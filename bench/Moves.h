// A performance in which everything moves, the same for the same seed.
#pragma once

#include "host/EffectRunner.h"

#include <random>

class Moves {
public:
  // runner: the effect to move, which must outlive this.
  Moves(const EffectRunner& runner, unsigned seed) : runner(runner), random(seed) {}

  // A new pedal position and a new Tone; now and then another Color, or On/Off.
  void beforeBlock();

private:
  float chance() { return static_cast<float>(random() & 0xFFFF) / 65536.0f; }

  const EffectRunner& runner;
  std::minstd_rand random;
  float pedal = 0.5f, pedalSpeed = 0.0f, on = 1.0f;
};
