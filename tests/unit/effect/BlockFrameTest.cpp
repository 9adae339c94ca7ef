// The frame of a block: what happens once, at its beginning and at its end.
#include "ExposedTreadshift.h"
#include "tests/unit/dsp/Bits.h"
#include "tests/unit/dsp/PlainOscillator.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <doctest/doctest.h>
#include <thread>

namespace {

constexpr float kRate = 44100.0f;

} // namespace

TEST_CASE("the first block starts without a fade and without a pedal ramp") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.setParameter(kOnOff, 0.0f); // all changed since the rate was set
  e.setParameter(kColor, 0.9f);
  e.setParameter(kPedalPos, 0.7f);
  const std::vector<double> sound = testSound(32);
  const std::vector<double> output = e.block(sound);
  CHECK(differences(output.data(), sound.data(), 32) == 0); // off from the first sample on
  CHECK(e.onOffSwitch->state == 0);
  CHECK(e.colorSwitch->state == 0);
  CHECK(bitsOf(e.lastPedal) == bitsOf(static_cast<double>(0.7f)));
  CHECK(e.lastSmoothedPedal == doctest::Approx(static_cast<double>(0.7f)).epsilon(1e-13));
  CHECK(e.centsAtHeel == -6000.0);
  CHECK(e.mixMode == 3);
  CHECK(!e.firstBlock);
}

TEST_CASE("the first block settles the pedal smoother at the pedal") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.setParameter(kPedalPos, 0.7f);
  e.sample(0.5);
  const double p = 0.7f, g = e.pedalSmoother->fb1, f = e.pedalSmoother->ff0;
  const double preloaded = (1.0 - g) * p / f;
  CHECK(bitsOf(e.lastSmoothedPedal) == bitsOf(f * preloaded + g * p));
}

TEST_CASE("the first block takes colour and pitch at the raw pedal before its sweep runs") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.setParameter(kColor, colorOfRow(2));
  e.setParameter(kPedalPos, 1.0f);
  e.sample(0.5);
  // A sweep that runs for the first time has its rate at once: two phases per turn, ratio 2.
  CHECK(bitsOf(e.sweepLfo->phase) == bitsOf(1.0 * 44100.0 * (1.0 / 2890) * (1.0 / 44100.0) * 2.0));
}

TEST_CASE("the first block turns the sweep when the pitch crosses 0 from the range in force before it") {
  const auto startsFalling = [](float colorBefore, float colorAfter, float pedal) {
    ExposedTreadshift e;
    e.setParameter(kColor, colorBefore);
    e.setSampleRate(kRate);
    e.setParameter(kColor, colorAfter);
    e.setParameter(kPedalPos, pedal);
    e.sweepLfo->phase = 0.5; // far from the turns
    e.block(testSound(8));
    return e.sweepLfo->falling == 1;
  };
  CHECK(startsFalling(colorOfRow(4), colorOfRow(3), 1.0f));       // +1200 to -2400
  CHECK(startsFalling(colorOfRow(3), colorOfRow(2), 1.0f));       // -2400 to +1200
  CHECK_FALSE(startsFalling(colorOfRow(4), colorOfRow(4), 1.0f)); // the range in force at the pedal now
  CHECK_FALSE(startsFalling(colorOfRow(4), colorOfRow(1), 0.0f)); // -1200 to 0
  CHECK_FALSE(startsFalling(colorOfRow(1), colorOfRow(4), 0.0f)); // 0 to -1200
}

TEST_CASE("tone targets are computed when Tone differs from the last block's, and ramp over a block") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.block(testSound(16));
  CHECK(e.lastTone == 0.8f);
  ExposedTreadshift expected;
  expected.setSampleRate(kRate);
  expected.setToneTargets(0.8f);
  CHECK(differences(e.toneCoef, expected.toneCoef, 4) == 0);
  CHECK(differences(e.prevToneCoef, e.toneCoef, 4) == 0);
  e.toneCoef[0] = 0.123; // stays while Tone stays
  e.block(testSound(16));
  CHECK(e.toneCoef[0] == 0.123);
  CHECK(e.prevToneCoef[0] == 0.123);
  e.setParameter(kTone, 0.3f);
  e.block(testSound(16));
  expected.setToneTargets(0.3f);
  CHECK(differences(e.toneCoef, expected.toneCoef, 4) == 0);
  CHECK(e.lastTone == 0.3f);
}

TEST_CASE("ramps have the step of their difference times 1 / (n - 1), for one sample none") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.block(testSound(16));
  e.setParameter(kTone, 0.2f);
  e.setParameter(kPedalPos, 0.75f);
  for (int n : {8, 2, 1}) {
    CAPTURE(n);
    REQUIRE(e.prepareBuffers(n));
    const double inv = n > 1 ? 1.0 / (n - 1) : 0.0;
    const ExposedTreadshift::BlockValues block = e.beginBlock(n);
    for (int j = 0; j < 4; ++j)
      CHECK(bitsOf(block.toneStep[j]) == bitsOf((e.toneCoef[j] - e.prevToneCoef[j]) * inv));
    CHECK(bitsOf(block.pedalStep) == bitsOf((static_cast<double>(0.75f) - e.lastPedal) * inv));
  }
}

TEST_CASE("blocks of one sample hear new targets one block late") {
  // Row 2 is shifted sound alone: with all tone coefficients still 0 the first sample is 0
  ExposedTreadshift e(1000.0f, 1.0f, 0.5f, colorOfRow(2), 0.0f);
  CHECK(bitsOf(e.sample(1.0)) == bitsOf(0.0));
  for (int i = 0; i < 4; ++i) // 5 samples of delay
    CHECK(e.sample(1.0) == 0.0);
  CHECK(e.sample(1.0) != 0.0);
  e.setParameter(kPedalPos, 1.0f);
  e.sample(1.0);
  CHECK(e.lastSmoothedPedal == 0.0);
  CHECK(e.lastPedal == 1.0);
  e.sample(1.0);
  CHECK(e.lastSmoothedPedal > 0.0);
}

TEST_CASE("a steady block runs the sweep at its one rate") {
  ExposedTreadshift e; // row 4 at the heel: the smoother rests at exactly 0
  e.setSampleRate(kRate);
  e.block(testSound(10));
  PlainOscillator plain(Wave::triangle, 0.0, e.sweepLfo->phase, kRate);
  plain.block(e.sweepRate, 0.1, 0.1, 0);
  const double restart = e.minDelay; // a pitch that falls
  double tap1 = e.tapPos1;
  e.block(testSound(5000));
  const std::vector<double> sweep = plain.block(e.sweepRate, 0.1, 0.1, 5000);
  for (double s : sweep)
    tap1 = (s == 0.0 ? restart : tap1) + 1.0 - e.pitchRatio;
  CHECK(bitsOf(e.sweepLfo->phase) == bitsOf(plain.phase));
  CHECK((e.sweepLfo->falling == 1) == plain.falling);
  CHECK(bitsOf(e.tapPos1) == bitsOf(tap1));
}

TEST_CASE("the end of a block remembers what the next one starts from") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  e.block(testSound(10));
  e.setParameter(kPedalPos, 0.4f);
  e.setParameter(kTone, 0.1f);
  e.setParameter(kColor, 0.3f);
  e.setParameter(kOnOff, 0.0f);
  e.block(testSound(20));
  CHECK(bitsOf(e.lastPedal) == bitsOf(static_cast<double>(0.4f)));
  CHECK(e.lastTone == 0.1f);
  CHECK(e.lastBlockSize == 20);
  CHECK(e.onOffSwitch->lastValue == 0.0f);
  CHECK(e.colorSwitch->lastValue == 0.3f);
  CHECK(e.onOffSwitch->lastBlockSize == 20);
  CHECK(e.writeIndex == 30);
}

TEST_CASE("the restart delay of the taps follows the pitch at the start of the block for all of it") {
  // +1200 in row 2 at the toe, 15 sweeps a second; the Color change turns the pitch down at sample 768, the
  // sweep comes to 0 later in the same block. The pedal rests, so the sweep runs on at its rate.
  ExposedTreadshift e(48000.0f, 1.0f, 0.5f, colorOfRow(2), 1.0f);
  e.block(testSound(1));
  PlainOscillator plain(Wave::triangle, 0.0, e.sweepLfo->phase, 48000.0);
  plain.block(e.sweepRate, 0.1, 0.1, 0);
  const std::vector<double> sweep = plain.block(e.sweepRate, 0.1, 0.1, 8000);
  const auto zero = std::find(sweep.begin() + 800, sweep.end(), 0.0) - sweep.begin();
  REQUIRE(zero < 8000);
  e.setParameter(kColor, colorOfRow(3));
  e.block(testSound(static_cast<int>(zero) + 1));
  CHECK(e.cents < 0.0);
  const double restart = e.minDelay + e.sweepLength; // as for a rising pitch
  CHECK(bitsOf(e.tapPos1) == bitsOf(restart + 1.0 - e.pitchRatio));
}

TEST_CASE("a block and a program change wait for the effect's lock, which the same thread may take again") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  std::atomic<int> done{0};
  std::thread block, change;
  {
    const CriticalSectionHolder holder(e.lock);
    e.block(testSound(10));
    e.setProgram(3L);
    CHECK(e.writeIndex == 10);
    block = std::thread([&] {
      e.block(testSound(10));
      ++done;
    });
    change = std::thread([&] {
      e.setProgram(7L);
      ++done;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30)); // time to do harm, if they could
    CHECK(done == 0);
    CHECK(e.writeIndex == 10);
    CHECK(e.currentProgram == 3);
  }
  block.join();
  change.join();
  CHECK(e.writeIndex == 20);
  CHECK(e.currentProgram == 7);
}

TEST_CASE("processReplacing leaves its output alone") {
  ExposedTreadshift e;
  e.setSampleRate(kRate);
  float input[4] = {1, 2, 3, 4}, output[4] = {5, 6, 7, 8};
  float* in[] = {input};
  float* out[] = {output};
  e.processReplacing(in, out, 4);
  AEffect* record = e.getAeffect();
  record->processReplacingEntry(record, in, out, 4);
  e.processReplacing(nullptr, nullptr, 4);
  CHECK(output[0] == 5);
  CHECK(output[3] == 8);
  CHECK(e.writeIndex == 0);
}

TEST_CASE("Mode has no audible effect, whenever it changes") {
  ExposedTreadshift guitar(kRate, 1.0f, 0.8f, colorOfRow(5), 0.0f);
  ExposedTreadshift bass(kRate, 1.0f, 0.8f, colorOfRow(5), 0.0f);
  bass.setParameter(kMode, 1.0f);
  for (int from = 0; from < 6000; from += 500) {
    const std::vector<double> input = testSound(500, from);
    const std::vector<double> a = guitar.block(input), b = bass.block(input);
    CHECK(differences(a.data(), b.data(), 500) == 0);
    bass.setParameter(kMode, static_cast<float>(from) / 6000.0f);
  }
}
