// Tests with made-up inputs: from which seed, and how many.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>

// TREADSHIFT_SEED of the environment, else the days since 1970: each day tries what no day before did. Tests
// print it, and the same seed gives the same inputs on every machine.
inline std::uint64_t randomSeed() {
  if (const char* given = std::getenv("TREADSHIFT_SEED")) return std::strtoull(given, nullptr, 10);
  const auto days = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
  return static_cast<std::uint64_t>(days.time_since_epoch().count());
}

// Whether TREADSHIFT_LONG of the environment asks for all rounds, rather than for those that a change can
// wait for.
inline bool wantsLongRun() { return std::getenv("TREADSHIFT_LONG") != nullptr; }

// What a failing test says, so that `program` can be run again on the same inputs.
inline std::string howToRepeat(const std::string& program) {
  return "again: " + std::string(wantsLongRun() ? "TREADSHIFT_LONG=1 " : "") +
         "TREADSHIFT_SEED=" + std::to_string(randomSeed()) + " " + program;
}
