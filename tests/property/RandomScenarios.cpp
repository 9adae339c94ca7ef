// The module against the plain pedal in thousands of random lives. The sets are cases of their own so that
// they can run side by side.
#include "Scenario.h"

#include <cstdlib>
#include <doctest/doctest.h>
#include <string>

namespace {

constexpr std::uint64_t kScenariosPerSet = 700;
constexpr int kReportedFailures = 5; // per set

// The only scenario to play, from the environment; none: all.
std::optional<std::uint64_t> chosenScenario() {
  const char* text = std::getenv("TREADSHIFT_SCENARIO");
  if (!text) return std::nullopt;
  return std::strtoull(text, nullptr, 10);
}

std::string howToRerun(std::uint64_t number) {
  return "seed " + std::to_string(scenarioSeed(number)) +
         "; alone: TREADSHIFT_SCENARIO=" + std::to_string(number) +
         " tests/property/property_test -tc=\"random scenarios*\"";
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

// A rewind behind the histories takes a second of re-runs; the named scenarios have one.
bool mustHappenInEverySet(PlainEvent event) { return event != PlainEvent::RewindBeyondHistories; }

void checkCoverage(const PlainEvents& events) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(PlainEvent::Count); ++i) {
    const PlainEvent event = static_cast<PlainEvent>(i);
    INFO("event: " << plainEventName(event));
    if (mustHappenInEverySet(event)) CHECK(events[event] > 0);
  }
  // Most of what is compared must be sound: silence and not-a-numbers agree too easily.
  const std::int64_t outputs = events[PlainEvent::OnSample] + events[PlainEvent::OffSample];
  CHECK(events[PlainEvent::PlainNumber] > outputs / 2);
}

void playSet(std::uint64_t set) {
  const ModulePedal keepsTheModuleLoaded;
  const std::optional<std::uint64_t> only = chosenScenario();
  Tally tally;
  for (std::uint64_t number = set * kScenariosPerSet; number < (set + 1) * kScenariosPerSet; ++number) {
    if (only && *only != number) continue;
    playOne(number, tally);
    if (tally.failures >= kReportedFailures) break;
  }
  MESSAGE(tally.scenarios << " scenarios, " << tally.samples << " samples compared");
  if (!only) {
    CHECK(tally.samples >= 3'000'000);
    checkCoverage(tally.events);
  }
}

} // namespace

TEST_CASE("random scenarios, set 0") { playSet(0); }
TEST_CASE("random scenarios, set 1") { playSet(1); }
TEST_CASE("random scenarios, set 2") { playSet(2); }
TEST_CASE("random scenarios, set 3") { playSet(3); }
TEST_CASE("random scenarios, set 4") { playSet(4); }
TEST_CASE("random scenarios, set 5") { playSet(5); }
TEST_CASE("random scenarios, set 6") { playSet(6); }
TEST_CASE("random scenarios, set 7") { playSet(7); }
