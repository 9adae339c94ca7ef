// What fast/ does at once against the same done sample by sample.
#include "engine/fast/Stretch.h"
#include "Blocks.h"
#include "dsp/lfoTriangle.h"
#include "engine/TapSteps.h"
#include "engine/fast/FreeTaps.h"
#include "engine/fast/SteadyShift.h"
#include "engine/fast/StretchTaps.h"
#include "tests/support/Bits.h"

#include <cfenv>
#include <cmath>
#include <doctest/doctest.h>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int32_t kLength = 9600; // samples of delay line

using Random = std::mt19937_64;

double uniform(Random& random, double low, double high) {
  return low + (high - low) * std::ldexp(static_cast<double>(random() >> 11), -53);
}

std::vector<double> noise(int32_t samples) {
  Random random(7);
  std::vector<double> sound(samples);
  for (double& x : sound)
    x = uniform(random, -0.5, 0.5);
  return sound;
}

// A line of noise, with the next slice written.
struct NoisyLine : DelayLine {
  explicit NoisyLine(int32_t samples, int32_t from) {
    build(samples);
    const std::vector<double> sound = noise(samples);
    const auto pass = [&](int32_t first, int32_t count) {
      for (int32_t i = 0; i < count; ++i) {
        Slice slice;
        slice.samples = 1;
        write(sound.data() + (first + i) % samples, slice);
        advance(slice);
      }
    };
    pass(0, samples);
    pass(0, from);
  }
};

// Where a steady pedal may stand: places of the sweep, delays and speeds.
SteadyTaps randomTaps(Random& random) {
  const double ratio = random() % 8 == 0 ? 1.0 : std::exp2(uniform(random, -5.0, 1.0));
  const double jump = 240.0 + (ratio > 1.0 ? 3145.0 : 0.0);
  const double phase = random() % 16 == 0 ? static_cast<double>(random() % 2) : uniform(random, 0.0, 1.0);
  const TapState now{phase, static_cast<uint8_t>(random() % 2), uniform(random, 240.0, 3400.0),
                     uniform(random, 240.0, 3400.0)};
  return {now, std::abs(1.0 - ratio) * 2.0 / 3145.0, ratio, 240.0, jump};
}

void checkSame(const TapState& a, const TapState& b) {
  REQUIRE(bitsOf(a.phase) == bitsOf(b.phase));
  REQUIRE(a.falling == b.falling);
  REQUIRE(bitsOf(a.delay1) == bitsOf(b.delay1));
  REQUIRE(bitsOf(a.delay2) == bitsOf(b.delay2));
}

// Low pass and tone filter in the middle of their work, in a block that ramps the tone or does not.
struct Filters {
  filterPrm_tag request = {kLowPass1, 12000.0, 0.0, 0.0, 1.0, 0.0, 48000.0};
  IIRFilter lowPass{&request};
  ToneFilter tone;
  Block block = blockOf(512);

  explicit Filters(bool ramps) {
    tone.build(48000);
    Block before = blockOf(2, {1.0f, 0.3f, 0.5f, 0.0f});
    tone.begin(before, 1.0);
    tone.end(before);
    tone.lendBranches() = {0.3, 0.4};
    lowPass.state1 = 0.1;
    block.settings.tone = ramps ? 0.9f : 0.3f;
    tone.begin(block, perSampleOf(512));
  }
  JointFilters joint() { return {block, lowPass, tone}; }
};

std::unique_ptr<Slice> sliceAt(int32_t first, int32_t samples) {
  auto slice = std::make_unique<Slice>();
  slice->first = first;
  slice->samples = samples;
  return slice;
}

} // namespace

TEST_CASE("a stretch has the bits of its single samples, and is seldom short") {
  Random random(1);
  int64_t even = 0, all = 0, wrong = 0;
  for (int round = 0; round < 20000; ++round) {
    const SteadyTaps start = randomTaps(random);
    const Stretch stretch = start.stretch(256);
    even += stretch.samples;
    all += 256;
    TapState taps = start.now;
    Slice slice;
    for (int32_t j = 0; j < stretch.samples; ++j) {
      wrong += bitsOf(taps.phase) != bitsOf(stretch.phase + j * stretch.phaseMove);
      wrong += bitsOf(taps.delay1) != bitsOf(stretch.delay1 + j * stretch.move1);
      wrong += bitsOf(taps.delay2) != bitsOf(stretch.delay2 + j * stretch.move2);
      followOne(0, start.jumpDelay, start.minDelay, start.phaseStep, start.pitchRatio, taps, slice);
    }
    if (stretch.samples == 0) continue;
    SteadyTaps passed = start;
    passed.pass(stretch);
    checkSame(passed.now, taps);
  }
  CHECK(wrong == 0);
  CHECK(even > all / 2);
}

TEST_CASE("a stretch is read and filtered to the bits of its single samples, anywhere in the line") {
  Random random(2);
  int wrapped = 0, compared = 0;
  std::unique_ptr<NoisyLine> line;
  for (int round = 0; round < 4000; ++round) {
    if (round % 20 == 0)
      line = std::make_unique<NoisyLine>(kLength, static_cast<int32_t>(random() % (kLength - 256)));
    const SteadyTaps start = randomTaps(random);
    const LineView view(*line);
    const int32_t begin = static_cast<int32_t>(random() % 8);
    const bool ramps = random() % 2 == 0, pedalMoves = random() % 2 == 0;
    Filters ours(ramps), plain(ramps);
    const SmootherRun pedal{0.999, pedalMoves ? 0.0003 : 0.0, pedalMoves ? 0.1 : 0.0};
    SmootherRun ourPedal = pedal, plainPedal = pedal;
    const Stretch stretch = view.beforeSeam(begin, start.stretch(256 - begin));
    REQUIRE(stretch.samples % 4 == 0);
    if (stretch.samples == 0) continue;
    wrapped += !line->isStraight(3400.0);
    ++compared;

    const auto actual = sliceAt(64, 256), expected = sliceAt(64, 256);
    JointFilters ourFilters = ours.joint(), plainFilters = plain.joint();
    CHECK(ourFilters.isToneSteady() == !ramps);
    CHECK(ourPedal.isSteady() == !pedalMoves);
    TapState taps = start.now;
    for (int32_t i = begin; i < begin + stretch.samples; ++i) {
      followOne(i, start.jumpDelay, start.minDelay, start.phaseStep, start.pitchRatio, taps, *expected);
      line->readSample(i, *expected);
      plainFilters.run<false, false>(*expected, i, i + 1, plainPedal);
    }
    shiftStretch(view, stretch, begin, ourFilters, ourPedal, *actual);
    CHECK(differences(actual->shifted + begin, expected->shifted + begin, stretch.samples) == 0);
    CHECK(differences(actual->low + begin + 1, expected->low + begin + 1, stretch.samples) == 0);
    CHECK(differences(actual->high + begin + 1, expected->high + begin + 1, stretch.samples) == 0);
    CHECK(bitsOf(ours.lowPass.state1) == bitsOf(plain.lowPass.state1));
    CHECK(bitsOf(ourPedal.state) == bitsOf(plainPedal.state));

    alignas(16) double narrow[256];
    StretchTaps<2>(view, begin, stretch).read(narrow, stretch.samples);
    CHECK(differences(narrow, expected->shifted + begin, stretch.samples) == 0);
  }
  CHECK(compared > 2000);
  CHECK(wrapped > 200);
}

TEST_CASE("a tap that passes the line's end, or has outgrown the line, has no stretch") {
  const NoisyLine line(100, 10);
  const LineView view(line);
  const auto samples = [&](double delay, double move = 0.0) {
    return view.beforeSeam(0, {40, 0.5, 0.0, delay, move, 5.0, 0.0}).samples;
  };
  CHECK(samples(9.5) == 40);   // reads from sample 0 on
  CHECK(samples(10.5) == 0);   // samples 0 and -1
  CHECK(samples(11.5) == 0);   // samples -1 and -2, but only at first
  CHECK(samples(40.25) == 28); // 29 samples until it reads sample -1 as its nearer one
  CHECK(samples(108.5) == 40); // samples -98 and -99: the line's second and first
  CHECK(samples(109.5) == 0);  // -100 is the newest sample again
  // A tap that lengthens by a sample per sample stays as far from the line's end, however numbers round.
  for (const int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
    CAPTURE(mode);
    // Volatile, or the compiler works them out by itself and as numbers usually round.
    volatile double equal = 1.0, faster = 1.0 + 0x1p-40;
    volatile int32_t level = 0, beyond = 0;
    std::fesetround(mode);
    level = samples(40.25, equal);
    beyond = samples(40.25, faster);
    std::fesetround(FE_TONEAREST);
    CHECK(level == 40);
    CHECK(beyond == 40);
  }
}

TEST_CASE("a pole or a pedal is steady only if no bit of it changes") {
  Filters filters(true);
  filters.block.toneStep = {0.0, 1e-5, 0.1, 0.1};
  CHECK_FALSE(filters.joint().isToneSteady());
  filters.block.toneStep = {-1e-5, 0.0, 0.1, 0.1};
  CHECK_FALSE(filters.joint().isToneSteady());
  filters.block.toneStep = {-0.0, 0.0, 0.1, 0.1};
  CHECK(filters.joint().isToneSteady());
  CHECK_FALSE(SmootherRun{0.999, 0.0003, 0.1}.isSteady());
  CHECK(SmootherRun{0.999, 0.0, 0.0}.isSteady());
  CHECK_FALSE(SmootherRun{0.999, 0.0, -0.0}.isSteady()); // becomes 0
}
