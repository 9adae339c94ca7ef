// The tone filter: its coefficients, their ramps, and both branches.
#include "engine/ToneFilter.h"
#include "Blocks.h"
#include "tests/support/Bits.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct BuiltFilter : ToneFilter {
  explicit BuiltFilter(int32_t rateHz = 44100) { build(rateHz); }

  Block begun(int32_t samples, float tone) {
    Block block = blockOf(samples, {1.0f, tone, 0.5f, 0.0f});
    begin(block, perSampleOf(samples));
    return block;
  }

  // A block that leads to a Tone, of silence.
  void reach(float tone) {
    const ToneBranches before = lendBranches();
    play(tone, std::vector<double>(2, 0.0));
    lendBranches() = before;
  }

  std::vector<double> play(float tone, const std::vector<double>& input, int32_t longest = 256) {
    const auto samples = static_cast<int32_t>(input.size());
    const Block block = begun(samples, tone);
    std::vector<double> output;
    forEachSlice(samples, longest, [&](Slice& slice) {
      std::copy_n(input.begin() + slice.first, slice.samples, slice.shifted);
      run(block, slice);
      output.insert(output.end(), slice.toned, slice.toned + slice.samples);
    });
    end(block);
    return output;
  }
};

ToneCoefficients coefficientsOf(int32_t rateHz, float tone) {
  BuiltFilter filter(rateHz);
  filter.reach(tone);
  return filter.start();
}

struct Bounds {
  int32_t rateHz;
  double low, high;
};
// Only exactly 48000 Hz has its own.
constexpr Bounds kBounds[] = {{44100, 0.749, 0.965}, {47999, 0.749, 0.965}, {48000, 0.767, 0.968},
                              {48001, 0.749, 0.965}, {96000, 0.749, 0.965}, {62, 0.749, 0.965}};

} // namespace

TEST_CASE("tone targets follow the four formulas in their ranges") {
  for (const Bounds& bounds : kBounds) {
    for (int i = 0; i <= 100; ++i) {
      const float tone = static_cast<float>(i) / 100.0f;
      const double t = tone;
      CAPTURE(bounds.rateHz);
      CAPTURE(t);
      const ToneCoefficients k = coefficientsOf(bounds.rateHz, tone);
      // in doubles throughout: the engine's single precision leaves a few 2^-24 of the span
      const double close = 4.0 * 0x1p-24;
      CHECK(std::fabs(k.lowPole - (bounds.low + t * t * t * (0.998 - bounds.low))) < close);
      const double angle = std::atan(5.0 * (0.5 - t)), half = std::atan(2.5);
      CHECK(std::fabs(k.highPole - bounds.high * (angle + half) / (2.0 * half)) < close);
      CHECK(std::fabs(k.lowGain - (0.45 + 0.35 * (1.0 - 8.0 * std::pow(t - 0.35, 3.0)))) < close);
      CHECK(std::fabs(k.highGain - 6.0 * t * t * t) < 6.0 * close);
    }
  }
}

TEST_CASE("tone targets at both ends") {
  for (const Bounds& bounds : kBounds) {
    const ToneCoefficients dark = coefficientsOf(bounds.rateHz, 0.0f),
                           bright = coefficientsOf(bounds.rateHz, 1.0f);
    CHECK(dark.lowPole == static_cast<double>(static_cast<float>(bounds.low)));
    CHECK(dark.highPole == static_cast<double>(static_cast<float>(bounds.high)));
    CHECK(dark.highGain == 0.0);
    CHECK(bright.lowPole == doctest::Approx(0.998).epsilon(1e-7));
    CHECK(std::fabs(bright.highPole) < 1e-7);
    CHECK(bright.highGain == 6.0);
  }
}

TEST_CASE("more Tone raises the low pole and the high gain and lowers the high pole and the low gain") {
  for (int i = 1; i <= 20; ++i) {
    const ToneCoefficients less = coefficientsOf(44100, static_cast<float>(i - 1) / 20.0f);
    const ToneCoefficients more = coefficientsOf(44100, static_cast<float>(i) / 20.0f);
    CHECK(more.lowPole > less.lowPole);
    CHECK(more.highPole < less.highPole);
    CHECK(more.lowGain <= less.lowGain);
    CHECK(more.highGain > less.highGain);
  }
}

TEST_CASE("tone coefficients ramp from the block before and reach their targets at the last sample") {
  const ToneCoefficients from = coefficientsOf(44100, 0.2f), to = coefficientsOf(44100, 1.0f);
  for (const int32_t longest : {256, 2}) {
    BuiltFilter filter;
    filter.reach(0.2f);
    filter.lendBranches() = {1.0, 0.25}; // the sound of silence: what the branches remember
    const std::vector<double> output = filter.play(1.0f, std::vector<double>(5, 0.0), longest);
    double low = 1.0, high = 0.25;
    for (int i = 0; i < 5; ++i) {
      const double way = i / 4.0;
      const double lowPole = from.lowPole + (to.lowPole - from.lowPole) * way;
      const double highPole = from.highPole + (to.highPole - from.highPole) * way;
      const double lowGain = from.lowGain + (to.lowGain - from.lowGain) * way;
      const double highGain = from.highGain + (to.highGain - from.highGain) * way;
      CHECK(output[i] ==
            doctest::Approx(lowGain * (low + lowPole * low) + highGain * (highPole * high - high))
                .epsilon(1e-12));
      low *= lowPole;
      high *= highPole;
    }
    CHECK(filter.start().lowPole == to.lowPole);
    CHECK(filter.start().highGain == to.highGain);
  }
}

TEST_CASE("the high tone branch adds its previous state and is silent at 0 Hz") {
  // At 0 Hz the high branch contributes nothing (state minus state), the low one 2 k3 y: with y half the
  // shifted sound a constant of 1 comes out as k3.
  BuiltFilter filter;
  filter.reach(0.5f);
  const ToneCoefficients k = filter.start();
  CHECK(filter.play(0.5f, std::vector<double>(2000, 1.0)).back() == doctest::Approx(k.lowGain).epsilon(1e-9));
  // its state settles at y (1 + k2) / (1 - k2)
  CHECK(filter.lendBranches().toneHighState ==
        doctest::Approx(0.5 * (1.0 + k.highPole) / (1.0 - k.highPole)).epsilon(1e-9));
  // At half the rate the low branch is silent: both its states cancel. The high one, +-1/2, adds up to k4.
  std::vector<double> alternating(2001);
  for (int i = 0; i <= 2000; ++i)
    alternating[i] = i % 2 == 0 ? 1.0 : -1.0;
  CHECK(filter.play(0.5f, alternating).back() == doctest::Approx(k.highGain).epsilon(1e-9));
}

TEST_CASE(
    "a filter's first block rises from nothing, a block of one sample hears its targets one block late") {
  BuiltFilter filter;
  CHECK(filter.play(0.5f, {1.0}) == std::vector<double>{0.0});
  const std::vector<double> heard = filter.play(0.5f, {0.0});
  CHECK(heard[0] != 0.0);
}

TEST_CASE("building starts anew: no Tone yet, silent branches") {
  BuiltFilter filter;
  filter.play(0.5f, {1.0, 1.0, 1.0});
  filter.build(44100);
  CHECK(filter.lendBranches().toneLowState == 0.0);
  CHECK(filter.lendBranches().toneHighState == 0.0);
  CHECK(filter.start().lowGain == 0.0);
  const Block block = filter.begun(2, 0.5f); // the Tone of before counts as a new one
  CHECK(block.toneStep.lowGain == coefficientsOf(44100, 0.5f).lowGain);
}

TEST_CASE("a state or a coefficient that is no number is told") {
  BuiltFilter filter;
  for (const bool isLow : {true, false}) {
    double& state = isLow ? filter.lendBranches().toneLowState : filter.lendBranches().toneHighState;
    state = std::numeric_limits<double>::infinity();
    CHECK_FALSE(filter.isFinite());
    state = 0.0;
    CHECK(filter.isFinite());
  }
  filter.end(filter.begun(2, kNan));
  CHECK_FALSE(filter.isFinite());
  filter.end(filter.begun(2, 0.5f)); // the next good Tone chooses anew
  CHECK(filter.isFinite());
}
