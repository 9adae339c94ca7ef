// An effect at a rate, and blocks through its record.
#pragma once

#include "effect/Treadshift.h"
#include "tests/support/TestSound.h"

#include <memory>
#include <vector>

constexpr float kRate = 44100.0f;

inline std::unique_ptr<Treadshift> effectAt(float rateHz, float color = 0.5f, float pedal = 0.0f) {
  auto effect = std::make_unique<Treadshift>(nullptr);
  effect->setParameter(kColor, color);
  effect->setParameter(kPedalPos, pedal);
  if (rateHz != 0.0f) effect->setSampleRate(rateHz);
  return effect;
}

inline std::vector<double> play(Treadshift& effect, const std::vector<double>& input) {
  std::vector<double> output(input.size(), 777.0);
  double none = 0.0; // an empty block has a place, too
  double* in[] = {input.empty() ? &none : const_cast<double*>(input.data())};
  double* out[] = {input.empty() ? &none : output.data()};
  AEffect* record = effect.getAeffect();
  record->processDoubleReplacingEntry(record, in, out, static_cast<int32_t>(input.size()));
  return output;
}
