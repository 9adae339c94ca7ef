// The fade switch alone: its tables, and every way from state to state.
#include "engine/ParamSwitch.h"
#include "Blocks.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"

#include <cstddef>
#include <doctest/doctest.h>
#include <limits>
#include <new>
#include <string>
#include <vector>

namespace {

// What a block of On/Off leaves: gains in fifths and values, as text that a reader can check.
std::string playedOnOff(ParamSwitch& fade, float value, int samples) {
  std::vector<double> gains(samples);
  fade.prepareValueBuffer(samples);
  fade.playOnOff(value, samples, gains.data());
  std::string text;
  for (int i = 0; i < samples; ++i) {
    const int fifths = static_cast<int>(gains[i] * 5.0 + 0.5);
    text += std::to_string(fifths) + (fade.valueBuffer[i] == 1.0f ? "+ " : "- ");
  }
  return text;
}

std::string playedColor(ParamSwitch& fade, float value, int samples) {
  std::vector<double> gains(samples);
  fade.playColor(value, samples, gains.data());
  std::string text;
  for (double gain : gains)
    text += std::to_string(static_cast<int>(gain * 5.0 + 0.5)) + " ";
  return text;
}

template <typename Field> std::ptrdiff_t offsetIn(const ParamSwitch& fade, const Field& field) {
  return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&fade);
}

} // namespace

TEST_CASE("a fade lasts the whole samples in 16 ms") {
  struct Row {
    double rate;
    int32_t samples;
  };
  for (const Row& row : {Row{44100.0, 705}, Row{48000.0, 768}, Row{96000.0, 1536}, Row{44100.5, 705},
                         Row{62.5, 1}, Row{62.0, 0}, Row{0.0, 0}, Row{-1.0, -1}}) { // floor, not truncation
    CAPTURE(row.rate);
    CHECK(ParamSwitch::fadeLength(row.rate) == row.samples);
  }
  for (double none :
       {1e20, -1e20, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    CHECK(ParamSwitch::fadeLength(none) < 1);
}

TEST_CASE("fade tables are multiples of the reciprocal, which other ways of dividing do not give") {
  for (double rate : {44100.0, 48000.0, 96000.0, 62.5}) {
    const ParamSwitch fade(rate, 0.0f);
    const int32_t N = fade.length;
    const double reciprocal = 1.0 / N;
    int divided = 0;
    for (int32_t k = 0; k < N; ++k) {
      CHECK(bitsOf(fade.fadeInTable[k]) == bitsOf(k * reciprocal));
      CHECK(bitsOf(fade.fadeOutTable[k]) == bitsOf((N - k) * reciprocal));
      divided += bitsOf(fade.fadeInTable[k]) != bitsOf(static_cast<double>(k) / N);
    }
    CHECK(fade.fadeInTable[0] == 0.0);
    CHECK(fade.fadeOutTable[0] == 1.0);
    if (N == 705) CHECK(divided > 0);
  }
}

TEST_CASE("a new switch is idle at the value it was given") {
  const ParamSwitch fade(44100.0, 0.625f);
  CHECK(fade.length == 705);
  CHECK(bitsOf(fade.lengthExact) == bitsOf(705.0));
  CHECK(bitsOf(fade.fadeTime) == bitsOf(0.016));
  CHECK(bitsOf(fade.sampleRate) == bitsOf(44100.0));
  CHECK(bitsOf(fade.steadyGain) == bitsOf(1.0));
  CHECK(fade.position == 0);
  CHECK(fade.lastBlockSize == 0);
  CHECK(fade.lastValue == 0.625f);
  CHECK(fade.valueBuffer == nullptr);
  CHECK(fade.state == ParamSwitch::kIdle);
}

TEST_CASE("a switch's fields stand in order") {
  const ParamSwitch f(44100.0, 0.0f);
  const std::ptrdiff_t offsets[] = {
      offsetIn(f, f.length),       offsetIn(f, f.lengthExact), offsetIn(f, f.fadeTime),
      offsetIn(f, f.sampleRate),   offsetIn(f, f.steadyGain),  offsetIn(f, f.fadeInTable),
      offsetIn(f, f.fadeOutTable), offsetIn(f, f.position),    offsetIn(f, f.lastBlockSize),
      offsetIn(f, f.lastValue),    offsetIn(f, f.valueBuffer), offsetIn(f, f.state)};
  CHECK(offsets[0] == 0);
  for (int i = 1; i < 12; ++i)
    CHECK(offsets[i] > offsets[i - 1]);
}

TEST_CASE("both switches, every state, with and without a change") {
  struct Row {
    const char* what;
    bool isOnOff; // else Color
    int32_t state, position;
    float lastValue, value;
    const char* gains; // in fifths, for On/Off with the on (+) or off (-) in force
    int32_t endState, endPosition;
  };
  constexpr bool kSwitchesOn = true, kColors = false;
  const Row rows[] = {
      {"idle, no change", kSwitchesOn, 0, 0, 1, 1, "5+ 5+ 5+ ", 0, 0},
      {"idle and off, no change", kSwitchesOn, 0, 0, 0, 0, "5- 5- 5- ", 0, 0},
      {"idle, turned off: out on the old side", kSwitchesOn, 0, 0, 1, 0, "5+ 4+ 3+ ", 1, 3},
      {"idle, turned on: out on the old side", kSwitchesOn, 0, 0, 0, 1, "5- 4- 3- ", 1, 3},
      {"fading out, no change", kSwitchesOn, 1, 1, 0, 0, "4+ 3+ 2+ ", 1, 4},
      {"fading out over the silence", kSwitchesOn, 1, 3, 0, 0, "2+ 1+ 0- ", 2, 1},
      {"fading out, changed: plays on, the other old side", kSwitchesOn, 1, 1, 0, 1, "4- 3- 2- ", 1, 4},
      {"fading in, no change", kSwitchesOn, 2, 1, 0, 0, "1- 2- 3- ", 2, 4},
      {"fading in to the end", kSwitchesOn, 2, 3, 1, 1, "3+ 4+ 5+ ", 0, 0},
      {"fading in, changed: out from the same place", kSwitchesOn, 2, 2, 0, 1, "3- 2- 1- ", 2, 0},
      {"idle, no change", kColors, 0, 0, 0.5f, 0.5f, "5 5 5 ", 0, 0},
      {"idle, changed", kColors, 0, 0, 0.5f, 0.6f, "5 4 3 ", 1, 3},
      {"fading out, no change", kColors, 1, 1, 0.5f, 0.5f, "4 3 2 ", 1, 4},
      {"fading out, changed: forgotten", kColors, 1, 1, 0.5f, 0.6f, "4 3 2 ", 1, 4},
      {"over the silence", kColors, 1, 4, 0.5f, 0.5f, "1 0 1 ", 2, 2},
      {"fading in, no change", kColors, 2, 2, 0.5f, 0.5f, "2 3 4 ", 0, 0},
      {"fading in, changed: forgotten", kColors, 2, 1, 0.5f, 0.6f, "1 2 3 ", 2, 4},
  };
  for (const Row& row : rows) {
    INFO((row.isOnOff ? "On/Off, " : "Color, ") << row.what);
    ParamSwitch fade(kFiveSamples, row.lastValue);
    fade.state = row.state;
    fade.position = row.position;
    CHECK((row.isOnOff ? playedOnOff : playedColor)(fade, row.value, 3) == row.gains);
    CHECK(fade.state == row.endState);
    CHECK(fade.position == row.endPosition);
    CHECK(fade.lastValue == row.value);
    CHECK(fade.lastBlockSize == 3);
    CHECK((fade.valueBuffer != nullptr) == row.isOnOff);
  }
}

TEST_CASE("the idle gain of On/Off is the record's, that of Color always 1") {
  ParamSwitch fade(kFiveSamples, 1.0f);
  fade.steadyGain = 0.6;
  CHECK(playedOnOff(fade, 1.0f, 2) == "3+ 3+ ");
  CHECK(playedColor(fade, 1.0f, 2) == "5 5 ");
}

TEST_CASE("the switch tells where its fade-in begins, once per fade, in whatever blocks it plays") {
  for (int n : {1, 2, 3, 5, 6, 20}) {
    CAPTURE(n);
    ParamSwitch fade(kFiveSamples, 0.0f);
    std::vector<double> gains(n);
    int found = 0;
    for (int first = 0; first < 40; first += n) {
      const int silence = fade.playColor(1.0f, n, gains.data());
      if (silence == n) continue;
      ++found;
      CHECK(first + silence == 5); // behind a fade-out of five samples
      CHECK(gains[silence] == 0.0);
    }
    CHECK(found == 1);
  }
}

TEST_CASE("the value buffer is made anew for larger blocks, and only then, or stays when memory is short") {
  ParamSwitch fade(kFiveSamples, 0.0f);
  const auto taken = [&](int samples) {
    const long before = allocations::taken();
    fade.prepareValueBuffer(samples);
    return allocations::taken() - before;
  };
  CHECK(taken(0) == 0);
  CHECK(taken(8) == 1);
  for (int samples : {8, 4, 0, -3, 8})
    CHECK(taken(samples) == 0);
  const float* const held = fade.valueBuffer;
  {
    const allocations::FailNth next(1);
    CHECK_THROWS_AS(fade.prepareValueBuffer(9), std::bad_alloc);
  }
  CHECK(fade.valueBuffer == held);
  CHECK(fade.valueCapacity == 8);
  CHECK(taken(9) == 1);
  CHECK(fade.valueCapacity == 9);
}

TEST_CASE("a switch frees what it holds and leaks nothing when it cannot be built") {
  const long before = allocations::live();
  {
    ParamSwitch fade(kFiveSamples, 0.0f);
    playedOnOff(fade, 1.0f, 8);
    CHECK(allocations::live() == before + 3);
  }
  CHECK(allocations::live() == before);
  for (long failing : {1, 2}) {
    const allocations::FailNth failure(failing);
    CHECK_THROWS_AS(ParamSwitch(kFiveSamples, 0.0f), std::bad_alloc);
  }
  CHECK(allocations::live() == before);
}
