// A colour's choice and a pedal position's pitch.
#include "engine/Pitch.h"
#include "Blocks.h"
#include "tests/support/Bits.h"
#include "tests/support/NonFinite.h"

#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr int32_t kSweepLength = 2890;

// By hand, for each colour at heel, middle and toe: cents, and the gains of dry and wet sound.
struct Row {
  double cents[3], dry[3], wet[3];
};
constexpr Row kRows[8] = {
    {{-100, -50, 0}, {0, 0.5, 1}, {1, 0.5, 0}},     {{0, 25, 50}, {1, 1, 1}, {1, 1, 1}},
    {{0, 600, 1200}, {0, 0, 0}, {1, 1, 1}},         {{0, -1200, -2400}, {0, 0, 0}, {1, 1, 1}},
    {{-1200, 0, 1200}, {1, 1, 1}, {1, 1, 1}},       {{-700, -100, 500}, {1, 1, 1}, {1, 1, 1}},
    {{-6000, -2400, 1200}, {1, 0.5, 0}, {1, 1, 1}}, {{-6000, -2400, 1200}, {1, 1, 1}, {1, 1, 1}},
};

Pitch prepared() {
  Pitch pitch;
  pitch.prepare(kRate, kSweepLength);
  return pitch;
}

// Whether the pitch crosses 0 on the way from one colour and pedal to another.
bool crosses(int row, float pedal, int nextRow, float nextPedal) {
  Pitch pitch = prepared();
  pitch.chooseColor(colorParameter(row), pedal);
  CHECK_FALSE(pitch.choosePitch(pedal)); // from nothing
  pitch.chooseColor(colorParameter(nextRow), nextPedal);
  return pitch.choosePitch(nextPedal);
}

} // namespace

TEST_CASE("a pitch step at heel, middle and toe of every colour") {
  for (const double rate : {44100.0, 96000.0}) {
    Pitch pitch;
    pitch.prepare(rate, 100);
    for (int row = 0; row < 8; ++row) {
      for (int place = 0; place < 3; ++place) {
        CAPTURE(row);
        CAPTURE(place);
        const float pedal = 0.5f * static_cast<float>(place);
        pitch.chooseColor(colorParameter(row), pedal);
        pitch.choosePitch(pedal);
        const double ratio = std::exp2(kRows[row].cents[place] / 1200.0);
        CHECK(pitch.pedal() == pedal);
        CHECK(pitch.ratio() == doctest::Approx(ratio).epsilon(1e-14));
        CHECK(pitch.rate() == doctest::Approx(std::abs(1.0 - ratio) * rate / 100).epsilon(1e-13));
        CHECK(pitch.gains().dry == kRows[row].dry[place]);
        CHECK(pitch.gains().wet == kRows[row].wet[place]);
        CHECK(pitch.isUpwards() == (kRows[row].cents[place] > 0.0));
        CHECK(pitch.isFinite());
      }
    }
  }
}

TEST_CASE("a change of the pitch's sign turns the sweep, and 0 on either side does not") {
  CHECK(crosses(4, 1.0f, 4, 0.0f)); // +1200 to -1200
  CHECK(crosses(4, 0.0f, 4, 1.0f));
  CHECK(crosses(2, 1.0f, 3, 1.0f)); // +1200 to -2400
  CHECK(crosses(4, 0.50001f, 4, 0.49999f));
  CHECK_FALSE(crosses(4, 1.0f, 4, 0.5f)); // +1200 to 0
  CHECK_FALSE(crosses(4, 0.0f, 4, 0.5f));
  CHECK_FALSE(crosses(4, 0.5f, 4, 0.0f)); // 0 to -1200
  CHECK_FALSE(crosses(4, 0.5f, 4, 1.0f));
  CHECK_FALSE(crosses(1, 0.0f, 3, 0.0f)); // 0 to 0
  CHECK_FALSE(crosses(2, 1.0f, 1, 1.0f)); // +1200 to +50
  CHECK_FALSE(crosses(0, 0.0f, 3, 1.0f)); // -100 to -2400
  CHECK_FALSE(crosses(4, kNaN, 4, 1.0f));
  CHECK_FALSE(crosses(4, 1.0f, 4, kNaN));
}

TEST_CASE("a crossing is judged from the choice before, or from the pitch that was pretended") {
  Pitch pitch = prepared();
  pitch.chooseColor(colorParameter(4), 0.0f);
  pitch.choosePitch(0.0f);
  for (int turn = 0; turn < 3; ++turn) {
    CHECK(pitch.choosePitch(1.0f));
    CHECK(pitch.choosePitch(0.0f));
  }
  pitch.pretendPitch(1.0f);
  CHECK(pitch.ratio() == 0.5);
  CHECK_FALSE(pitch.isUpwards());
  CHECK(pitch.choosePitch(0.0f));
  pitch.pretendPitch(1.0f);
  CHECK_FALSE(pitch.choosePitch(1.0f));
}

TEST_CASE("preparing starts from nothing chosen, whatever was chosen before") {
  Pitch pitch = prepared();
  pitch.chooseColor(colorParameter(4), 1.0f);
  pitch.choosePitch(1.0f);
  pitch.prepare(kRate, kSweepLength);
  CHECK(pitch.ratio() == 1.0);
  CHECK(pitch.rate() == 0.0);
  CHECK(pitch.pedal() == 0.0f);
  CHECK(pitch.gains().dry == 0.0);
  CHECK(pitch.gains().wet == 0.0);
  CHECK_FALSE(pitch.isUpwards());
  CHECK_FALSE(pitch.choosePitch(1.0f));
  CHECK(pitch.ratio() == 1.0); // no range
  pitch.chooseColor(colorParameter(4), 0.0f);
  CHECK_FALSE(pitch.choosePitch(0.0f)); // not from +1200
}

TEST_CASE("a pitch that is no number is told, and forgotten with the next choice") {
  Pitch pitch = prepared();
  pitch.chooseColor(colorParameter(4), 0.0f);
  for (const float odd : {kNaN, kInfinity}) {
    pitch.choosePitch(odd);
    CHECK_FALSE(pitch.isFinite());
    pitch.choosePitch(0.5f);
    CHECK(pitch.isFinite());
    CHECK(pitch.ratio() == 1.0);
  }
}

TEST_CASE(
    "a slice has the pitch of each sample from its bend on, what was chosen before it, and is crossed from") {
  Pitch pitch = prepared();
  pitch.chooseColor(colorParameter(6), 1.0f);
  pitch.choosePitch(1.0f);
  Slice slice{};
  slice.samples = 4;
  slice.bend = 1;
  const int places[] = {2, 1, 2, 0}; // heel, middle and toe
  for (int i = 1; i < 4; ++i)
    slice.pedal[i] = 0.5 * places[i];
  pitch.follow(slice);
  for (int i = 0; i < 4; ++i) {
    CAPTURE(i);
    const double ratio = std::exp2(kRows[6].cents[places[i]] / 1200.0);
    CHECK(slice.pitchRatio[i] == doctest::Approx(ratio).epsilon(1e-14));
    CHECK(slice.sweepRate[i + 1] ==
          doctest::Approx(std::abs(1.0 - ratio) * kRate / kSweepLength).epsilon(1e-13));
    CHECK(slice.dryGain[i] == kRows[6].dry[places[i]]);
    CHECK(slice.wetGain[i] == kRows[6].wet[places[i]]);
  }
  CHECK(pitch.ratio() == slice.pitchRatio[3]);
  CHECK(pitch.choosePitch(1.0f)); // from five octaves down
}
