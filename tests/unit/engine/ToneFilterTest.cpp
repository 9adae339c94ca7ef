// The tone filter: its coefficients, their ramps, and both branches.
#include "engine/ToneFilter.h"
#include "Blocks.h"
#include "tests/support/Bits.h"
#include "tests/support/NonFinite.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

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

struct ToneBounds {
  int32_t rateHz;
  double low, high;
};
// Only exactly 48000 Hz has its own.
constexpr ToneBounds kToneBounds[] = {{44100, 0.749, 0.965}, {47999, 0.749, 0.965}, {48000, 0.767, 0.968},
                                      {48001, 0.749, 0.965}, {96000, 0.749, 0.965}, {62, 0.749, 0.965}};

} // namespace

TEST_CASE("tone targets follow the four formulas in their ranges") {
  for (const ToneBounds& bounds : kToneBounds) {
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
  filter.end(filter.begun(2, kNaN));
  CHECK_FALSE(filter.isFinite());
  filter.end(filter.begun(2, 0.5f)); // the next good Tone chooses anew
  CHECK(filter.isFinite());
}
