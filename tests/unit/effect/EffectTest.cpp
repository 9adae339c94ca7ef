// What the effect adds to its pedal: which rates and block sizes reach it, and what happens before they do.
// Its parameters, programs and texts are the record tests', what odd hosts do to it the faults'.
#include "effect/Treadshift.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "tests/support/TestSound.h"

#include <doctest/doctest.h>
#include <limits>
#include <memory>
#include <vector>

namespace {

constexpr float kRate = 44100.0f;
constexpr std::size_t kModest = 64 << 20; // bytes: a minute of sound

std::unique_ptr<Treadshift> effectAt(float rateHz, float color = 0.5f, float pedal = 0.0f) {
  auto effect = std::make_unique<Treadshift>(nullptr);
  effect->setParameter(kColor, color);
  effect->setParameter(kPedalPos, pedal);
  if (rateHz != 0.0f) effect->setSampleRate(rateHz);
  return effect;
}

std::vector<double> play(Treadshift& effect, std::vector<double> sound) {
  double* channels[] = {sound.data()};
  effect.processDoubleReplacing(channels, channels, static_cast<int>(sound.size()));
  return sound;
}

// Runs one block and tells what it took from operator new.
long takenByBlock(Treadshift& effect, int samples) {
  std::vector<double> sound = testSound(samples);
  double* channels[] = {sound.data()};
  const long before = allocations::taken();
  effect.processDoubleReplacing(channels, channels, samples);
  return allocations::taken() - before;
}

// Numbers whose bits a copy keeps and arithmetic would not.
void checkPassesThrough(Treadshift& effect) {
  const std::vector<double> input = {0.5,
                                     -0.0,
                                     std::numeric_limits<double>::denorm_min(),
                                     -1e-310,
                                     std::bit_cast<double>(0x7FF4000000000123ULL), // signalling
                                     -std::numeric_limits<double>::infinity(),
                                     1e300};
  CHECK(sameBits(play(effect, input), input));
}

void checkSoundsLikeNew(Treadshift& effect) {
  const auto fresh = effectAt(kRate);
  for (int from = 0; from < 3000; from += 1000)
    CHECK(sameBits(play(effect, testSound(1000, from)), play(*fresh, testSound(1000, from))));
}

} // namespace

TEST_CASE("without a rate that can be run, or memory for it, blocks pass through and change nothing") {
  const allocations::RefuseLargerThan modest(kModest);
  for (const float rate :
       {0.0f, 1.0f, 62.4f, -44100.0f, 1073741824.0f, 1e9f, 1e20f, std::numeric_limits<float>::quiet_NaN()}) {
    CAPTURE(rate);
    const auto effect = effectAt(0.0f);
    checkPassesThrough(*effect);
    effect->setSampleRate(rate);
    effect->resume();
    effect->setBlockSize(512);
    effect->setColor();
    effect->setPitch(0.5f);
    effect->setSampleRate(rate);
    checkPassesThrough(*effect);
    effect->setSampleRate(kRate);
    checkSoundsLikeNew(*effect);
    effect->setSampleRate(rate);
    checkPassesThrough(*effect);
  }
  const auto effect = effectAt(0.0f);
  {
    const allocations::FailNth failure(1);
    CHECK_NOTHROW(effect->setSampleRate(kRate));
  }
  checkPassesThrough(*effect);
  effect->setSampleRate(kRate); // is asked for again
  checkSoundsLikeNew(*effect);
}

TEST_CASE("the rate in force does nothing at all: the delay line survives") {
  constexpr float kLateColor = 0.3125f; // at the heel the shifted sound alone, 5 ms late
  const auto effect = effectAt(kRate, kLateColor), expected = effectAt(kRate, kLateColor);
  play(*effect, testSound(500));
  play(*expected, testSound(500));
  const long taken = allocations::taken();
  effect->setSampleRate(kRate);
  CHECK(allocations::taken() == taken);
  const std::vector<double> echo = play(*effect, std::vector<double>(500, 0.0));
  CHECK(echo[200] != 0.0);
  CHECK(sameBits(echo, play(*expected, std::vector<double>(500, 0.0))));
}

TEST_CASE("the base class keeps its own rate") { CHECK(effectAt(96000.0f)->getSampleRate() == 44100.0f); }

TEST_CASE("the effect's colour and pitch are taken from the live Color and a pedal") {
  const auto effect = effectAt(8000.0f, 0.0f, 1.0f); // the dry sound alone, its gain the pedal's
  for (int block = 0; block < 24; ++block)
    play(*effect, std::vector<double>(1000, 0.0)); // the pedal's smoother arrives
  effect->setPitch(0.25f);
  CHECK(play(*effect, {1.0})[0] == 0.25);
  effect->setParameter(kColor, 0.25f); // the shifted sound alone, as if there had been a switch-over
  effect->setColor();
  CHECK(play(*effect, {1.0})[0] == 0.0);
}

TEST_CASE("blocks up to the announced size allocate nothing, in any order of sizes and calls") {
  for (const int announced : {1, 64, 5000}) {
    for (const bool rateFirst : {true, false}) {
      const auto effect = effectAt(rateFirst ? kRate : 0.0f);
      effect->setBlockSize(announced);
      if (!rateFirst) effect->setSampleRate(kRate);
      for (const int samples : {announced, 1, announced / 2 + 1, announced, 1})
        CHECK(takenByBlock(*effect, samples) == 0);
    }
  }
}

TEST_CASE("a block larger than announced makes both arrays of gains and the value buffer, once") {
  const long before = allocations::live();
  {
    const auto effect = effectAt(kRate);
    effect->setBlockSize(64);
    constexpr int kAssumed = 1024; // the block size in force until a host announces one
    CHECK(takenByBlock(*effect, kAssumed) == 0);
    const long held = allocations::live();
    CHECK(takenByBlock(*effect, kAssumed + 1) == 3);
    for (const int samples : {1, kAssumed + 1, 64, kAssumed + 1})
      CHECK(takenByBlock(*effect, samples) == 0);
    CHECK(takenByBlock(*effect, kAssumed + 2) == 3);
    CHECK(allocations::live() == held); // larger arrays replace smaller ones
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("an absurd announcement reserves nothing, and blocks run as before") {
  for (const int announced :
       {-1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), (1 << 20) + 1}) {
    CAPTURE(announced);
    const auto effect = effectAt(kRate);
    const long before = allocations::taken();
    effect->setBlockSize(announced);
    CHECK(allocations::taken() == before);
    CHECK(takenByBlock(*effect, 64) == 0);
    effect->setSampleRate(48000.0f);
    CHECK(takenByBlock(*effect, 64) <= 1); // the new switch has announced values for nobody
  }
}
