// The loop of a steady pedal against the same sound made sample by sample.
#include "effect/EvenShift.h"
#include "dsp/lfoTriangle.h"
#include "effect/EvenTaps.h"
#include "effect/TapSweep.h"
#include "tests/unit/dsp/Bits.h"

#include <cfenv>
#include <cmath>
#include <doctest/doctest.h>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int32_t kLength = 9600; // samples of delay line

std::vector<double> noisyLine(int32_t length) {
  std::mt19937_64 random(7);
  std::vector<double> line(length);
  for (double& x : line)
    x = std::ldexp(static_cast<double>(random() >> 11), -53) - 0.5;
  return line;
}

// Where a steady pedal may stand: places of the sweep, delays and speeds.
struct Start {
  TapSweep taps;
  double phaseStep, pitchRatio;
  int32_t writeIndex;
};

Start randomStart(std::mt19937_64& random) {
  const auto uniform = [&](double low, double high) {
    return low + (high - low) * std::ldexp(static_cast<double>(random() >> 11), -53);
  };
  const double ratio = random() % 8 == 0 ? 1.0 : std::exp2(uniform(-5.0, 1.0));
  const double restart = 240.0 + (ratio > 1.0 ? 3145.0 : 0.0);
  const double phase = random() % 16 == 0 ? static_cast<double>(random() % 2) : uniform(0.0, 1.0);
  const TapSweep taps{
      phase,  static_cast<uint8_t>(random() % 2), uniform(240.0, 3400.0), uniform(240.0, 3400.0), 240.0,
      restart};
  return {taps, std::abs(1.0 - ratio) * 2.0 / 3145.0, ratio,
          static_cast<int32_t>(random() % (kLength - 256))};
}

constexpr FilterRun kFilters{0.5,   0.4,   0.0,    0.1, 0.0, 0.97, -0.5, 1e-5,
                             -1e-5, 0.999, 0.0003, 0.1, 0.0, 0.2,  0.3,  0.4};

std::unique_ptr<Chunk> chunkAt(const FilterRun& filters) {
  auto chunk = std::make_unique<Chunk>();
  chunk->first = 64;
  chunk->samples = 256;
  chunk->low[0] = filters.low;
  chunk->high[0] = filters.high;
  return chunk;
}

} // namespace

TEST_CASE("an even stretch has the bits of its single samples, and is seldom short") {
  std::mt19937_64 random(1);
  int64_t even = 0, all = 0;
  for (int round = 0; round < 20000; ++round) {
    const Start start = randomStart(random);
    TapSweep taps = start.taps;
    const EvenStretch stretch = taps.evenStretch(start.phaseStep, start.pitchRatio, 256);
    even += stretch.samples;
    all += 256;
    Chunk chunk;
    chunk.sweep = chunk.delay1; // not looked at
    for (int32_t j = 0; j < stretch.samples; ++j) {
      REQUIRE(bitsOf(taps.phase) == bitsOf(stretch.phase + j * stretch.phaseMove));
      REQUIRE(bitsOf(taps.delay1) == bitsOf(stretch.delay1 + j * stretch.move1));
      REQUIRE(bitsOf(taps.delay2) == bitsOf(stretch.delay2 + j * stretch.move2));
      taps.followOne(0, start.phaseStep, start.pitchRatio, chunk);
    }
    if (stretch.samples == 0) continue;
    TapSweep passed = start.taps;
    passed.pass(stretch, start.phaseStep, start.pitchRatio);
    REQUIRE(bitsOf(passed.phase) == bitsOf(taps.phase));
    REQUIRE(bitsOf(passed.delay1) == bitsOf(taps.delay1));
    REQUIRE(bitsOf(passed.delay2) == bitsOf(taps.delay2));
    REQUIRE(passed.falling == taps.falling);
  }
  CHECK(even > all / 2);
}

TEST_CASE("a stretch is read and filtered to the bits of its single samples, anywhere in the line") {
  const std::vector<double> line = noisyLine(kLength);
  std::mt19937_64 random(2);
  int wrapped = 0, compared = 0;
  for (int round = 0; round < 4000; ++round) {
    const Start start = randomStart(random);
    const DelayLineView view(line.data(), kLength, start.writeIndex, 3400.0);
    const int32_t begin = static_cast<int32_t>(random() % 8);
    FilterRun filters = kFilters;
    if (random() % 2) filters.k1Step = filters.k2Step = 0.0;
    if (random() % 2) filters.pedalInput = filters.pedal - filters.pedalPole * filters.pedal;
    const auto fast = chunkAt(filters), plain = chunkAt(filters);
    const EvenStretch stretch =
        view.beforeSeam(begin, start.taps.evenStretch(start.phaseStep, start.pitchRatio, 256 - begin));
    REQUIRE(stretch.samples % 4 == 0);
    if (stretch.samples == 0) continue;
    wrapped += !view.isStraight;
    ++compared;
    fast->low[begin] = plain->low[begin] = filters.low;
    fast->high[begin] = plain->high[begin] = filters.high;

    FilterRun plainFilters = filters;
    TapSweep taps = start.taps;
    plain->sweep = plain->dry;
    for (int32_t i = begin; i < begin + stretch.samples; ++i) {
      taps.followOne(i, start.phaseStep, start.pitchRatio, *plain);
      readSample(view, i, *plain);
      plainFilters.run<false, false>(*plain, i, i + 1);
    }
    shiftEvenly(view, stretch, begin, filters, *fast);
    CHECK(differences(fast->shifted + begin, plain->shifted + begin, stretch.samples) == 0);
    CHECK(differences(fast->low + begin, plain->low + begin, stretch.samples + 1) == 0);
    CHECK(differences(fast->high + begin, plain->high + begin, stretch.samples + 1) == 0);
    CHECK(bitsOf(filters.state1) == bitsOf(plainFilters.state1));
    CHECK(bitsOf(filters.pedal) == bitsOf(plainFilters.pedal));

    alignas(16) double narrow[256];
    EvenTaps<2>(view, begin, stretch).read(narrow, stretch.samples);
    CHECK(differences(narrow, plain->shifted + begin, stretch.samples) == 0);
  }
  CHECK(compared > 2000);
  CHECK(wrapped > 200);
}

TEST_CASE("a tap that passes the line's end, or has outgrown the line, has no stretch") {
  const std::vector<double> line = noisyLine(100);
  const DelayLineView view(line.data(), 100, 10, 90.0);
  const auto samples = [&](double delay) {
    return view.beforeSeam(0, {40, 0.5, 0.0, delay, 0.0, 5.0, 0.0}).samples;
  };
  CHECK(samples(9.5) == 40);   // reads from sample 0 on
  CHECK(samples(10.5) == 0);   // samples 0 and -1
  CHECK(samples(11.5) == 0);   // samples -1 and -2, but only at first
  CHECK(samples(40.25) == 28); // 29 samples until it reads sample -1 as its nearer one
  CHECK(samples(108.5) == 40); // samples -98 and -99: the line's second and first
  CHECK(samples(109.5) == 0);  // -100 is the newest sample again
}

TEST_CASE(
    "a tap that lengthens by a sample per sample stays as far from the line's end, however numbers round") {
  const std::vector<double> line = noisyLine(100);
  const DelayLineView view(line.data(), 100, 10, 90.0);
  const auto samples = [&](double move) {
    return view.beforeSeam(0, {40, 0.5, 0.0, 40.25, move, 5.0, 0.0}).samples;
  };
  for (const int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
    CAPTURE(mode);
    // Volatile, or the compiler works them out by itself and as numbers usually round.
    volatile double equal = 1.0, faster = 1.0 + 0x1p-40;
    volatile int32_t level = 0, beyond = 0;
    std::fesetround(mode);
    level = samples(equal);
    beyond = samples(faster);
    std::fesetround(FE_TONEAREST);
    CHECK(level == 40);
    CHECK(beyond == 40);
  }
}

TEST_CASE("a pitch far above the pedal's range has no stretch") {
  const TapSweep taps{0.5, 0, 3000.0, 2000.0, 240.0, 3385.0};
  CHECK(taps.evenStretch(0.001, 7.0, 256).samples > 100);
  CHECK(taps.evenStretch(0.001, 7.5, 256).samples == 0);
}

TEST_CASE("a pole or a pedal stays only if no bit of it changes") {
  FilterRun filters = kFilters;
  CHECK_FALSE(filters.toneStays());
  filters.k1Step = -0.0;
  CHECK_FALSE(filters.toneStays());
  filters.k2Step = 0.0;
  CHECK(filters.toneStays());
  CHECK_FALSE(filters.pedalStays());
  filters.pedal = filters.pedalInput = 0.0;
  CHECK(filters.pedalStays());
  filters.pedal = -0.0; // becomes 0
  CHECK_FALSE(filters.pedalStays());
}
