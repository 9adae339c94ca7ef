// Rates that cannot be run, memory that cannot be had: audio passes, and the next good rate repairs all.
#include "ExposedTreadshift.h"
#include "Snapshot.h"
#include "tests/support/Allocations.h"
#include "tests/unit/dsp/Bits.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr std::size_t kModestBytes = 64 << 20; // a minute of sound; no test asks the machine for more

// Numbers whose bits a copy keeps and arithmetic would not.
std::vector<double> awkwardSound() {
  return {0.5,
          -0.0,
          std::numeric_limits<double>::denorm_min(),
          -1e-310,
          std::bit_cast<double>(0x7FF4000000000123ULL), // a signalling not-a-number
          -std::numeric_limits<double>::infinity(),
          1e300};
}

void checkPassesThrough(ExposedTreadshift& e) {
  const std::vector<double> input = awkwardSound();
  const std::vector<double> output = e.block(input);
  CHECK(differences(output.data(), input.data(), static_cast<int>(input.size())) == 0);
}

void checkSoundsLike(ExposedTreadshift& e, ExposedTreadshift& expected) {
  for (int from = 0; from < 4000; from += 1000) {
    const std::vector<double> input = testSound(1000, from);
    const std::vector<double> a = e.block(input), b = expected.block(input);
    CHECK(differences(a.data(), b.data(), 1000) == 0);
  }
}

void checkRepaired(ExposedTreadshift& e) {
  e.setSampleRate(44100.0f);
  CHECK(e.isBuilt());
  ExposedTreadshift fresh;
  fresh.setSampleRate(44100.0f);
  CHECK(changedFields(snapshotOf(fresh), snapshotOf(e)).contains("rate") == false);
  checkSoundsLike(e, fresh);
}

const float kUnusable[] = {0.0f,  -0.0f, 0.5f,  0.999f, 1.0f,      10.0f,     15.0f,     16.0f,
                           62.0f, 62.4f, -1.0f, -0.5f,  -44100.0f, -3e9f,     -1e30f,    1073741824.0f,
                           3e9f,  1e20f, 3e38f, kNan,   -kNan,     kInfinity, -kInfinity};

} // namespace

TEST_CASE("before any rate, blocks pass through and change nothing") {
  ExposedTreadshift e;
  const Snapshot before = snapshotOf(e);
  checkPassesThrough(e);
  CHECK(changedFields(before, snapshotOf(e)).empty());
  checkRepaired(e);
}

TEST_CASE("before any rate, nothing else that a host does fails") {
  ExposedTreadshift e;
  e.resume();
  e.setBlockSize(512);
  e.suspend();
  e.setProgram(5L);
  e.setColor();
  e.setPitch(0.5f);
  e.emptyBlock(0);
  e.emptyBlock(-5);
  checkPassesThrough(e);
}

TEST_CASE("a rate that cannot be run passes audio through, before and after a good one") {
  for (float rate : kUnusable) {
    CAPTURE(rate);
    ExposedTreadshift e;
    const allocations::RefuseLargerThan modest(kModestBytes);
    e.setSampleRate(rate);
    CHECK(!e.isBuilt());
    checkPassesThrough(e);
    e.setParameter(kPedalPos, 0.5f);
    e.resume();
    e.setSampleRate(rate);
    checkPassesThrough(e);
    e.setParameter(kPedalPos, 0.0f);
    checkRepaired(e);
    e.setSampleRate(rate);
    CHECK(!e.isBuilt());
    checkPassesThrough(e);
    e.setSampleRate(44100.0f);
    CHECK(e.isBuilt());
  }
}

TEST_CASE("a rate from 62.5 Hz on is run") {
  for (float rate : {62.5f, 63.0f, 100.0f, 1000.0f}) {
    CAPTURE(rate);
    ExposedTreadshift e;
    e.setSampleRate(rate);
    CHECK(e.isBuilt());
    for (double y : e.block(testSound(2000)))
      CHECK(std::isfinite(y));
  }
}

TEST_CASE("a first rate of exactly -1 returns at once, like any rate in force") {
  ExposedTreadshift e;
  const Snapshot before = snapshotOf(e);
  e.setSampleRate(-1.0f);
  CHECK(changedFields(before, snapshotOf(e)).empty());
  e.setSampleRate(44100.0f);
  e.setSampleRate(-1.0f); // now a new one
  CHECK(e.rateHzInt == -1);
  CHECK(e.delayLength == -2);
  CHECK(!e.isBuilt());
}

TEST_CASE("scalars follow from a rate that cannot be run as from any other") {
  ExposedTreadshift e;
  e.setSampleRate(0.0f);
  CHECK(e.rateHzInt == 0);
  CHECK(e.delayLength == 0);
  CHECK(bitsOf(e.minDelay) == bitsOf(0.0));
  CHECK(e.sweepLength == 0);
  CHECK(e.sweepLengthInv == std::numeric_limits<double>::infinity());
  e.setSampleRate(10.0f);
  CHECK(e.rateHzInt == 10);
  CHECK(e.delayLength == 20);
  CHECK(bitsOf(e.minDelay) == bitsOf(0.005 * 10.0));
  CHECK(e.sweepLength == 0);
  e.setSampleRate(62.0f);
  CHECK(e.delayLength == 124);
  CHECK(e.sweepLength == 4);
  CHECK(bitsOf(e.sweepLengthInv) == bitsOf(0.25));
  CHECK(e.cents == -1200.0); // the pitch steps run as ever
  CHECK(bitsOf(e.sweepRate) == bitsOf(0.5 * 62.0 * 0.25));
  e.setSampleRate(-44100.7f);
  CHECK(e.rateHzInt == -44100); // towards zero
  CHECK(e.delayLength == -88200);
  CHECK(e.sweepLength == -2890);
  CHECK(e.writeIndex == 0);
  CHECK(e.lastTone == -1.0f);
}

TEST_CASE("a rate whose memory cannot be had passes audio through and can be asked for again") {
  for (float rate : {1e9f, 5e8f}) {
    CAPTURE(rate);
    const long before = allocations::live();
    {
      ExposedTreadshift e;
      {
        const allocations::RefuseLargerThan modest(kModestBytes);
        e.setSampleRate(rate);
      }
      CHECK(!e.isBuilt());
      CHECK(e.rateHzInt == static_cast<int32_t>(rate));
      checkPassesThrough(e);
      checkRepaired(e);
    }
    CHECK(allocations::live() == before);
  }
}

TEST_CASE("whichever allocation of a set-up fails, nothing escapes and the same rate repairs it") {
  int built = 0;
  for (long failing = 1; failing <= 20; ++failing) {
    CAPTURE(failing);
    ExposedTreadshift e;
    {
      const allocations::FailNth failure(failing);
      CHECK_NOTHROW(e.setSampleRate(44100.0f));
    }
    if (e.isBuilt()) {
      ++built; // the sweep's two filters are not needed, and the last numbers are never reached
    } else {
      checkPassesThrough(e);
      CHECK(e.delayLine == nullptr);
      CHECK(e.sweepLfo == nullptr);
      CHECK(e.toneCurves[0] == nullptr);
      CHECK(e.pedalSmoother == nullptr);
      CHECK(e.onOffSwitch == nullptr);
    }
    checkRepaired(e);
  }
  // delay line, sweep and its 2 filters, 4 curves, 2 filters, 2 switches of 3: 16, of which 14 are needed
  CHECK(built == 20 - 14);
}

TEST_CASE("whichever allocation of a set-up fails, nothing leaks") {
  const long before = allocations::live();
  for (long failing = 1; failing <= 20; ++failing) { // no checks inside: they allocate as well
    ExposedTreadshift e;
    const allocations::FailNth failure(failing);
    e.setSampleRate(44100.0f);
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("a set-up that fails after a good rate leaves no half-built effect") {
  for (long failing = 1; failing <= 16; ++failing) {
    CAPTURE(failing);
    ExposedTreadshift e;
    e.setSampleRate(48000.0f);
    e.block(testSound(300));
    {
      const allocations::FailNth failure(failing);
      e.setSampleRate(44100.0f);
    }
    if (!e.isBuilt()) checkPassesThrough(e);
    e.setSampleRate(44100.0f);
    CHECK(e.isBuilt());
    for (double y : e.block(testSound(300)))
      CHECK(std::isfinite(y));
  }
}
