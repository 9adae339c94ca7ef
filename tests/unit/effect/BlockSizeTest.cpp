// Blocks of any size, in place, without memory, and what each allocates.
#include "ExposedTreadshift.h"
#include "Snapshot.h"
#include "tests/support/Allocations.h"
#include "tests/unit/dsp/Bits.h"

#include <doctest/doctest.h>
#include <limits>
#include <memory>

namespace {

constexpr float kRate = 44100.0f;

// Row 4 at the heel, two octaves wide, pedal at rest: nothing recomputes inside a block.
struct SteadyEffect : ExposedTreadshift {
  SteadyEffect() { setSampleRate(kRate); }
};

// Runs one block of `samples` and tells what it took from operator new.
long takenByBlock(ExposedTreadshift& e, int samples) {
  std::vector<double> sound = testSound(samples);
  double* channels[] = {sound.data()};
  const long before = allocations::taken();
  e.processDoubleReplacing(channels, channels, samples);
  return allocations::taken() - before;
}

void process(ExposedTreadshift& e, std::vector<double>& inPlace) {
  double* channels[] = {inPlace.data()};
  e.processDoubleReplacing(channels, channels, static_cast<int>(inPlace.size()));
}

std::vector<double> inBlocks(ExposedTreadshift& e, const std::vector<double>& sound,
                             const std::vector<int>& sizes) {
  std::vector<double> all;
  for (std::size_t block = 0, from = 0; from < sound.size(); ++block) {
    const int left = static_cast<int>(sound.size() - from);
    const int size = std::min(sizes[block % sizes.size()], left);
    const std::vector<double> output = e.block(part(sound, static_cast<int>(from), size));
    all.insert(all.end(), output.begin(), output.end());
    from += size;
  }
  return all;
}

} // namespace

TEST_CASE("blocks up to the announced size allocate nothing, in any order of sizes") {
  for (int announced : {1, 64, 5000}) {
    for (bool rateFirst : {true, false}) {
      ExposedTreadshift e;
      if (!rateFirst) e.setBlockSize(announced);
      e.setSampleRate(kRate);
      if (rateFirst) e.setBlockSize(announced);
      for (int samples : {announced, 1, announced / 2 + 1, announced, 1})
        CHECK(takenByBlock(e, samples) == 0);
      CHECK(e.lastBlockSize == 1);
    }
  }
}

TEST_CASE("a block larger than announced makes three scratch arrays and the value buffer, once") {
  SteadyEffect e;
  e.setBlockSize(64);
  constexpr int kAssumed = 1024; // the block size in force until a host announces one
  CHECK(takenByBlock(e, kAssumed) == 0);
  CHECK(takenByBlock(e, kAssumed + 1) == 4);
  for (int samples : {1, kAssumed + 1, 64, kAssumed + 1})
    CHECK(takenByBlock(e, samples) == 0);
  CHECK(takenByBlock(e, kAssumed + 2) == 4);
}

TEST_CASE("an absurd announcement reserves nothing, and blocks run as before") {
  for (int announced : {-1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 1 << 30}) {
    SteadyEffect e;
    const long before = allocations::taken();
    e.setBlockSize(announced);
    CHECK(allocations::taken() == before);
    CHECK(takenByBlock(e, 64) == 0);
  }
}

TEST_CASE("an announcement for which memory is short is made up for by the first such block") {
  for (long failing = 1; failing <= 4; ++failing) {
    SteadyEffect e;
    {
      const allocations::FailNth failure(failing);
      CHECK_NOTHROW(e.setBlockSize(3000));
    }
    CHECK(takenByBlock(e, 3000) > 0);
    CHECK(takenByBlock(e, 3000) == 0);
  }
}

TEST_CASE("parameter changes of every kind allocate nothing") {
  SteadyEffect e;
  takenByBlock(e, 256);
  for (int round = 0; round < 20; ++round) {
    e.setParameter(kPedalPos, static_cast<float>(round % 3) * 0.5f);
    e.setParameter(kTone, static_cast<float>(round) * 0.05f);
    e.setParameter(kColor, static_cast<float>(round % 8) * 0.125f);
    e.setParameter(kOnOff, round % 5 == 0 ? 0.0f : 1.0f);
    CHECK(takenByBlock(e, 256) == 0);
  }
}

TEST_CASE("block buffers are freed when larger ones replace them") {
  const long before = allocations::live();
  {
    SteadyEffect e;
    takenByBlock(e, 2000);
    const long live = allocations::live();
    for (int samples : {3000, 1, 4096, 64})
      takenByBlock(e, samples);
    CHECK(allocations::live() == live);
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("an empty block takes nothing") {
  SteadyEffect e;
  for (int round = 0; round < 2; ++round) {
    const long before = allocations::taken();
    e.emptyBlock(0);
    e.emptyBlock(-7);
    CHECK(allocations::taken() == before);
    CHECK(e.lastBlockSize == 0);
    takenByBlock(e, 64);
  }
}

TEST_CASE("an empty block runs no sample and is a block all the same") {
  for (int frames : {0, -1, std::numeric_limits<int>::min()}) {
    CAPTURE(frames);
    SteadyEffect e;
    e.emptyBlock(frames);
    CHECK(!e.firstBlock);
    e.block(testSound(20));
    const Snapshot before = snapshotOf(e);
    e.setParameter(kTone, 0.25f);
    e.setParameter(kPedalPos, 0.5f);
    e.setParameter(kColor, 0.1f);
    const double phase = e.sweepLfo->phase;
    e.emptyBlock(frames);
    CHECK(e.sweepLfo->phase == phase);
    CHECK(e.sweepLfo->lastRate == e.sweepRate);
    CHECK(e.lastTone == 0.25f);
    CHECK(e.lastPedal == 0.5);
    CHECK(differences(e.prevToneCoef, e.toneCoef, 4) == 0);
    CHECK(e.colorSwitch->state == 1);
    CHECK(e.lastBlockSize == 0);
    const auto changed = changedFields(before, snapshotOf(e));
    for (const char* kept : {"delayLine", "writeIndex", "taps", "toneStates", "shiftFilter state", "pitch",
                             "pedalSmoother state", "lastSmoothedPedal", "range", "gains", "lastCents"})
      CHECK(!changed.contains(kept));
  }
}

TEST_CASE("an empty block writes nothing") {
  SteadyEffect e;
  std::vector<double> place(4, 5.0);
  double* channels[] = {place.data()};
  e.processDoubleReplacing(channels, channels, 0);
  e.processDoubleReplacing(channels, channels, -3);
  CHECK(place == std::vector<double>(4, 5.0));
}

TEST_CASE("input and output may be the same array") {
  for (int row = 0; row < 8; ++row) {
    ExposedTreadshift apart(kRate, 1.0f, 0.8f, colorOfRow(row), 0.3f);
    ExposedTreadshift inPlace(kRate, 1.0f, 0.8f, colorOfRow(row), 0.3f);
    for (int from = 0; from < 3000; from += 100) {
      if (from == 1000) {
        apart.setParameter(kOnOff, 0.0f);
        inPlace.setParameter(kOnOff, 0.0f);
      }
      std::vector<double> sound = testSound(100, from);
      const std::vector<double> expected = apart.block(sound);
      process(inPlace, sound);
      CHECK(differences(sound.data(), expected.data(), 100) == 0);
    }
  }
}

TEST_CASE("steady parameters give the same bits in any blocks, once the tone ramp is over") {
  const std::vector<double> sound = testSound(9000);
  const auto settled = [] {
    auto e = std::make_unique<SteadyEffect>();
    e->block(testSound(50));
    return e;
  };
  const std::vector<double> expected = inBlocks(*settled(), sound, {9000});
  for (const std::vector<int>& sizes :
       std::vector<std::vector<int>>{{1}, {2}, {64}, {63, 1}, {500, 7, 1, 256}, {4096}, {1, 2, 3, 4, 5}}) {
    CAPTURE(sizes[0]);
    const std::vector<double> actual = inBlocks(*settled(), sound, sizes);
    CHECK(differences(actual.data(), expected.data(), 9000) == 0);
  }
}

TEST_CASE("a block of more than 48000 samples sounds like short ones") {
  SteadyEffect e, pieces;
  e.block(testSound(50));
  pieces.block(testSound(50));
  const std::vector<double> sound = testSound(100000, 50);
  const std::vector<double> actual = e.block(sound);
  const std::vector<double> expected = inBlocks(pieces, sound, {1000});
  CHECK(differences(actual.data(), expected.data(), 100000) == 0);
  CHECK(bitsOf(e.sweepLfo->phase) == bitsOf(pieces.sweepLfo->phase));
}

TEST_CASE("null lists and channels do nothing") {
  SteadyEffect e;
  e.block(testSound(10));
  std::vector<double> sound(10, 0.5);
  double* channels[] = {sound.data()};
  double* none[] = {nullptr};
  const Snapshot before = snapshotOf(e);
  e.processDoubleReplacing(nullptr, channels, 10);
  e.processDoubleReplacing(channels, nullptr, 10);
  e.processDoubleReplacing(none, channels, 10);
  e.processDoubleReplacing(channels, none, 10);
  e.processDoubleReplacing(nullptr, nullptr, 0);
  CHECK(changedFields(before, snapshotOf(e)).empty());
  CHECK(sound == std::vector<double>(10, 0.5));
}

TEST_CASE(
    "whichever allocation of a block fails, its audio passes and the effect goes on as if it had not been") {
  constexpr int kSamples = 48200;
  for (long failing = 1; failing <= 4; ++failing) {
    CAPTURE(failing);
    SteadyEffect e, expected;
    e.block(testSound(100));
    expected.block(testSound(100));
    std::vector<double> sound = testSound(kSamples, 5000);
    const std::vector<double> input = sound;
    {
      double* channels[] = {sound.data()};
      const allocations::FailNth failure(failing);
      CHECK_NOTHROW(e.processDoubleReplacing(channels, channels, kSamples));
    }
    CHECK(differences(sound.data(), input.data(), kSamples) == 0);
    CHECK(e.writeIndex == 100);
    e.emptyBlock(0);
    expected.emptyBlock(0);
    for (int size : {100, kSamples, 100, 1, 100}) {
      const std::vector<double> next = testSound(size, 100);
      const std::vector<double> a = e.block(next), b = expected.block(next);
      CHECK(differences(a.data(), b.data(), size) == 0);
    }
  }
}

TEST_CASE("a first block that fails for memory is not the first block") {
  SteadyEffect e, expected;
  std::vector<double> sound = testSound(3000);
  {
    double* channels[] = {sound.data()};
    const allocations::FailNth failure(1);
    e.processDoubleReplacing(channels, channels, 3000);
  }
  CHECK(e.firstBlock);
  const std::vector<double> a = e.block(testSound(300)), b = expected.block(testSound(300));
  CHECK(differences(a.data(), b.data(), 300) == 0);
}
