// The pedal's way along blocks: ramp, smoother, and the float that the pitch is made from.
#include "engine/PedalMotion.h"
#include "Blocks.h"
#include "engine/fast/Fence.h"
#include "tests/support/Bits.h"
#include "tests/support/NonFinite.h"

#include <cmath>
#include <doctest/doctest.h>
#include <random>

namespace {

struct BuiltMotion : PedalMotion {
  explicit BuiltMotion(float position = 0.0f, double rateHz = kRate) {
    build(rateHz);
    settleAt(position);
    arriveAt(position);
  }

  Block begun(int32_t samples, float pedal) const {
    Block block = blockOf(samples, {1.0f, 0.8f, 0.5f, pedal});
    begin(block, perSampleOf(samples));
    return block;
  }
};

Slice sliceOf(int32_t samples, int32_t first = 0) {
  Slice slice{};
  slice.first = first;
  slice.samples = samples;
  return slice;
}

} // namespace

TEST_CASE("the smoother's power gain is -3 dB at 5 Hz, and 1 at rest") {
  for (const double rate : {8000.0, 44100.0, 96000.0}) {
    const BuiltMotion motion(1.0f, rate);
    CHECK(motion.pole() == doctest::Approx(smootherPoleAt(rate)).epsilon(1e-9));
    CHECK(motion.input(motion.begun(1, 1.0f)) == doctest::Approx(1.0 - motion.pole()).epsilon(1e-12));
  }
}

TEST_CASE("a ramp's step is its difference by the samples from first to last, for one sample none") {
  BuiltMotion motion(0.25f);
  CHECK(motion.begun(5, 0.75f).pedalStep == 0.125);
  CHECK(motion.begun(2, 0.75f).pedalStep == 0.5);
  CHECK(motion.begun(1, 0.75f).pedalStep == 0.0);
  CHECK(motion.begun(5, 0.25f).pedalStep == 0.0);
  motion.end(motion.begun(5, 0.75f));
  CHECK(motion.begun(5, 0.25f).pedalStep == -0.125);
}

TEST_CASE("the first block settles the pedal smoother at the pedal") {
  PedalMotion motion;
  motion.build(kRate);
  motion.settleAt(0.7f);
  Block block = blockOf(200, {1.0f, 0.8f, 0.5f, 0.7f});
  motion.begin(block, perSampleOf(200));
  CHECK(block.pedalStep == 0.0);
  Slice slice = sliceOf(200);
  motion.follow(block, slice, 0.7f);
  CHECK(slice.moved[0]); // the sample before was at the heel
  CHECK(slice.bend == 200);
  CHECK(motion.state() == doctest::Approx(static_cast<double>(0.7f)).epsilon(1e-13));
  // What leads to the pedal at the next step, which is not the pedal itself where rounding shows.
  int off = 0;
  for (const double rate : {62.5, 100.0, 44100.0}) {
    const BuiltMotion one(1.0f, rate);
    const double gain = one.input(one.begun(1, 1.0f));
    for (int i = 1; i <= 100; ++i) {
      const float pedal = static_cast<float>(i) / 100.0f;
      motion.build(rate);
      motion.settleAt(pedal);
      const double before = (1.0 - gain) * static_cast<double>(pedal) / motion.pole();
      CHECK(bitsOf(motion.state()) == bitsOf(before));
      off += before != static_cast<double>(pedal);
    }
  }
  CHECK(off > 0);
}

TEST_CASE("the bend is the first sample that moves to another float") {
  BuiltMotion motion;
  Block block = motion.begun(10, 1.0f);
  Slice slice = sliceOf(10);
  motion.follow(block, slice, 0.0f);
  CHECK_FALSE(slice.moved[0]); // the ramp starts where the block before ended
  CHECK(slice.moved[1]);
  CHECK(slice.bend == 1);
  CHECK(slice.pedal[0] == 0.0);
  CHECK(slice.pedal[9] > slice.pedal[8]);

  BuiltMotion resting(0.0f);
  block = resting.begun(10, 0.0f);
  resting.follow(block, slice, 0.625f);
  CHECK_FALSE(slice.moved[0]);
  CHECK(slice.bend == 10);
  CHECK(slice.pedal[9] == 0.625); // what the pitch was made from
}

TEST_CASE("a move inside one float makes no new pitch, one from 0 to -0 does") {
  struct Row {
    float pedal;
    double place;
    float pitchPedal;
    int32_t bend;
  };
  const double pedal = static_cast<double>(0.7f);
  for (const Row& row : {Row{0.7f, pedal * (1.0 + 1e-12), 0.7f, 8}, Row{0.7f, pedal * (1.0 + 1e-12), 0.6f, 0},
                         Row{0.0f, 1e-60, 0.0f, 8}, Row{0.0f, 1e-60, -0.0f, 0}, Row{0.0f, -1e-60, 0.0f, 0}}) {
    CAPTURE(row.place);
    BuiltMotion motion(row.pedal);
    motion.arriveAt(row.place);
    Block block = motion.begun(8, row.pedal);
    Slice slice = sliceOf(8);
    motion.follow(block, slice, row.pitchPedal);
    CHECK(slice.moved[0]);
    CHECK(slice.bend == row.bend);
  }
}

TEST_CASE("a new build is at the heel, and what is no number anywhere is told") {
  BuiltMotion motion(0.75f);
  CHECK(motion.isFinite());
  motion.build(kRate);
  CHECK(motion.begun(2, 0.5f).pedalStep == 0.5);
  Block block = motion.begun(4, 0.0f);
  Slice slice = sliceOf(4);
  motion.follow(block, slice, 0.0f);
  CHECK_FALSE(slice.moved[0]);

  motion.end(motion.begun(4, kNaN)); // the ramp alone
  CHECK_FALSE(motion.isFinite());
  motion.settleAt(0.5f);
  CHECK(motion.isFinite());
  motion.arriveAt(static_cast<double>(kNaN)); // the smoother
  CHECK_FALSE(motion.isFinite());
  motion.settleAt(0.5f); // all but the sample before
  CHECK_FALSE(motion.isFinite());
  motion.build(kRate);
  CHECK(motion.isFinite());
}

TEST_CASE("the pedal rests when neither the smoother nor the sample before differs by a bit") {
  if constexpr (kFast) {
    BuiltMotion motion;
    CHECK(motion.isSteady(motion.begun(9, 0.0f)));
    motion.arriveAt(-0.0); // becomes 0
    CHECK_FALSE(motion.isSteady(motion.begun(9, 0.0f)));
    motion.arriveAt(1e-60);
    CHECK_FALSE(motion.isSteady(motion.begun(9, 0.0f)));
    motion.arriveAt(0.5);
    motion.settleAt(0.0f); // the next sample is 0, and the one before was a half
    CHECK_FALSE(motion.isSteady(motion.begun(9, 0.0f)));
  }
}

TEST_CASE("a pedal that is said to keep to a float keeps to it, and is said to where it is near") {
  if constexpr (kFast) {
    std::mt19937_64 random(5);
    int said = 0, broken = 0;
    for (int round = 0; round < 3000; ++round) {
      const float pedal = std::ldexp(static_cast<float>(random() % 0x1000000), -24);
      BuiltMotion motion(pedal, 8000.0);
      const double away =
          std::ldexp(static_cast<double>(random() % 200) - 100.0, -26 - static_cast<int>(random() % 30));
      motion.arriveAt(static_cast<double>(pedal) * (1.0 + away));
      Block block = motion.begun(256, pedal);
      if (!motion.keepsPitch(pedal, block)) continue;
      ++said;
      for (int slices = 0; slices < 4; ++slices) {
        Slice slice = sliceOf(256);
        motion.follow(block, slice, pedal);
        broken += slice.bend != 256;
      }
    }
    CHECK(broken == 0);
    CHECK(said > 1000);
    CHECK(said < 2900); // some are too far away

    BuiltMotion motion(0.7f);
    motion.arriveAt(static_cast<double>(0.7f) * (1.0 + 1e-12));
    const Block block = motion.begun(9, 0.7f);
    CHECK(motion.keepsPitch(0.7f, block));
    CHECK_FALSE(motion.keepsPitch(0.6f, block));
  }
}
