// What blocks take from memory, and what they do without it.
#include "Blocks.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"

#include <doctest/doctest.h>
#include <limits>

namespace {

void process(Treadshift& effect, std::vector<double>& inPlace) {
  double* channels[] = {inPlace.data()};
  effect.processDoubleReplacing(channels, channels, static_cast<int>(inPlace.size()));
}

// Runs one block and tells what it took from operator new.
long takenByBlock(Treadshift& effect, int samples) {
  std::vector<double> sound = testSound(samples);
  const long before = allocations::taken();
  process(effect, sound);
  return allocations::taken() - before;
}

} // namespace

TEST_CASE("blocks up to the announced size allocate nothing, in any order of sizes") {
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
  const auto effect = effectAt(kRate);
  effect->setBlockSize(64);
  constexpr int kAssumed = 1024; // the block size in force until a host announces one
  CHECK(takenByBlock(*effect, kAssumed) == 0);
  CHECK(takenByBlock(*effect, kAssumed + 1) == 3);
  for (const int samples : {1, kAssumed + 1, 64, kAssumed + 1})
    CHECK(takenByBlock(*effect, samples) == 0);
  CHECK(takenByBlock(*effect, kAssumed + 2) == 3);
}

TEST_CASE("an absurd announcement reserves nothing, and blocks run as before") {
  for (const int announced :
       {-1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), (1 << 20) + 1}) {
    const auto effect = effectAt(kRate);
    const long before = allocations::taken();
    effect->setBlockSize(announced);
    CHECK(allocations::taken() == before);
    CHECK(takenByBlock(*effect, 64) == 0);
    effect->setSampleRate(48000.0f);
    CHECK(takenByBlock(*effect, 64) <= 1); // the new switch has announced values for nobody
  }
}

TEST_CASE("an announcement for which memory is short is made up for by the first such block") {
  for (const long failing : {1, 2, 3}) {
    const auto effect = effectAt(kRate);
    {
      const allocations::FailNth failure(failing);
      CHECK_NOTHROW(effect->setBlockSize(3000));
    }
    CHECK(takenByBlock(*effect, 3000) > 0);
    CHECK(takenByBlock(*effect, 3000) == 0);
  }
}

TEST_CASE(
    "whichever allocation of a block fails, its audio passes and the effect goes on as if it had not been") {
  constexpr int kSamples = 48200;
  for (const bool isFirst : {true, false}) {
    for (const long failing : {1, 2, 3}) {
      CAPTURE(failing);
      const auto effect = effectAt(kRate, 0.5f, 0.3f), expected = effectAt(kRate, 0.5f, 0.3f);
      if (!isFirst) {
        play(*effect, testSound(100));
        play(*expected, testSound(100));
      }
      std::vector<double> sound = testSound(kSamples, 5000);
      const std::vector<double> input = sound;
      {
        const allocations::FailNth failure(failing);
        CHECK_NOTHROW(process(*effect, sound));
      }
      CHECK(differences(sound.data(), input.data(), kSamples) == 0);
      for (const int size : {100, kSamples, 0, 1, 100}) {
        const std::vector<double> next = testSound(size, 100);
        CHECK(play(*effect, next) == play(*expected, next));
      }
    }
  }
}

TEST_CASE("memory is given back when larger arrays replace it, and with the effect") {
  const long before = allocations::live();
  for (const float rate : {0.0f, kRate}) {
    const auto effect = effectAt(rate);
    play(*effect, testSound(2000));
    const long live = allocations::live();
    for (const int samples : {3000, 1, 4096, 64})
      takenByBlock(*effect, samples);
    CHECK(allocations::live() == live);
    for (const float next : {48000.0f, 10.0f, 96000.0f})
      effect->setSampleRate(next);
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("an empty block writes nothing") {
  for (const float rate : {0.0f, kRate}) {
    const auto effect = effectAt(rate);
    std::vector<double> place(4, 5.0);
    double* channels[] = {place.data()};
    for (const int frames : {0, -3, std::numeric_limits<int>::min()})
      effect->processDoubleReplacing(channels, channels, frames);
    CHECK(place == std::vector<double>(4, 5.0));
  }
}

TEST_CASE("null lists and channels do nothing") {
  const auto effect = effectAt(kRate), expected = effectAt(kRate);
  std::vector<double> sound(10, 0.5);
  double* channels[] = {sound.data()};
  double* none[] = {nullptr};
  effect->setParameter(kPedalPos, 0.7f); // no first block is at rest here
  effect->processDoubleReplacing(nullptr, channels, 10);
  effect->processDoubleReplacing(channels, nullptr, 10);
  effect->processDoubleReplacing(none, channels, 10);
  effect->processDoubleReplacing(channels, none, 10);
  effect->processDoubleReplacing(nullptr, nullptr, 0);
  CHECK(sound == std::vector<double>(10, 0.5));
  effect->setParameter(kPedalPos, 0.0f);
  CHECK(play(*effect, testSound(500)) == play(*expected, testSound(500)));
}
