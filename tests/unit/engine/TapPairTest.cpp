// Both taps: where they jump, how far they move, and the sweep that crossfades them.
#include "engine/TapPair.h"
#include "Blocks.h"
#include "engine/Crossfade.h"
#include "engine/TapSteps.h"
#include "tests/support/Bits.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

// At 1000 Hz: 5 samples of shortest delay, 65 samples between jumps.
struct BuiltTaps : TapPair {
  explicit BuiltTaps(double rateHz = 1000.0) { build(rateHz); }

  Block begun(int32_t samples, double rate, bool isUpwards = false) {
    Block block = blockOf(samples);
    begin(block, rate, isUpwards);
    return block;
  }
};

// A slice of one pitch, at which the pedal does not move.
Slice steadySlice(int32_t samples, double ratio = 1.0, int32_t first = 0) {
  Slice slice{};
  slice.first = first;
  slice.samples = slice.bend = samples;
  std::fill_n(slice.pitchRatio, samples, ratio);
  return slice;
}

// What a tap is at after a step. The other one is 1000 samples away.
double advanced(double delay, double ratio, double shortest) {
  TapState taps{0.5, 0, delay, delay + 1000.0};
  taps.advance(0.001, ratio, shortest);
  if (std::isfinite(ratio)) CHECK(bitsOf(taps.delay2) == bitsOf(delay + 1000.0 + 1.0 - ratio));
  TapState swapped{0.5, 0, delay + 1000.0, delay};
  swapped.advance(0.001, ratio, shortest);
  CHECK(bitsOf(swapped.delay2) == bitsOf(taps.delay1));
  CHECK(taps.phase == doctest::Approx(0.501));
  return taps.delay1;
}

// Phase per sample in millionths, rounded, for steps of 2 * Hz / 1000.
std::vector<int> stepsOf(const Slice& slice) {
  std::vector<int> steps;
  for (int32_t i = 0; i < slice.samples; ++i)
    steps.push_back(static_cast<int>(std::lround(slice.phaseStep[i] * 1e6)));
  return steps;
}

using Steps = std::vector<int>;

} // namespace

TEST_CASE("the weight of a tap is the sine of a quarter turn, within 7e-7, and 0 at 0") {
  CHECK(bitsOf(crossfadeWeight(0.0)) == bitsOf(0.0));
  for (int i = 0; i <= 1000; ++i) {
    const double x = i / 1000.0, weight = crossfadeWeight(x), other = crossfadeWeight(1.0 - x);
    CHECK(std::fabs(weight - std::sin(0.5 * 3.14159265358979 * x)) < 7e-7);
    CHECK(std::fabs(weight * weight + other * other - 1.0) < 2e-6);
    CHECK(crossfaded(x, 3.0, 5.0) == doctest::Approx(weight * 3.0 + other * 5.0));
  }
}

TEST_CASE("a tap travels 65.535 ms, in whole samples") {
  CHECK(TapPair::travelLength(44100.0) == 2890); // 2890.09
  CHECK(TapPair::travelLength(48000.0) == 3145); // 3145.68
  CHECK(TapPair::travelLength(96000.0) == 6291); // 6291.36
  CHECK(TapPair::travelLength(62500.0) ==
        4095); // 4095.94, where a way of 65.536 ms would have another sample
  CHECK(TapPair::travelLength(62.5) == 4);
  CHECK(TapPair::travelLength(15.0) == 0);
  CHECK(TapPair::travelLength(-44100.7) == -2890); // towards zero
  for (const double none : {1e20, -1e20, kNoNumber, std::numeric_limits<double>::infinity()})
    CHECK(TapPair::travelLength(none) < 1);
}

TEST_CASE("new taps stand 5 ms away and the sweep rises from 0") {
  for (const double rate : {44100.0, 48000.0, 62.5}) {
    BuiltTaps taps(rate);
    taps.turnAround();
    taps.moveTo({0.5, 1, 3000.0, 4000.0});
    taps.build(rate);
    CHECK(taps.shortestDelay() == doctest::Approx(0.005 * rate).epsilon(1e-15));
    const TapState state = taps.state();
    CHECK(state.phase == 0.0);
    CHECK(state.falling == 0);
    CHECK(state.delay1 == taps.shortestDelay());
    CHECK(state.delay2 == taps.shortestDelay());
    CHECK(taps.isFinite());
  }
}

TEST_CASE("a tap moves by 1 minus the ratio and stays rather than come closer than the shortest delay") {
  CHECK(advanced(300.0, 2.0, 240.0) == 299.0);
  CHECK(advanced(300.0, 0.25, 240.0) == 300.75);
  CHECK(advanced(300.0, 1.0, 240.0) == 300.0);
  CHECK(advanced(241.0, 2.0, 240.0) == 240.0); // exactly the shortest is allowed
  CHECK(advanced(240.5, 2.0, 240.0) == 240.5); // closer is not
  CHECK(advanced(240.0, 2.0, 240.0) == 240.0);
  CHECK(advanced(90000.0, 0.03125, 240.0) == 90000.96875); // no bound above
  // (D + 1) - ratio: at D = 2^53 the 1 is lost to rounding before the ratio is taken away; D + (1 - ratio)
  // would be 2^53 - 1
  CHECK(bitsOf(advanced(0x1p53, 2.0, 240.0)) == bitsOf(0x1p53 - 2.0));
  CHECK(advanced(300.0, kNoNumber, 240.0) == 300.0);
  CHECK(advanced(300.0, std::numeric_limits<double>::infinity(), 240.0) == 300.0);
}

TEST_CASE("a tap jumps where its own weight is zero: long for a rising pitch, short otherwise") {
  struct Row {
    double phase;
    bool jumps1, jumps2;
  };
  for (const bool isUpwards : {true, false}) {
    const double jump = isUpwards ? 240.0 + 3145.0 : 240.0;
    for (const Row& row :
         {Row{0.0, true, false}, Row{1.0, false, true}, Row{0x1p-55, true, false}, Row{0x1p-53, false, false},
          Row{1.0 - 0x1p-53, false, false}, Row{0.5, false, false}}) {
      CAPTURE(row.phase);
      BuiltTaps taps(48000.0);
      Block block = taps.begun(4, 0.0, isUpwards);
      CHECK(block.jumpDelay == jump);
      taps.moveTo({row.phase, 0, 1000.0, 1010.0});
      Slice slice = steadySlice(1, 0.5);
      taps.follow(block, slice);
      CHECK(slice.delay1[0] == (row.jumps1 ? jump : 1000.0)); // from this sample on
      CHECK(slice.delay2[0] == (row.jumps2 ? jump : 1010.0));
      CHECK(taps.state().delay1 == slice.delay1[0] + 0.5);
      CHECK(taps.state().delay2 == slice.delay2[0] + 0.5);
    }
  }
}

TEST_CASE("a move of the pedal lets a glide begin there, from the rate that the one before was bound for") {
  struct Row {
    std::vector<bool> moved;
    std::vector<double> rates; // Hz
    Steps steps;               // of a block that begins at 10 Hz
    int32_t glideStart;
  };
  const bool yes = true, no = false;
  for (const Row& row :
       {Row{{no, no, yes, no, no}, {1, 1, 90, 1, 1}, {20000, 20000, 20000, 100000, 180000}, 2},
        Row{{no, no, no, no, yes}, {1, 1, 1, 1, 90}, {20000, 20000, 20000, 20000, 20000}, 4},
        Row{{no, no, yes, yes, no}, {1, 1, 80, 100, 1}, {20000, 20000, 20000, 160000, 200000}, 3},
        Row{{yes, yes, yes, yes, yes}, {20, 40, 60, 80, 100}, {20000, 40000, 80000, 120000, 160000}, 4}}) {
    CAPTURE(row.glideStart);
    BuiltTaps taps;
    taps.begun(5, 10.0);
    Block block = taps.begun(5, 10.0);
    block.turns = true;
    Slice slice = steadySlice(5);
    for (int i = 0; i < 5; ++i) {
      slice.moved[i] = row.moved[i];
      slice.sweepRate[i + 1] = row.rates[i];
    }
    taps.follow(block, slice);
    CHECK(stepsOf(slice) == row.steps);
    CHECK(block.glideStart == row.glideStart);
    CHECK_FALSE(block.turns); // undone
    CHECK(taps.isBoundFor(row.rates[row.glideStart]));
  }
}

TEST_CASE("a turn waits for the end of the block, unless a glide begins before") {
  BuiltTaps taps;
  Block block = taps.begun(2, 10.0);
  CHECK_FALSE(block.turns);
  taps.end(block);
  CHECK(taps.state().falling == 0);
  block.turns = true;
  taps.end(block);
  CHECK(taps.state().falling == 1);
  CHECK_FALSE(taps.begun(2, 10.0).turns);
  taps.turnAround();
  CHECK(taps.state().falling == 0);
  TapPair unbuilt;
  unbuilt.turnAround(); // there is no sweep yet
}

TEST_CASE("the longest delay is that of either tap, or of a jump to come") {
  BuiltTaps taps;
  for (const bool isUpwards : {true, false}) {
    const Block block = taps.begun(2, 10.0, isUpwards); // jumps to 70 or to 5
    taps.moveTo({0.5, 0, 20.0, 30.5});
    CHECK(taps.longestDelay(block) == (isUpwards ? 70.0 : 30.5));
    taps.moveTo({0.5, 0, 40.25, 30.5});
    CHECK(taps.longestDelay(block) == (isUpwards ? 70.0 : 40.25));
    taps.moveTo({0.5, 0, 40.25, 99.0});
    CHECK(taps.longestDelay(block) == 99.0);
  }
}

TEST_CASE("a delay that is no number is told") {
  BuiltTaps taps;
  taps.moveTo({0.5, 0, kNoNumber, 10.0});
  CHECK_FALSE(taps.isFinite());
  taps.moveTo({0.5, 0, 10.0, std::numeric_limits<double>::infinity()});
  CHECK_FALSE(taps.isFinite());
  taps.moveTo({0.5, 0, 10.0, 10.0});
  CHECK(taps.isFinite());
}
