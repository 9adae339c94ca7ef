// Which fields each event of an effect's life changes, and which it leaves alone.
#include "ExposedTreadshift.h"
#include "Snapshot.h"
#include "tests/unit/dsp/Bits.h"
#include "vst/Opcodes.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <functional>
#include <initializer_list>
#include <limits>

namespace {

using Names = std::set<std::string>;

// An effect in the middle of its life: sound in the line, a pedal on the move, both switches fading.
struct BusyEffect : ExposedTreadshift {
  BusyEffect() {
    setSampleRate(44100.0f);
    block(testSound(1000));
    setParameter(kPedalPos, 0.7f);
    setParameter(kColor, 0.9f);
    setParameter(kOnOff, 0.0f);
    block(testSound(300, 1000));
  }

  void selectProgram(int number) {
    AEffect* record = getAeffect();
    record->dispatchEntry(record, 2, 0, number, nullptr, 0.0f);
  }
};

Names changedBy(const std::function<void(BusyEffect&)>& event) {
  BusyEffect e;
  const Snapshot before = snapshotOf(e);
  event(e);
  return changedFields(before, snapshotOf(e));
}

Names pointers() {
  return {"pedalSmoother",      "shiftFilter",        "sweepLfo",        "onOffSwitch",   "colorSwitch",
          "onOffSwitch tables", "colorSwitch tables", "delayLine place", "block buffers", "curves"};
}

bool allFinite(const std::vector<double>& samples) {
  return std::ranges::all_of(samples, [](double sample) { return std::isfinite(sample); });
}

Names without(Names names, const Names& taken) {
  for (const std::string& name : taken)
    names.erase(name);
  return names;
}

} // namespace

TEST_CASE("resume clears the delay line and nothing else") {
  CHECK(changedBy([](BusyEffect& e) { e.resume(); }) == Names{"delayLine"});
}

// What a parameter or a sample that is no finite number leaves behind. `mend` is called once they are good
// again.
void checkMended(const std::function<void(ExposedTreadshift&)>& spoil, void mend(ExposedTreadshift&)) {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.3f);
  e.block(testSound(500));
  spoil(e);
  e.setParameter(kTone, 0.8f);
  e.setParameter(kPedalPos, 0.3f);
  for (int blocks = 0; blocks < 4; ++blocks)
    e.block(testSound(44100)); // twice the delay line
  const bool pedalLost =
      !std::isfinite(e.lastSmoothedPedal); // then the sound is finite and the pedal moves nothing
  CHECK((pedalLost || !allFinite(e.block(testSound(500)))));
  mend(e);
  ExposedTreadshift fresh;
  for (int index = 0; index < kParameterCount; ++index)
    fresh.setParameter(index, e.getParameter(index));
  fresh.setSampleRate(static_cast<float>(e.rateHz));
  CHECK(without(changedFields(snapshotOf(fresh), snapshotOf(e)), pointers()) == Names{"firstBlock"});
  for (int blocks = 0; blocks < 4; ++blocks)
    CHECK(allFinite(e.block(testSound(1000))));
}

TEST_CASE("what no finite number has spoilt for good is whole again after a resume or a new rate") {
  const double infinity = std::numeric_limits<double>::infinity();
  const auto resume = [](ExposedTreadshift& e) { e.resume(); };
  const auto newRate = [](ExposedTreadshift& e) { e.setSampleRate(48000.0f); };
  for (const double bad : {std::nan(""), infinity, -infinity}) {
    CAPTURE(bad);
    const auto sample = [bad](ExposedTreadshift& e) { e.sample(bad); };
    checkMended(sample, resume);
    checkMended(sample, newRate);
    for (const int parameter : {kTone, kPedalPos}) {
      CAPTURE(parameter);
      const auto setting = [=](ExposedTreadshift& e) {
        e.setParameter(parameter, static_cast<float>(bad));
        e.block(testSound(100));
      };
      checkMended(setting, resume);
      checkMended(setting, newRate);
    }
  }
}

TEST_CASE("a resume while a parameter is no number still ends, and the next one with good values mends") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.3f);
  e.setParameter(kPedalPos, std::nanf(""));
  e.block(testSound(100));
  e.resume();
  e.block(testSound(100));
  e.setParameter(kPedalPos, 0.3f);
  e.resume();
  CHECK(allFinite(e.block(testSound(1000))));
}

TEST_CASE("the rate in force, suspend and the block size announced change nothing") {
  CHECK(changedBy([](BusyEffect& e) { e.setSampleRate(44100.0f); }).empty());
  CHECK(changedBy([](BusyEffect& e) { e.suspend(); }).empty());
  CHECK(changedBy([](BusyEffect& e) { e.setBlockSize(77); }).empty());
  CHECK(changedBy([](BusyEffect& e) { e.processReplacing(nullptr, nullptr, 64); }).empty());
}

TEST_CASE("a parameter changes its own field and the current program") {
  const char* const fields[] = {"onOff", "mode", "tone", "color", "pedalPos"};
  for (int index = 0; index < kParameterCount; ++index) {
    CHECK(changedBy([&](BusyEffect& e) { e.setParameter(index, 0.31f); }) ==
          Names{fields[index], "program 0"});
  }
}

TEST_CASE("the host's program change stores its number alone") {
  CHECK(changedBy([](BusyEffect& e) { e.selectProgram(3); }) == Names{"currentProgram"});
}

TEST_CASE("the effect's own program change makes the program's values live and touches no sound") {
  CHECK(changedBy([](BusyEffect& e) { e.setProgram(3L); }) ==
        Names{"currentProgram", "onOff", "color", "pedalPos"}); // Mode and Tone have the program's values
}

TEST_CASE("a steady block changes what runs and nothing that is chosen") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f); // row 4 at the heel
  e.block(testSound(300));
  const Snapshot before = snapshotOf(e);
  e.block(testSound(300, 300));
  CHECK(changedFields(before, snapshotOf(e)) ==
        Names{"delayLine", "writeIndex", "taps", "toneStates", "shiftFilter state", "sweepLfo phase"});
}

TEST_CASE("a standing pitch leaves taps and sweep where they are") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(1), 0.0f);
  e.block(testSound(300));
  const Snapshot before = snapshotOf(e);
  e.block(testSound(300, 300));
  CHECK(changedFields(before, snapshotOf(e)) ==
        Names{"delayLine", "writeIndex", "toneStates", "shiftFilter state"});
}

TEST_CASE("a new rate leaves an effect as a fresh one with its parameters, its first block aside") {
  BusyEffect e;
  e.setSampleRate(48000.0f);
  ExposedTreadshift fresh;
  for (int index = 0; index < kParameterCount; ++index)
    fresh.setParameter(index, e.getParameter(index));
  fresh.setSampleRate(48000.0f);
  CHECK(without(changedFields(snapshotOf(fresh), snapshotOf(e)), pointers()) == Names{"firstBlock"});
  CHECK(!e.firstBlock);
}

TEST_CASE("back at the first rate everything has been built anew") {
  BusyEffect e;
  e.setSampleRate(48000.0f);
  e.block(testSound(500));
  e.setSampleRate(44100.0f);
  ExposedTreadshift fresh;
  for (int index = 0; index < kParameterCount; ++index)
    fresh.setParameter(index, e.getParameter(index));
  fresh.setSampleRate(44100.0f);
  CHECK(without(changedFields(snapshotOf(fresh), snapshotOf(e)), pointers()) == Names{"firstBlock"});
}

TEST_CASE("after a new rate the range is that of the live Color and the pedal comes up from 0") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(2), 1.0f);
  e.block(testSound(500));
  e.setParameter(kColor, colorOfRow(3));
  e.setSampleRate(48000.0f);
  CHECK(e.centsAtToe == -2400.0);
  CHECK(e.mixMode == 0);
  CHECK(e.wetGain == 1.0);
  CHECK(e.lastPedal == 0.0);
  CHECK(e.lastSmoothedPedal == 0.0);
  CHECK(e.pedalSmoother->state1 == 0.0);
  CHECK(e.cents == -2400.0);
  e.sample(0.1); // the ramp's first sample is still 0: the pedal has not moved, the pitch stays
  CHECK(e.cents == -2400.0);
  e.block(testSound(100));
  CHECK(e.colorSwitch->state == 0); // the switch was built for the new colour: no fade
  double smoothed = 0.0;
  for (int i = 0; i < 100; ++i)
    smoothed = e.pedalSmoother->ff0 * smoothed + e.pedalSmoother->fb1 * 1.0;
  CHECK(bitsOf(e.lastSmoothedPedal) == bitsOf(smoothed));
  CHECK(e.cents > -2400.0 * 0.1);
}

TEST_CASE("after a new rate a first pedal ramp runs over its block") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(2), 0.5f);
  e.block(testSound(500));
  e.setSampleRate(48000.0f);
  e.block(testSound(100));
  double smoothed = 0.0;
  const double step = (0.5 - 0.0) * (1.0 / 99);
  for (int i = 0; i < 100; ++i)
    smoothed = e.pedalSmoother->ff0 * smoothed + e.pedalSmoother->fb1 * (0.0 + i * step);
  CHECK(bitsOf(e.lastSmoothedPedal) == bitsOf(smoothed));
  CHECK(e.lastPedal == 0.5);
}

TEST_CASE("a rate and a resume through the record's dispatcher arrive") {
  BusyEffect e;
  AEffect* record = e.getAeffect();
  record->dispatchEntry(record, kOpSetSampleRate, 0, 0, nullptr, 48000.0f);
  CHECK(e.rateHzInt == 48000);
  e.block(testSound(100));
  const Snapshot before = snapshotOf(e);
  record->dispatchEntry(record, kOpResumeOrSuspend, 0, 0, nullptr, 0.0f);
  CHECK(changedFields(before, snapshotOf(e)).empty());
  record->dispatchEntry(record, kOpResumeOrSuspend, 0, 5, nullptr, 0.0f);
  CHECK(changedFields(before, snapshotOf(e)) == Names{"delayLine"});
}

TEST_CASE("the same life twice gives the same bits") {
  const auto live = [] {
    BusyEffect e;
    std::vector<double> all;
    for (int from = 0; from < 4000; from += 250) {
      if (from == 1000) e.setParameter(kOnOff, 1.0f);
      if (from == 2000) e.setParameter(kTone, 0.1f);
      const std::vector<double> output = e.block(testSound(250, from));
      all.insert(all.end(), output.begin(), output.end());
    }
    return all;
  };
  const std::vector<double> first = live(), second = live();
  CHECK(differences(first.data(), second.data(), 4000) == 0);
}
