// The module against the plain pedal in random lives: some that are the same every day and take every turn of
// the pedal, and sets that are new every day. The sets are cases of their own so that they can run side by
// side.
#include "Scenario.h"
#include "tests/support/RandomRuns.h"

#include <cstdlib>
#include <doctest/doctest.h>
#include <string>

namespace {

constexpr int kSets = 8;
constexpr std::uint64_t kScenariosPerSet = 700;
constexpr std::uint64_t kScenariosPerShortSet = 175; // a quarter
constexpr int kReportedFailures = 5;                 // per set

// The only scenario to play, from the environment; none: all.
std::optional<std::uint64_t> chosenScenario() {
  const char* text = std::getenv("TREADSHIFT_SCENARIO");
  if (!text) return std::nullopt;
  return std::strtoull(text, nullptr, 10);
}

std::string howToRerun(std::uint64_t number) {
  return "seed " + std::to_string(scenarioSeed(number)) +
         "; alone: TREADSHIFT_SCENARIO=" + std::to_string(number) +
         " tests/property/property_test -tc=\"*set 0\"";
}

struct Tally {
  std::uint64_t scenarios = 0;
  std::int64_t samples = 0;
  int failures = 0;
  PlainEvents events;
};

void playOne(std::uint64_t number, Tally& tally) {
  PlainSide plain;
  ModulePedal module;
  PedalPair pair(plain, module);
  playScenario(number, pair);
  if (pair.difference()) {
    ++tally.failures;
    FAIL_CHECK("scenario " << number << ": " << describe(*pair.difference()) << "\n" << howToRerun(number));
  }
  ++tally.scenarios;
  tally.samples += pair.samples();
  tally.events.add(plain.events());
}

std::string missingEvents(const PlainEvents& events) {
  std::string names;
  for (std::size_t i = 0; i < static_cast<std::size_t>(PlainEvent::Count); ++i) {
    const PlainEvent event = static_cast<PlainEvent>(i);
    if (events[event] == 0) names += std::string(plainEventName(event)) + ", ";
  }
  return names;
}

void report(const Tally& tally) {
  MESSAGE(tally.scenarios << " scenarios, " << tally.samples << " samples compared");
}

void playSet(std::uint64_t set) {
  const ModulePedal keepsTheModuleLoaded;
  Tally tally;
  if (const std::optional<std::uint64_t> only = chosenScenario()) return playOne(*only, tally);
  const std::uint64_t first = (randomSeed() * kSets + set) * kScenariosPerSet;
  const std::uint64_t count = wantsLongRun() ? kScenariosPerSet : kScenariosPerShortSet;
  for (std::uint64_t number = first; number < first + count && tally.failures < kReportedFailures; ++number)
    playOne(number, tally);
  MESSAGE("scenarios from " << first << " on, seed " << randomSeed());
  report(tally);
  // About 7000 each; a set that played next to nothing would be worth next to nothing.
  CHECK((tally.samples > 1000 * static_cast<std::int64_t>(count) || tally.failures > 0));
}

} // namespace

TEST_CASE("scenarios that are the same every day take every turn of the pedal") {
  const ModulePedal keepsTheModuleLoaded;
  Tally tally;
  for (std::uint64_t number = 0; number < kScenariosPerSet && tally.failures < kReportedFailures; ++number) {
    playOne(number, tally);
    if (missingEvents(tally.events).empty()) break;
  }
  report(tally);
  CHECK(missingEvents(tally.events) == "");
  // Most of what is compared must be sound: silence and not-a-numbers agree too easily.
  const std::int64_t outputs = tally.events[PlainEvent::OnSample] + tally.events[PlainEvent::OffSample];
  CHECK(tally.events[PlainEvent::PlainNumber] > outputs / 2);
}

TEST_CASE("random scenarios, set 0") { playSet(0); }
TEST_CASE("random scenarios, set 1") { playSet(1); }
TEST_CASE("random scenarios, set 2") { playSet(2); }
TEST_CASE("random scenarios, set 3") { playSet(3); }
TEST_CASE("random scenarios, set 4") { playSet(4); }
TEST_CASE("random scenarios, set 5") { playSet(5); }
TEST_CASE("random scenarios, set 6") { playSet(6); }
TEST_CASE("random scenarios, set 7") { playSet(7); }
