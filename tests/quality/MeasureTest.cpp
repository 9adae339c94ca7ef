// The measures of a shifter, on shifters that were made up for it.
#include "MadeShifter.h"

#include "quality/Delay.h"
#include "quality/Interval.h"
#include "quality/SettingReport.h"
#include "quality/Splices.h"
#include "quality/StringSounds.h"
#include "quality/Sweep.h"
#include "quality/TestSounds.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <numbers>

namespace {

constexpr double kPi = std::numbers::pi;

// Reads the input ever later, without splicing: an ideal shifter downwards. ratio: 1 or less.
MakeShifter ideal(double ratio) {
  return made([=](const Sound& past, double, int n) { return ago(past, n, (1.0 - ratio) * n); });
}

// The plainest one that splices: two voices, half a window apart, each fading in and out as a sine's half
// wave.
MakeShifter twoVoices(double ratio, double window) {
  return made([=](const Sound& past, double, int n) {
    const double turn = std::abs(1.0 - ratio) * n / window;
    double sum = 0.0;
    for (double phase : {turn, turn + 0.5}) {
      const double place = phase - std::floor(phase);
      const double delay = ratio > 1.0 ? window * (1.0 - place) : window * place;
      sum += std::sin(kPi * place) * ago(past, n, 100.0 + delay);
    }
    return sum;
  });
}

MakeShifter delayed(double samples) {
  return made([=](const Sound& past, double, int n) { return ago(past, n, samples); });
}

MakeShifter mute() {
  return made([](const Sound&, double, int) { return 0.0; });
}

} // namespace

TEST_CASE("the interval of a shifter without splices is its ratio") {
  for (double cents : {-2400.0, -1200.0, -50.0, 0.0}) {
    const double ratio = std::exp2(cents / 1200.0);
    CHECK(std::abs(measuredCents(ideal(ratio), ratio, {}) - cents) < 0.05);
  }
}

TEST_CASE("an interval that is not the intended one is read as it is") {
  const double intended = std::exp2(-1200.0 / 1200.0), real = std::exp2(-1185.0 / 1200.0);
  CHECK(measuredCents(ideal(real), intended, {}) == doctest::Approx(-1185.0).epsilon(0.00005));
}

TEST_CASE("a shifter that takes its time to begin is waited for") {
  const double ratio = 0.99;
  const int begin = samplesIn(6.5); // not shifted until then
  const MakeShifter late = made(
      [=](const Sound& past, double, int n) { return ago(past, n, (1.0 - ratio) * std::max(0, n - begin)); });
  CHECK(std::abs(measuredCents(late, ratio, {}) - 1200.0 * std::log2(ratio)) < 0.05);
}

TEST_CASE("two voices that pull each other do not pull the measured interval") {
  for (double ratio : {2.0, 0.5, std::exp2(500.0 / 1200.0)}) {
    const double window = 2376.0; // the voices meet 1 kHz a quarter turn apart, where they pull most
    const MakeShifter shifter = twoVoices(ratio, window);
    const auto rate = splicesPerSecond(shifter, ratio);
    REQUIRE(rate);
    // two restarts in the time in which the delay travels the window
    CHECK(*rate == doctest::Approx(2.0 * std::abs(1.0 - ratio) * kRateHz / window).epsilon(0.002));
    CHECK(std::abs(measuredCents(shifter, ratio, rate) - 1200.0 * std::log2(ratio)) < 0.2);
    const double oneTone = measuredCents(shifter, ratio, 1e-6); // all tones in one place
    CHECK(std::abs(oneTone - 1200.0 * std::log2(ratio)) > 0.5);
  }
}

TEST_CASE("a shifter without splices has no splice rate") {
  CHECK(!splicesPerSecond(delayed(10.0), 1.0));
  CHECK(!splicesPerSecond(ideal(0.5), 0.5));
}

TEST_CASE("a delay is measured to the sample") {
  const auto delay = measuredDelay(delayed(480.0), 1.0);
  REQUIRE(delay);
  CHECK(delay->medianMs == doctest::Approx(10.0));
  CHECK(delay->shortestMs == doctest::Approx(10.0));
  CHECK(delay->longestMs == doctest::Approx(10.0));
  CHECK(delay->spreadMs == 0.0);
  CHECK(delay->lostShare == 0.0);
  CHECK(!measuredDelay(mute(), 1.0));
}

TEST_CASE("an echo widens range and spread") {
  const MakeShifter echo = made([](const Sound& past, double, int n) {
    return 0.8 * ago(past, n, 480.0) + 0.6 * ago(past, n, 1440.0);
  });
  const auto delay = measuredDelay(echo, 1.0);
  REQUIRE(delay);
  CHECK(delay->medianMs == doctest::Approx(10.0)); // 64 % of the energy
  CHECK(delay->shortestMs == doctest::Approx(10.0));
  CHECK(delay->longestMs == doctest::Approx(30.0));
  CHECK(delay->spreadMs == doctest::Approx(20.0));
}

TEST_CASE("a sawtooth of delays shows half its height as the median, its ends as the range") {
  // 1000 to 4000 samples and back at once, 0.1 samples per sample: a pitch drop with hard splices
  const MakeShifter saw = made(
      [](const Sound& past, double, int n) { return ago(past, n, 1000.0 + std::fmod(0.1 * n, 3000.0)); });
  const auto delay = measuredDelay(saw, 0.9);
  REQUIRE(delay);
  CHECK(std::abs(delay->medianMs - 2500.0 / 48.0) < 4.0); // 128 places, unevenly, on a range of 62 ms
  CHECK(delay->shortestMs < 1000.0 / 48.0 + 4.0);
  CHECK(delay->longestMs > 4000.0 / 48.0 - 4.0);
}

TEST_CASE("impulses that fall into a hole are counted as lost") {
  const MakeShifter hole =
      made([](const Sound& past, double, int n) { return n / 24000 % 2 ? past[n] : 0.0; });
  const auto delay = measuredDelay(hole, 1.0);
  REQUIRE(delay);
  CHECK(delay->lostShare > 0.3);
  CHECK(delay->lostShare < 0.7);
}

TEST_CASE("open strings through a clean shifter stay clean") {
  const auto strings = stringSounds(ideal(0.5), 0.5);
  REQUIRE(strings);
  CHECK(strings->offCents < 0.1);
  CHECK(strings->rippleDb < 0.2);
  CHECK(strings->sidebandDb < -60.0);      // images of the interpolation
  CHECK(!stringSounds(delayed(0.0), 0.1)); // 33 Hz at most
}

TEST_CASE("ripple and sidebands of the strings are the worst ones and the means") {
  // a tremolo of depth 0.1, whose sidebands are a twentieth, for the lower three strings of six: after 42
  // samples these have not risen as far as 170 Hz would have
  const MakeShifter tremolo = made([](const Sound& past, double, int n) {
    const bool low = n > 42 && past[42] < 0.5 * std::sin(2.0 * kPi * 170.0 / kRateHz * 42);
    return past[n] * (low ? 1.0 + 0.1 * std::cos(2.0 * kPi * 9.0 / kRateHz * n) : 1.0);
  });
  const auto strings = stringSounds(tremolo, 1.0);
  REQUIRE(strings);
  const double ripple = 20.0 * std::log10((1.0 + 0.1 * 0.9995) / (1.0 - 0.1 * 0.9995));
  CHECK(strings->rippleDb == doctest::Approx(ripple).epsilon(0.02));
  CHECK(strings->meanRippleDb == doctest::Approx(0.5 * ripple).epsilon(0.02));
  CHECK(strings->meanSidebandDb < 0.5 * strings->sidebandDb - 40.0); // the others have none
  CHECK(strings->sidebandDb == doctest::Approx(20.0 * std::log10(0.05)).epsilon(0.005));
  CHECK(strings->offCents < 0.1);
}

TEST_CASE("the strongest line of a wrong pitch is so far off") {
  const double octave = 0.5, real = 0.5 * std::exp2(30.0 / 1200.0);
  const auto strings = stringSounds(ideal(real), octave);
  REQUIRE(strings);
  CHECK(strings->offCents == doctest::Approx(30.0).epsilon(0.005));
}

TEST_CASE("a chord's share is all for a clean shifter and nothing for one a semitone off") {
  CHECK(chordShare(ideal(0.5), 0.5) > 0.999);
  CHECK(chordShare(ideal(0.5 * std::exp2(100.0 / 1200.0)), 0.5) < 0.01);
}

TEST_CASE("a sweep's largest step and its high power are those of what sounds") {
  // the tone itself: 2 sin(pi f / rate) between samples
  const Sweep clean = measuredSweep(delayed(3.0), kShortBlock);
  CHECK(clean.largestStep == doctest::Approx(2.0 * std::sin(kPi * kSweptHz / kRateHz)).epsilon(0.001));
  CHECK(clean.highDb == -120.0);
  // and 6 kHz a hundred times weaker: 40 dB down, whose own steps of 0.01 * 2 sin(pi / 8) come on top
  const MakeShifter whistle = made([](const Sound& past, double, int n) {
    return past[n] + 0.005 * std::sin(2.0 * kPi * 6000.0 / kRateHz * n);
  });
  const Sweep dirty = measuredSweep(whistle, kLongBlock);
  CHECK(dirty.highDb == doctest::Approx(-40.0).epsilon(0.001));
  CHECK(dirty.largestStep == doctest::Approx(0.0288 + 0.0077).epsilon(0.01));
}

TEST_CASE("the pedal moves before each block, from heel to toe and back in a second") {
  CHECK(rockingPedal(0.0) == 0.0);
  CHECK(rockingPedal(0.5) == doctest::Approx(1.0));
  CHECK(rockingPedal(1.25) == doctest::Approx(0.5));
  Sound seen;
  const MakeShifter watching = made([&](const Sound&, double pedal, int) {
    seen.push_back(pedal);
    return 0.0;
  });
  watching()->play(Sound(200), 64, [](double seconds) { return seconds * kRateHz; });
  REQUIRE(seen.size() == 200);
  CHECK(seen[0] == 0.0);
  CHECK(seen[63] == 0.0);
  CHECK(seen[64] == doctest::Approx(64.0));
  CHECK(seen[199] == doctest::Approx(192.0));
}

TEST_CASE("a silent setting has no report") { CHECK(!reportOn(mute(), 100.0)); }
