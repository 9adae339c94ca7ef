#include "bench/Moves.h"

#include "engine/PedalNumbers.h"

#include <algorithm>

namespace {

constexpr unsigned kBlocksPerColor = 250; // on average: a third of a second in blocks of 64
constexpr unsigned kBlocksPerOnOff = 1000;

} // namespace

void Moves::beforeBlock() {
  pedalSpeed = std::clamp(pedalSpeed + 0.002f * (chance() - 0.5f), -0.01f, 0.01f);
  pedal += pedalSpeed;
  if (pedal < 0.0f || pedal > 1.0f) pedalSpeed = -pedalSpeed;
  pedal = std::clamp(pedal, 0.0f, 1.0f);
  runner.setParameter(kPedalPos, pedal);
  runner.setParameter(kTone, chance());
  if (random() % kBlocksPerColor == 0) runner.setParameter(kColor, chance());
  if (random() % kBlocksPerOnOff == 0) runner.setParameter(kOnOff, on = 1.0f - on);
}
