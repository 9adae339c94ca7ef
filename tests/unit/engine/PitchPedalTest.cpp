// The pedal as it is heard: its rates, its first block, blocks of any kind, and what they leave alone. Its
// sound to the bit is the second implementation's to judge.
#include "engine/PitchPedal.h"
#include "Blocks.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "tests/support/ControlWord.h"
#include "tests/support/NonFinite.h"
#include "tests/support/TestSound.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

using Sound = std::vector<double>;

constexpr double kTiniest = std::numeric_limits<double>::denorm_min();
constexpr double kLeastNormal = std::numeric_limits<double>::min();

// Row 0 fades from shifted to dry: at the toe the sound is the dry one alone, and its gain is the pedal.
constexpr PedalSettings kDryOnly = {1.0f, 0.8f, 0.0f, 1.0f};
// Row 2 at the heel is the shifted sound alone, bent by nothing: late by 5 ms and filtered.
constexpr PedalSettings kLate = {1.0f, 0.8f, 0.3125f, 0.0f};

PedalSettings inRow(int row, float pedalPos, float onOff = 1.0f) {
  return {onOff, 0.8f, colorParameter(row), pedalPos};
}

struct Bench {
  PitchPedal pedal;

  Bench(double rate, const PedalSettings& settings, int32_t samples = 1024) {
    newRate(rate, settings, samples);
  }
  void newRate(double rate, const PedalSettings& settings, int32_t samples = 1024) {
    pedal.setRate(rate, settings, samples);
    pedal.clear();
  }

  Sound play(const PedalSettings& settings, const Sound& input) {
    Sound output(input.size(), 777.0);
    REQUIRE(pedal.isReady());
    REQUIRE(pedal.reserve(static_cast<int32_t>(input.size())));
    pedal.run(input.data(), output.data(), static_cast<int32_t>(input.size()), settings);
    return output;
  }
  // In blocks of `size` samples, the last one shorter.
  Sound playAll(const PedalSettings& settings, const Sound& input, std::ptrdiff_t size) {
    Sound all;
    for (auto from = input.begin(); from != input.end();) {
      const auto to = from + std::min(size, input.end() - from);
      const Sound output = play(settings, {from, to});
      all.insert(all.end(), output.begin(), output.end());
      from = to;
    }
    return all;
  }
};

bool isFinite(const Sound& sound) {
  return std::all_of(sound.begin(), sound.end(), [](double x) { return std::isfinite(x); });
}

// Sets the control register for a scope.
class ScopedWord {
public:
  explicit ScopedWord(unsigned bits) : before(word::read()) { word::write(bits); }
  ~ScopedWord() { word::write(before); }

private:
  unsigned before;
};

} // namespace

TEST_CASE(
    "a rate is usable from 62.5 Hz on, where a fade has a sample, as long as two seconds have a length") {
  struct Row {
    double rate;
    bool isUsable;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  for (const Row& row : {Row{62.5, true},
                         {63.0, true},
                         {8000.5, true},
                         {192000.0, true},
                         {62.4, false},
                         {15.0, false},
                         {1.0, false},
                         {0.0, false},
                         {-1.0, false},
                         {-44100.0, false},
                         {1073741824.0, false},
                         {3e9, false},
                         {1e300, false},
                         {static_cast<double>(kNaN), false},
                         {infinity, false},
                         {-infinity, false}}) {
    CAPTURE(row.rate);
    CHECK(PitchPedal::canRun(row.rate) == row.isUsable);
    PitchPedal pedal;
    CHECK(pedal.rate() == -1.0);
    CHECK_FALSE(pedal.isReady());
    pedal.setRate(44100.0, kLate, 64);
    CHECK(pedal.isReady());
    pedal.setRate(row.rate, kLate, 64);
    CHECK(pedal.isReady() == row.isUsable);
    CHECK(bitsOf(pedal.rate()) == bitsOf(row.rate));
  }
  CHECK(PitchPedal::canRun(1073741823.0));
}

TEST_CASE("clearing silences the line and lets the filters ring out") {
  const PedalSettings dark = {1.0f, 0.0f, kLate.color, 0.0f}; // the low branch alone
  Bench bench(1000.0, dark), kept(1000.0, dark);
  for (Bench* each : {&bench, &kept})
    each->playAll(dark, Sound(1000, 1.0), 100);
  bench.pedal.clear();
  const Sound cleared = bench.play(dark, Sound(200, 0.0)), echoed = kept.play(dark, Sound(200, 0.0));
  CHECK(cleared[0] > 0.01);
  for (int i = 0; i < 4; ++i)
    CHECK(cleared[i + 1] < 0.9 * cleared[i]);
  for (int i = 0; i < 5; ++i) // 5 ms of the sound before
    CHECK(echoed[i] == doctest::Approx(echoed[0]).epsilon(1e-6));
  CHECK(std::abs(cleared[199]) < 1e-9);
}

TEST_CASE("steady parameters give the same bits in any blocks, once the tone ramp is over") {
  const PedalSettings steady = inRow(4, 0.0f);
  const auto played = [&](std::ptrdiff_t size) {
    Bench bench(44100.0, steady, 1);
    bench.play(steady, testSound(50));
    return bench.playAll(steady, testSound(9000), size);
  };
  const Sound whole = played(9000);
  for (const int size : {1, 2, 5, 63, 64, 255, 256, 257, 500, 4096}) {
    CAPTURE(size);
    CHECK(sameBits(played(size), whole));
  }
}

TEST_CASE("a NaN stays in a recursion until the rate is set anew, in a switch it does not") {
  struct Row {
    PedalSettings settings;
    double sample;
    bool isFinite;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const PedalSettings good = inRow(4, 0.3f);
  for (const Row& row : {Row{good, nan, false},
                         {good, std::numeric_limits<double>::infinity(), false},
                         {{1.0f, kNaN, good.color, 0.3f}, 0.5, false},
                         {{1.0f, 0.8f, good.color, kNaN}, 0.5, false},
                         {{kNaN, 0.8f, good.color, 0.3f}, 0.5, true},
                         {{1.0f, 0.8f, kNaN, 0.3f}, 0.5, true},
                         {good, 1e308, true}}) {
    Bench bench(8000.0, good);
    bench.play(good, testSound(500));
    CHECK(bench.pedal.isFinite());
    bench.play(row.settings, Sound(4, row.sample));
    bench.playAll(good, testSound(2 * 16000 + 1000), 1000); // twice through the line
    CHECK(bench.pedal.isFinite() == row.isFinite);
    bench.newRate(8000.0, good);
    CHECK(bench.pedal.isFinite());
    CHECK(isFinite(bench.playAll(good, testSound(3000), 500)));
    CHECK(bench.pedal.isFinite());
  }
}

TEST_CASE("whichever allocation of a rate fails, nothing escapes or leaks and the same rate repairs it") {
  const long before = allocations::live();
  int ready = 0;
  for (long failing = 1; failing <= 20; ++failing) {
    PitchPedal pedal;
    {
      const allocations::FailNth failure(failing);
      pedal.setRate(44100.0, kLate, 100);
    }
    ready += pedal.isReady();
    if (!pedal.isReady() && allocations::live() != before) ready = -100; // what was had is given back at once
    pedal.setRate(44100.0, kLate, 100);
    if (!pedal.isReady() || !pedal.reserve(100)) ready = -100;
  }
  // Line, sweep and its 2 filters, 4 curves, 2 filters, 2 switches of 3, 3 arrays of a block: 19, of which
  // the sweep's filters can be missed, and the arrays until a block.
  CHECK(ready == 20 - 14);
  CHECK(allocations::live() == before);
  PitchPedal large;
  const allocations::RefuseLargerThan modest(64 << 20);
  large.setRate(1e9, kLate, 100);
  CHECK_FALSE(large.isReady());
}

TEST_CASE("off clears denormal input and keeps everything else, signs included") {
  const Sound input = {0.0,     -0.0,         kTiniest,      -kTiniest, 1e-310,
                       -1e-310, kLeastNormal, -kLeastNormal, 1.0,       -1e308};
  const Sound expected = {0.0, -0.0, 0.0, -0.0, 0.0, -0.0, kLeastNormal, -kLeastNormal, 1.0, -1e308};
  for (unsigned mode = 0; mode < 4; ++mode) { // however the host rounds
    Bench off(44100.0, inRow(4, 0.0f, 0.0f));
    Sound sound = input;
    {
      const ScopedWord host(word::kDefault | mode * (word::kRounding / 3));
      off.pedal.run(sound.data(), sound.data(), static_cast<int32_t>(sound.size()), inRow(4, 0.0f, 0.0f));
    }
    CHECK(sameBits(sound, expected));
  }
  for (const double x :
       Bench(44100.0, kDryOnly).play(kDryOnly, {kTiniest, -1e-310})) // and on, on the dry path
    CHECK(x == 0.0);
}

TEST_CASE("a gain above 1 lifts denormal input before anything flushes it") {
  const PedalSettings loud = inRow(0, 1.5f); // the dry sound's gain is the pedal's
  const double tiny = 2e-308;
  REQUIRE(tiny < kLeastNormal);
  // Where one bit is for results and operands, the operand is 0 before any gain.
  const double lifted = word::kTinyOperandsAreZero == word::kFlush ? 0.0 : 1.5;
  Bench bench(8000.0, loud);
  CHECK(bench.play(loud, {tiny})[0] / tiny == doctest::Approx(lifted));
  bench.playAll(loud, Sound(40000, 0.0), 1000); // the pedal is steady
  CHECK(bench.play(loud, {tiny})[0] / tiny == doctest::Approx(lifted));
}
