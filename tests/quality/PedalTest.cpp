// The module through the measures: a short slice of the sheet, with what must be true of it. Intervals are
// proved in sound/, and with the splices by the rows of the page.
#include "engine/PedalNumbers.h"
#include "quality/FadeShape.h"
#include "quality/PedalShifter.h"
#include "quality/SettingReport.h"
#include "quality/ToneResponse.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <doctest/doctest.h>
#include <numbers>

namespace {

constexpr double kSweepSamples = 3145.0; // how far a tap's delay travels at 48 kHz

MakeShifter pedalAt(int color, double pedal, Heard heard = Heard::shiftedOnly) {
  return [=] {
    return std::make_unique<PedalShifter>(TREADSHIFT_MODULE, PedalSetting{.color = color, .pedal = pedal},
                                          heard);
  };
}

// Gain of the unshifted path by its recurrences. k1 to k4: the tone filter's coefficients.
double pathDb(double hz, double k1, double k2, double k3, double k4) {
  const std::complex<double> z =
      std::polar(1.0, -2.0 * std::numbers::pi * hz / kRateHz); // one sample's delay
  const std::complex<double> lowPass = (1.0 + z) / 2.0;        // first order, a quarter of the rate
  const std::complex<double> low = (1.0 - k1) / (1.0 - k1 * z), high = (1.0 + k2) / (1.0 - k2 * z);
  const std::complex<double> toned = k3 * (1.0 + z) * low + k4 * (1.0 - z) * high;
  return 20.0 * std::log10(std::abs(lowPass * 0.5 * toned));
}

} // namespace

TEST_CASE("the latency lies between the shortest and the longest delay of a tap, its median about half way") {
  const auto delay = measuredDelay(pedalAt(2, 1.0), 2.0);
  REQUIRE(delay);
  const double longest = 5.0 + 1000.0 * kSweepSamples / kRateHz;
  CHECK(delay->shortestMs >= 5.0);
  CHECK(delay->longestMs <= longest + 0.5); // the filters ring on
  CHECK(std::abs(delay->medianMs - 0.5 * (5.0 + longest)) < 3.0);
  const auto resting = measuredDelay(pedalAt(2, 0.0), 1.0);
  REQUIRE(resting);
  CHECK(resting->medianMs == doctest::Approx(5.0).epsilon(0.01));
  CHECK(EffectRunner(TREADSHIFT_MODULE).facts().initialDelay == 0); // what the host is told
}

TEST_CASE("dry sound is told from shifted sound") {
  for (const double pedal : {0.0, 0.25, 1.0}) {
    CHECK(PedalShifter::dryGain(TREADSHIFT_MODULE, {.color = 0, .pedal = pedal}) == doctest::Approx(pedal));
    CHECK(PedalShifter::dryGain(TREADSHIFT_MODULE, {.color = 2, .pedal = pedal}) == 0.0);
    CHECK(PedalShifter::dryGain(TREADSHIFT_MODULE, {.color = 4, .pedal = pedal}) == 1.0);
    CHECK(PedalShifter::dryGain(TREADSHIFT_MODULE, {.color = 6, .pedal = pedal}) ==
          doctest::Approx(1.0 - pedal));
  }
  CHECK(!reportOn(pedalAt(0, 1.0), 0.0));
  // what is left of an impulse at its own moment: all of it, or nothing
  CHECK(pedalAt(4, 0.5, Heard::all)()->play({1.0, 0.0}, 1).front() == 1.0);
  CHECK(pedalAt(4, 0.5)()->play({1.0, 0.0}, 1).front() == 0.0);
}

TEST_CASE("the tone filter answers as its recurrences say") {
  const ToneResponse dull(TREADSHIFT_MODULE, 0.0), bright(TREADSHIFT_MODULE, 1.0);
  const double k3Dull = 0.45 + 0.35 * (1.0 + 8.0 * 0.35 * 0.35 * 0.35);
  for (const double hz : {100.0, 1000.0, 5000.0, 15000.0}) {
    CAPTURE(hz);
    CHECK(std::abs(dull.db(hz) - pathDb(hz, 0.767, 0.0, k3Dull, 0.0)) < 0.2);
  }
  CHECK(bright.db(10000.0) > bright.db(100.0) + 25.0);
}

TEST_CASE("a fade goes straight out and straight in, 768 samples each") {
  const SwitchMove moves[] = {{kOnOff, 1.0, 0.0},
                              {kOnOff, 0.0, 1.0},
                              {kColor, colorParameter(2), colorParameter(3)},
                              {kColor, colorParameter(3), colorParameter(2)}};
  for (const SwitchMove& move : moves) {
    CAPTURE(move.parameter);
    CAPTURE(move.to);
    const FadeShape shape(TREADSHIFT_MODULE, move);
    CHECK(shape.outMs() == doctest::Approx(16.0));
    CHECK(shape.inMs() == doctest::Approx(16.0));
    CHECK(shape.lowest() == 0.0);
    CHECK(shape.bend() < 1e-9);
    CHECK(shape.gains()[384] == doctest::Approx(0.5));
  }
}
