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

// What a pedal is asked for whose sound stays within a bound; Tone stays within 0..1.
constexpr double kLowestPedal = -0.5; // PedalPos
constexpr double kHighestPedal = 1.5;

// A life of so many seconds of audio within these limits and those of Signal, at rates of a choice in Hz: one
// that stands there twice comes twice as often.
void playBounded(std::uint64_t number, const std::vector<float>& rates, double seconds, PedalPair& pair);
