// The measures of a single sound, on sounds whose answers are known.
#include "quality/AnalyticSignal.h"
#include "quality/LineSpectrum.h"
#include "quality/Quantile.h"
#include "quality/TestSounds.h"

#include <cmath>
#include <doctest/doctest.h>
#include <numbers>

namespace {

constexpr int kSamples = 1 << 16;

Sound sum(Sound first, const Sound& second) {
  for (std::size_t n = 0; n < first.size(); ++n)
    first[n] += second[n];
  return first;
}

double turns(double hz, int sample) { return 2.0 * std::numbers::pi * hz / kRateHz * sample; }

// 1 kHz whose level moves by 1 + depth * cos at a rate.
Sound tremolo(double depth, double rateHz) {
  Sound sound = sine(1000.0, kSamples, 1.0);
  for (int n = 0; n < kSamples; ++n)
    sound[n] *= 1.0 + depth * std::cos(turns(rateHz, n));
  return sound;
}

} // namespace

TEST_CASE("a tone's instantaneous frequency is its own, between bins too") {
  for (double hz : {41.2, 110.0, 1000.3, 4321.7})
    CHECK(AnalyticSignal(sine(hz, kSamples), hz).medianHz() == doctest::Approx(hz).epsilon(1e-5));
}

TEST_CASE("a tone a known way off is read as off, however wrong the expectation") {
  const double off = 1000.0 * std::exp2(7.0 / 1200.0);
  const double heard = AnalyticSignal(sine(off, kSamples), 1000.0).medianHz();
  CHECK(1200.0 * std::log2(heard / 1000.0) == doctest::Approx(7.0).epsilon(0.001));
}

TEST_CASE("jumps of the phase do not move the median of the frequency") {
  Sound jumpy(kSamples);
  for (int n = 0; n < kSamples; ++n)
    jumpy[n] = std::sin(turns(1000.0, n) + 2.1 * (n / 2400));
  CHECK(AnalyticSignal(jumpy, 1000.0).medianHz() == doctest::Approx(1000.0).epsilon(1e-4));
}

TEST_CASE("the ripple of a steady tone is nothing, of a tremolo its depth, of a gap the most there is") {
  CHECK(AnalyticSignal(sine(1000.0, kSamples), 1000.0).rippleDb() < 0.01);
  // a cosine lies within 1 % of its time's ends: cos(0.01 * pi) = 0.9995
  const double expected = 20.0 * std::log10((1.0 + 0.5 * 0.9995) / (1.0 - 0.5 * 0.9995));
  CHECK(AnalyticSignal(tremolo(0.5, 10.0), 1000.0).rippleDb() == doctest::Approx(expected).epsilon(0.002));
  Sound gap = sine(1000.0, kSamples);
  for (int n = kSamples / 4; n < kSamples / 2; ++n)
    gap[n] = 0.0;
  CHECK(AnalyticSignal(gap, 1000.0).rippleDb() > 40.0);
  CHECK(AnalyticSignal(Sound(kSamples), 1000.0).rippleDb() == 0.0);
}

TEST_CASE("what lies above twice the expected frequency does not reach the envelope") {
  const Sound withImage = sum(sine(1000.0, kSamples), sine(2500.0, kSamples));
  CHECK(AnalyticSignal(withImage, 1000.0).rippleDb() < 0.1);
  CHECK(AnalyticSignal(withImage, 1500.0).rippleDb() > 20.0);
}

TEST_CASE("the strongest line is found between bins to a hundredth of a bin") {
  for (double hz : {82.41, 329.63, 1000.37})
    CHECK(std::abs(LineSpectrum(sine(hz, kSamples)).strongest().hz - hz) < 0.01 * kRateHz / kSamples);
}

TEST_CASE("sidebands are read in decibels under the line") {
  // a tremolo of depth d puts d / 2 to either side
  CHECK(LineSpectrum(tremolo(0.2, 10.0)).strongestSidebandDb() == doctest::Approx(-20.0).epsilon(0.005));
  CHECK(LineSpectrum(tremolo(0.002, 30.0)).strongestSidebandDb() == doctest::Approx(-60.0).epsilon(0.005));
  CHECK(LineSpectrum(sine(1000.0, kSamples)).strongestSidebandDb() < -85.0);
  const Sound pair = sum(sine(1000.0, kSamples), sine(1500.0, kSamples));
  CHECK(std::abs(LineSpectrum(pair).strongestSidebandDb()) < 0.2);
}

TEST_CASE("a level is read beside the strongest line") {
  const LineSpectrum spectrum(sum(sine(1000.0, kSamples), sine(1500.0, kSamples, 0.05)));
  CHECK(spectrum.levelDb(1500.0) == doctest::Approx(-20.0).epsilon(0.02));
  CHECK(spectrum.levelDb(8000.0) == LineSpectrum::kFaintestDb);
}

TEST_CASE("shares of the power are those of the tones that lie inside") {
  const LineSpectrum spectrum(sum(sine(400.0, kSamples, 0.3), sine(6000.0, kSamples, 0.1)));
  CHECK(spectrum.shareAround({400.0}, 50.0) == doctest::Approx(0.9).epsilon(1e-4));
  CHECK(spectrum.shareAround({400.0, 6000.0}, 50.0) == doctest::Approx(1.0).epsilon(1e-6));
  CHECK(spectrum.shareAround({800.0}, 50.0) < 1e-6);
  CHECK(spectrum.shareAboveDb(4000.0) == doctest::Approx(-10.0).epsilon(1e-4));
  CHECK(LineSpectrum(Sound(kSamples)).shareAround({400.0}, 50.0) == 0.0);
  CHECK(LineSpectrum(sine(440.0, kSamples)).shareAboveDb(4000.0) == LineSpectrum::kFaintestDb);
}

TEST_CASE("a quantile is the value that so many lie below") {
  const std::vector<double> values = {5.0, 1.0, 4.0, 2.0, 3.0};
  CHECK(quantile(values, 0.0) == 1.0);
  CHECK(quantile(values, 0.5) == 3.0);
  CHECK(quantile(values, 0.74) == 4.0);
  CHECK(quantile(values, 1.0) == 5.0);
  CHECK(quantile({7.0}, 0.3) == 7.0);
}

TEST_CASE("test sounds are what they are called") {
  CHECK(sine(12000.0, 5, 0.5)[1] == doctest::Approx(0.5));
  CHECK(impulses(3, 7) == Sound{1, 0, 0, 1, 0, 0, 1});
  CHECK(level(0.25, 2) == Sound{0.25, 0.25});
  // each of two tones by itself, the second a quarter turn ahead
  const Sound both = chord({1000.0, 3000.0}, 10, 0.1);
  for (int n = 0; n < 10; ++n)
    CHECK(both[n] == doctest::Approx(0.1 * std::sin(turns(1000.0, n)) + 0.1 * std::cos(turns(3000.0, n))));
}
