// The pedal's road: ramp, smoother, pitch, and the sweep that a moved pedal runs again.
#include "ExposedTreadshift.h"
#include "tests/unit/dsp/Bits.h"
#include "tests/unit/dsp/PlainOscillator.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

// y = pole * y + (1 - pole) * x, from a state.
struct PlainSmoother {
  double pole, gain, state;

  explicit PlainSmoother(const IIRFilter& filter)
      : pole(filter.ff0), gain(filter.fb1), state(filter.state1) {}
  double next(double x) { return state = pole * state + gain * x; }
};

// Settles the smoother to the last bit, so that blocks no longer recompute anything.
void settle(ExposedTreadshift& e) {
  double before;
  do {
    before = e.lastSmoothedPedal;
    e.block(std::vector<double>(1000, 0.1));
  } while (e.lastSmoothedPedal != before);
}

constexpr float kSlowRate = 1000.0f; // Hz: fades of 16 samples, 65 samples of sweep
constexpr int kSlowFade = 16;

} // namespace

TEST_CASE("the pedal ramps over a block, reaches its target at the last sample, and is smoothed") {
  for (int n : {2, 3, 64, 500}) {
    CAPTURE(n);
    ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
    e.block(testSound(10));
    PlainSmoother plain(*e.pedalSmoother);
    double from = 0.0;
    for (float target : {1.0f, 0.3f, 0.3f, 0.9f}) {
      e.setParameter(kPedalPos, target);
      e.block(testSound(n));
      const double step = (target - from) * (1.0 / (n - 1));
      double smoothed = 0.0;
      for (int i = 0; i < n; ++i)
        smoothed = plain.next(from + i * step);
      CHECK(bitsOf(e.lastSmoothedPedal) == bitsOf(smoothed));
      CHECK(bitsOf(e.pedalSmoother->state1) == bitsOf(smoothed));
      from = target;
    }
  }
}

TEST_CASE("the pitch follows the smoothed pedal narrowed to single precision") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
  e.block(testSound(10));
  e.setParameter(kPedalPos, 1.0f);
  int wider = 0;
  for (int block = 0; block < 50; ++block) {
    e.block(testSound(32));
    const double narrowed = static_cast<float>(e.lastSmoothedPedal);
    CHECK(bitsOf(e.cents) == bitsOf(-1200.0 + 2400.0 * narrowed));
    CHECK(bitsOf(e.pitchRatio) == bitsOf(std::pow(2.0, e.cents * (1.0 / 1200.0))));
    CHECK(bitsOf(e.lastCents) == bitsOf(e.cents));
    wider += e.cents != -1200.0 + 2400.0 * e.lastSmoothedPedal;
  }
  CHECK(wider > 40); // the narrowing is seen
}

TEST_CASE("the mix follows the smoothed pedal, too") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(0), 0.0f);
  e.block(testSound(10));
  e.setParameter(kPedalPos, 1.0f);
  e.block(testSound(3000));
  const double p = static_cast<float>(e.lastSmoothedPedal);
  CHECK(p > 0.1);
  CHECK(p < 0.99);
  CHECK(bitsOf(e.dryGain) == bitsOf(p));
  CHECK(bitsOf(e.wetGain) == bitsOf(1.0 - p));
}

TEST_CASE("every sample with a moved pedal runs the sweep again from its own place to the block's end") {
  for (int n : {2, 40, 300}) {
    CAPTURE(n);
    ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
    e.block(testSound(200));
    PlainSmoother smoother(*e.pedalSmoother);
    PlainOscillator plain(Wave::triangle, 0.0, e.sweepLfo->phase, 44100.0);
    plain.falling = e.sweepLfo->falling == 1;
    plain.block(e.sweepRate, 0.1, 0.1, 0); // at this rate
    std::vector<double> sweep = plain.block(e.sweepRate, 0.1, 0.1, n);
    e.setParameter(kPedalPos, 1.0f);
    e.block(testSound(n));
    double last = smoother.next(0.0); // the ramp starts where the last block ended: nothing moves
    std::vector<double> phases = plain.phases;
    std::vector<bool> directions = plain.directions;
    for (int i = 1; i < n; ++i) {
      const double pedal = smoother.next(0.0 + i * (1.0 * (1.0 / (n - 1))));
      REQUIRE(pedal != last);
      last = pedal;
      const double ratio = std::pow(2.0, (-1200.0 + 2400.0 * static_cast<float>(pedal)) * (1.0 / 1200.0));
      plain.phase = phases[1]; // rewound to before sample i, the second of the run before
      plain.falling = directions[1];
      const double rate = std::fabs(1.0 - ratio) * 44100.0 * (1.0 / 2890);
      const std::vector<double> rest = plain.block(rate, 0.1, 0.1, n - i);
      std::copy(rest.begin(), rest.end(), sweep.begin() + i);
      phases = plain.phases;
      directions = plain.directions;
    }
    CHECK(differences(e.sweepBuffer, sweep.data(), n) == 0);
    CHECK(bitsOf(e.sweepLfo->phase) == bitsOf(plain.phase));
    CHECK((e.sweepLfo->falling == 1) == plain.falling);
  }
}

TEST_CASE("the crossfade position stays continuous through a pedal move") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(6), 0.0f);
  e.block(testSound(200));
  double last = e.sweepLfo->phase;
  double fastest = 0.0; // step of any rate in the range: 2 * rate / 44100, rate at most 44100 / 2890
  for (int block = 1; block < 100; ++block) {
    e.setParameter(kPedalPos, static_cast<float>(block % 10) / 9.0f);
    e.block(testSound(50));
    for (int i = 0; i < 50; ++i) {
      fastest = std::max(fastest, std::fabs(e.sweepBuffer[i] - last));
      last = e.sweepBuffer[i];
    }
  }
  CHECK(fastest > 0.0);
  CHECK(fastest < 2.0 / 2890 * 1.0001);
}

TEST_CASE("a pedal at rest recomputes nothing") {
  ExposedTreadshift e(kSlowRate, 1.0f, 0.8f, colorOfRow(4), 0.3f);
  e.block(testSound(10));
  settle(e);
  e.cents = 123.0; // would be put right by a pitch step
  e.block(testSound(100));
  CHECK(e.cents == 123.0);
}

TEST_CASE("a turn of the sweep that a pedal step makes is undone by its new run, but the sign is noted") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.4f); // -240 cents
  e.block(testSound(700));
  REQUIRE(e.sweepLfo->falling == 0);
  e.setParameter(kPedalPos, 1.0f);
  double lastCents = e.lastCents;
  while (e.cents <= 0.0) {
    lastCents = e.cents;
    e.block(testSound(8));
    CHECK(e.sweepLfo->falling == 0); // a slow sweep, not yet at its turn
  }
  CHECK(lastCents < 0.0);
  CHECK(e.lastCents > 0.0);
}

TEST_CASE("a turn at a colour switch-over acts on the sweep's state at the end of the block") {
  for (int n : {1, 20, 40}) {
    CAPTURE(n);
    ExposedTreadshift e(kSlowRate, 1.0f, 0.8f, colorOfRow(4), 1.0f); // +1200
    e.block(testSound(10));
    settle(e);
    PlainOscillator plain(Wave::triangle, 0.0, e.sweepLfo->phase, kSlowRate);
    plain.falling = e.sweepLfo->falling == 1;
    plain.block(e.sweepRate, 0.1, 0.1, 0); // at this rate
    e.setParameter(kColor, colorOfRow(3)); // -2400 there
    bool turned = false;
    for (int done = 0; done <= kSlowFade; done += n) {
      const double rate = e.sweepRate;
      e.block(testSound(n));
      plain.block(rate, 0.1, 0.1, n);
      const bool switchedOver = done + n > kSlowFade;
      if (switchedOver) plain.falling = !plain.falling;
      turned |= switchedOver;
      CHECK(bitsOf(e.sweepLfo->phase) == bitsOf(plain.phase));
      CHECK((e.sweepLfo->falling == 1) == plain.falling);
    }
    CHECK(turned);
    CHECK(e.cents == -2400.0);
  }
}

TEST_CASE("a later pedal step of the same block undoes a switch-over's turn") {
  // At +1200 a switch-over to -2400 turns the sweep; only a pedal that moves takes that back.
  const auto turnsInBlock = [](float pedal) {
    ExposedTreadshift e(kSlowRate, 1.0f, 0.8f, colorOfRow(4), 1.0f);
    e.block(testSound(10));
    settle(e);
    e.sweepLfo->phase = 0.05; // far from the turns for the next 24 samples
    e.sweepLfo->falling = 0;
    e.setParameter(kColor, colorOfRow(3));
    e.setParameter(kPedalPos, pedal);
    e.block(testSound(24));
    CHECK(e.cents < 0.0);
    return e.sweepLfo->falling == 1;
  };
  CHECK(turnsInBlock(1.0f));
  CHECK_FALSE(turnsInBlock(0.9f));
}

TEST_CASE("pedal positions that are no numbers lead nowhere outside the delay line") {
  for (float pedal : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                      -std::numeric_limits<float>::infinity(), 3e38f, -3e38f, 1e6f, -1e6f}) {
    for (int row = 0; row < 8; ++row) {
      for (float rate : {62.5f, 8000.0f}) {
        ExposedTreadshift e(rate, 1.0f, 0.8f, colorOfRow(row), 0.0f);
        e.block(testSound(300));
        e.setParameter(kPedalPos, pedal);
        for (int block = 0; block < 4; ++block)
          e.block(testSound(300));
        CHECK(e.writeIndex >= 0);
        CHECK(e.writeIndex < e.delayLength);
        CHECK(e.tapPos1 >= e.minDelay);
        CHECK(e.tapPos2 >= e.minDelay);
        CHECK(e.sweepLfo->phase >= 0.0);
        CHECK(e.sweepLfo->phase <= 1.0);
      }
    }
  }
}

TEST_CASE("parameters and inputs that are no numbers lead to no fault") {
  const float awkward[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity()};
  for (int index = 0; index < kParameterCount; ++index) {
    for (float value : awkward) {
      ExposedTreadshift e(8000.0f, 1.0f, 0.8f, 0.5f, 0.5f);
      e.block(testSound(100));
      e.setParameter(index, value);
      std::vector<double> sound = testSound(100);
      sound[50] = value;
      for (int block = 0; block < 5; ++block)
        e.block(sound);
      CHECK(e.writeIndex == 600);
    }
  }
}

TEST_CASE("Color that is not a number plays row 7, On/Off that is not a number is off") {
  ExposedTreadshift e(8000.0f, 1.0f, 0.8f, std::numeric_limits<float>::quiet_NaN(), 0.0f);
  e.block(testSound(1000));
  CHECK(e.centsAtHeel == -6000.0);
  CHECK(e.mixMode == 3);
  ExposedTreadshift off(8000.0f, std::numeric_limits<float>::quiet_NaN(), 0.8f, colorOfRow(2), 0.0f);
  off.block(testSound(1));
  // unequal to itself it fades with every block, out with on as the old side
  CHECK(off.onOffSwitch->valueBuffer[0] == 1.0f);
}
