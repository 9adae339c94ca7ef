// Colour, pitch and tone targets.
#include "ExposedTreadshift.h"
#include "tests/unit/dsp/Bits.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

struct ColorRow {
  double heel, toe;
  int32_t mix;
};

const ColorRow kRows[8] = {{-100, 0, 1},     {0, 50, 3},     {0, 1200, 0},     {0, -2400, 0},
                           {-1200, 1200, 3}, {-700, 500, 3}, {-6000, 1200, 2}, {-6000, 1200, 3}};

double dryOf(int32_t mix, double p) { return mix == 0 ? 0.0 : mix == 1 ? p : mix == 2 ? 1.0 - p : 1.0; }
double wetOf(int32_t mix, double p) { return mix == 1 ? 1.0 - p : 1.0; }

struct AtRate : ExposedTreadshift {
  explicit AtRate(float rate = 44100.0f) { setSampleRate(rate); }
};

// Result of a pitch step from one offset in cents to another.
bool flips(double from, double to) {
  AtRate e;
  e.centsAtHeel = e.centsAtToe = to;
  e.lastCents = from;
  e.setPitch(0.0f);
  CHECK(bitsOf(e.lastCents) == bitsOf(e.cents));
  return e.sweepLfo->falling == 1;
}

} // namespace

TEST_CASE("a colour step takes the row's range and mixes by the live pedal") {
  for (float rate : {44100.0f, 48000.0f}) {
    AtRate e(rate);
    for (int row = 0; row < 8; ++row) {
      for (float p : {0.0f, 0.3f, 0.5f, 1.0f}) {
        CAPTURE(row);
        CAPTURE(p);
        e.color = colorOfRow(row);
        e.pedalPos = p;
        const double cents = e.cents, ratio = e.pitchRatio;
        e.setColor();
        CHECK(bitsOf(e.centsAtHeel) == bitsOf(kRows[row].heel));
        CHECK(bitsOf(e.centsAtToe) == bitsOf(kRows[row].toe));
        CHECK(e.mixMode == kRows[row].mix);
        CHECK(bitsOf(e.dryGain) == bitsOf(dryOf(kRows[row].mix, p)));
        CHECK(bitsOf(e.wetGain) == bitsOf(wetOf(kRows[row].mix, p)));
        CHECK(bitsOf(e.cents) == bitsOf(cents)); // the pitch is the next step's
        CHECK(bitsOf(e.pitchRatio) == bitsOf(ratio));
      }
    }
  }
}

TEST_CASE("colour bounds belong to the higher row") {
  AtRate e;
  for (int bound = 1; bound < 8; ++bound) {
    e.color = 0.125f * static_cast<float>(bound);
    e.setColor();
    CHECK(e.centsAtHeel == kRows[bound].heel);
    CHECK(e.centsAtToe == kRows[bound].toe);
    CHECK(e.mixMode == kRows[bound].mix);
    e.color = std::nextafter(e.color, 0.0f);
    e.setColor();
    CHECK(e.centsAtHeel == kRows[bound - 1].heel);
    CHECK(e.centsAtToe == kRows[bound - 1].toe);
    CHECK(e.mixMode == kRows[bound - 1].mix);
  }
  e.color = std::numeric_limits<float>::quiet_NaN();
  e.setColor();
  CHECK(e.centsAtHeel == -6000.0);
  CHECK(e.mixMode == 3);
}

TEST_CASE("a pitch step at heel, middle and toe of every colour") {
  for (float rate : {44100.0f, 48000.0f, 44100.5f}) {
    AtRate e(rate);
    for (int row = 0; row < 8; ++row) {
      e.color = colorOfRow(row);
      e.setColor();
      for (float pedal : {0.0f, 0.5f, 1.0f, 0.3f, 0.123456f}) {
        CAPTURE(row);
        CAPTURE(pedal);
        e.setPitch(pedal);
        const double p = pedal;
        const double cents = kRows[row].heel + (kRows[row].toe - kRows[row].heel) * p;
        const double ratio = std::pow(2.0, cents * 0.0008333333333333334);
        CHECK(bitsOf(e.cents) == bitsOf(cents));
        CHECK(bitsOf(e.pitchRatio) == bitsOf(ratio));
        CHECK(bitsOf(e.sweepRate) == bitsOf(std::fabs(1.0 - ratio) * e.rateHz * (1.0 / e.sweepLength)));
        CHECK(bitsOf(e.dryGain) == bitsOf(dryOf(kRows[row].mix, p)));
        CHECK(bitsOf(e.wetGain) == bitsOf(wetOf(kRows[row].mix, p)));
        CHECK(bitsOf(e.lastCents) == bitsOf(cents));
      }
    }
  }
}

TEST_CASE("an octave is a ratio of exactly 2 or a half, five octaves down a thirty-second") {
  AtRate e;
  const auto ratioAt = [&](int row, float pedal) {
    e.color = colorOfRow(row);
    e.setColor();
    e.setPitch(pedal);
    return e.pitchRatio;
  };
  CHECK(bitsOf(ratioAt(2, 1.0f)) == bitsOf(2.0));
  CHECK(bitsOf(ratioAt(2, 0.0f)) == bitsOf(1.0));
  CHECK(bitsOf(ratioAt(3, 1.0f)) == bitsOf(0.25));
  CHECK(bitsOf(ratioAt(4, 0.0f)) == bitsOf(0.5));
  CHECK(bitsOf(ratioAt(4, 0.5f)) == bitsOf(1.0));
  CHECK(bitsOf(ratioAt(6, 0.0f)) == bitsOf(0.03125));
  CHECK(bitsOf(ratioAt(7, 1.0f)) == bitsOf(2.0));
}

TEST_CASE("row 1 at the heel stands still: 0 cents, ratio 1, sweep rate 0") {
  AtRate e;
  e.color = colorOfRow(1);
  e.setColor();
  e.setPitch(0.0f);
  CHECK(bitsOf(e.cents) == bitsOf(0.0));
  CHECK(bitsOf(e.pitchRatio) == bitsOf(1.0));
  CHECK(bitsOf(e.sweepRate) == bitsOf(0.0));
}

TEST_CASE("row 0 at the toe is dry alone at 0 cents") {
  AtRate e;
  e.color = colorOfRow(0);
  e.setColor();
  e.setPitch(1.0f);
  CHECK(bitsOf(e.dryGain) == bitsOf(1.0));
  CHECK(bitsOf(e.wetGain) == bitsOf(0.0));
  CHECK(bitsOf(e.cents) == bitsOf(0.0));
}

TEST_CASE("a change of the pitch's sign turns the sweep, and 0 on either side does not") {
  CHECK(flips(1200.0, -1200.0));
  CHECK(flips(-1200.0, 1200.0));
  CHECK(flips(1e-300, -1e-300));
  for (double other : {0.0, -0.0}) {
    CHECK_FALSE(flips(50.0, other));
    CHECK_FALSE(flips(-50.0, other));
    CHECK_FALSE(flips(other, -100.0));
    CHECK_FALSE(flips(other, 100.0));
    CHECK_FALSE(flips(other, 0.0));
  }
  CHECK_FALSE(flips(100.0, 1200.0));
  CHECK_FALSE(flips(-100.0, -1200.0));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  CHECK_FALSE(flips(nan, 100.0));
  CHECK_FALSE(flips(100.0, nan));
}

TEST_CASE("each crossing turns the sweep once more") {
  AtRate e; // row 4, +-1200, now at -1200
  for (int turn = 1; turn <= 4; ++turn) {
    e.setPitch(turn % 2 == 1 ? 1.0f : 0.0f);
    CHECK(e.sweepLfo->falling == turn % 2);
  }
  e.setPitch(0.5f); // exactly 0
  e.setPitch(1.0f); // from 0: the crossing is lost
  CHECK(e.sweepLfo->falling == 0);
}

TEST_CASE("Mode has no part in colour or pitch") {
  AtRate e;
  for (float mode : {0.0f, 1.0f, 0.5f, std::numeric_limits<float>::quiet_NaN()}) {
    e.mode = mode;
    e.setColor();
    e.setPitch(0.3f);
    CHECK(e.cents == -1200.0 + 2400.0 * static_cast<double>(0.3f));
  }
}

TEST_CASE("tone targets follow the four formulas in cents of their range") {
  for (float rate : {44100.0f, 48000.0f}) {
    AtRate e(rate);
    const double low = rate == 48000.0f ? 0.767 : 0.749, high = rate == 48000.0f ? 0.968 : 0.965;
    for (int i = 0; i <= 100; ++i) {
      const float tone = static_cast<float>(i) / 100.0f;
      const double t = tone;
      CAPTURE(t);
      e.setToneTargets(tone);
      // in doubles throughout; the engine's single precision leaves a few 2^-24 of the span
      const double close = 4.0 * 0x1p-24;
      CHECK(std::fabs(e.toneCoef[0] - (low + t * t * t * (0.998 - low))) < close);
      const double angle = std::atan(5.0 * (0.5 - t)), half = std::atan(2.5);
      CHECK(std::fabs(e.toneCoef[1] - high * (angle + half) / (2.0 * half)) < close);
      CHECK(std::fabs(e.toneCoef[2] - (0.45 + 0.35 * (1.0 - 8.0 * std::pow(t - 0.35, 3.0)))) < close);
      CHECK(std::fabs(e.toneCoef[3] - 6.0 * t * t * t) < 6.0 * close);
    }
  }
}

TEST_CASE("tone targets at both ends") {
  for (float rate : {44100.0f, 48000.0f, 96000.0f}) {
    AtRate e(rate);
    e.setToneTargets(0.0f);
    CHECK(bitsOf(e.toneCoef[0]) == bitsOf(static_cast<double>(rate == 48000.0f ? 0.767f : 0.749f)));
    CHECK(bitsOf(e.toneCoef[1]) == bitsOf(static_cast<double>(rate == 48000.0f ? 0.968f : 0.965f)));
    CHECK(bitsOf(e.toneCoef[3]) == bitsOf(0.0));
    e.setToneTargets(1.0f);
    CHECK(e.toneCoef[0] == doctest::Approx(0.998).epsilon(1e-7));
    CHECK(std::fabs(e.toneCoef[1]) < 1e-7);
    CHECK(bitsOf(e.toneCoef[3]) == bitsOf(6.0));
  }
}

TEST_CASE("more Tone raises the low pole and the high gain and lowers the high pole and the low gain") {
  AtRate e;
  double before[4];
  e.setToneTargets(0.0f);
  for (int i = 1; i <= 20; ++i) {
    std::copy_n(e.toneCoef, 4, before);
    e.setToneTargets(static_cast<float>(i) / 20.0f);
    CHECK(e.toneCoef[0] > before[0]);
    CHECK(e.toneCoef[1] < before[1]);
    CHECK(e.toneCoef[2] <= before[2]);
    CHECK(e.toneCoef[3] > before[3]);
  }
}
