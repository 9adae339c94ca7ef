// A random life of a pedal: rates, blocks, pedal moves, switches, programs, in an order and with values that
// depend on the scenario's number alone.
#pragma once

#include "PedalPair.h"

#include <cstdint>

// Seed of scenario `number`.
constexpr std::uint64_t scenarioSeed(std::uint64_t number) {
  return 0x7265616473686966u + number * 0x9E3779B97F4A7C15u;
}

// Plays scenario `number` to both pedals of the pair, up to the first difference.
void playScenario(std::uint64_t number, PedalPair& pair);
