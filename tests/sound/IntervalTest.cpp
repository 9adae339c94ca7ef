// The interval of each colour at heel, middle and toe, measured on sines.
#include "PitchMeter.h"
#include "Player.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr double kAllowedCents = 2.0;
constexpr int kLongestStretch = 6000; // samples: enough for a hundredth of a cent

struct Stretch {
  int from, to; // samples
};

// Samples at which a tap restarts.
std::vector<int> splices(const std::vector<double>& sweep) {
  std::vector<int> places;
  for (int n = 1; n < static_cast<int>(sweep.size()); ++n)
    if (sweep[n] == 0.0 || sweep[n] == 1.0) places.push_back(n);
  return places;
}

// Between the third splice (both taps have restarted by then, and read sound rather than the silence
// before it) and the fourth, without the moments in which the filters still hear the splice.
Stretch stretchOf(const std::vector<double>& sweep) {
  const std::vector<int> places = splices(sweep);
  REQUIRE(places.size() > 3);
  return {places[2] + 60, std::min(places[3] - 10, places[2] + 60 + kLongestStretch)};
}

int samplesNeeded(double rate, double ratio) {
  const double perSplice = std::floor(0.065535 * rate) / (2.0 * std::abs(1.0 - ratio));
  return static_cast<int>(4.5 * perSplice) + static_cast<int>(0.1 * rate);
}

template <typename Number> std::vector<Number> cut(const std::vector<Number>& all, Stretch stretch) {
  return {all.begin() + stretch.from, all.begin() + stretch.to};
}

// Output less the dry sound: what the taps and the filters, which move no pitch, made of the input.
std::vector<double> shiftedSound(int color, float pedal, float rate, const std::vector<double>& input) {
  std::vector<double> wet = Player(rate, color, pedal).play(input);
  for (std::size_t n = 0; n < wet.size(); ++n)
    wet[n] -= kPromises[color].dry(pedal) * input[n];
  return wet;
}

// No sweep: one tap alone, in place from the start.
void checkStanding(int color, float pedal, float rate, double freq) {
  const std::vector<double> input = sine(freq, rate, 12000);
  const std::vector<double> wet = shiftedSound(color, pedal, rate, input);
  const PitchReading reading = readPitch(cut(wet, {4000, 10000}), std::vector<double>(6000, 0.0), freq, rate);
  CHECK(std::abs(reading.cents) < kAllowedCents);
  CHECK(reading.residual < 1e-6);
}

void checkSweeping(int color, float pedal, float rate, double freq) {
  const double ratio = kPromises[color].ratio(pedal);
  const int samples = samplesNeeded(rate, ratio);
  const std::vector<double> wet = shiftedSound(color, pedal, rate, sine(freq, rate, samples));
  const std::vector<double> sweep = crossfade(rate, ratio, samples);
  const Stretch stretch = stretchOf(sweep);
  const PitchReading reading = readPitch(cut(wet, stretch), cut(sweep, stretch), freq * ratio, rate);
  CHECK(std::abs(reading.cents) < kAllowedCents);
  CHECK(reading.residual < 0.01); // linear interpolation leaves images some 40 dB down
}

void checkInterval(int color, float pedal, float rate, double freq) {
  if (kPromises[color].wet(pedal) == 0.0) return; // nothing shifted to hear
  if (kPromises[color].cents(pedal) == 0.0)
    checkStanding(color, pedal, rate, freq);
  else
    checkSweeping(color, pedal, rate, freq);
}

} // namespace

TEST_CASE("each colour bends a sine by its interval at heel, middle and toe") {
  for (float rate : {44100.0f, 48000.0f}) {
    for (int color = 0; color < kColorCount; ++color) {
      for (float pedal : {kHeel, kMiddle, kToe}) {
        for (double freq : {1500.0, 3001.0}) {
          CAPTURE(rate);
          CAPTURE(color);
          CAPTURE(pedal);
          CAPTURE(freq);
          checkInterval(color, pedal, rate, freq);
        }
      }
    }
  }
}

TEST_CASE("between the named positions the interval lies on the line between heel and toe") {
  for (float pedal : {0.1f, 0.37f, 0.8f, 0.95f})
    for (int color : {2, 3, 4, 5})
      checkInterval(color, pedal, 48000.0f, 2000.0);
}

TEST_CASE("higher rates bend by the same intervals") {
  for (int color : {2, 4})
    checkInterval(color, kToe, 96000.0f, 2000.0);
}

TEST_CASE("at the toe of the detune colour only the dry sound is left") {
  const std::vector<double> input = sine(1000.0, 48000.0, 5000);
  const std::vector<double> output = Player(48000.0f, 0, kToe).play(input);
  for (int n = 0; n < 5000; ++n)
    CHECK(output[n] == doctest::Approx(input[n]).epsilon(1e-12));
}

TEST_CASE("the meter reads a detuned tone as detuned and noise as none") {
  const std::vector<double> sweep = crossfade(48000.0, 1.5, 3000);
  const std::vector<double> tone = sine(1010.0, 48000.0, 3000);
  std::vector<double> faded(3000);
  for (int n = 0; n < 3000; ++n) // the second tap a quarter turn behind
    faded[n] = std::sin(0.5 * kPi * sweep[n]) * tone[n] +
               std::cos(0.5 * kPi * sweep[n]) * 0.5 * std::cos(2.0 * kPi * 1010.0 / 48000.0 * n);
  const PitchReading detuned = readPitch(faded, sweep, 1000.0, 48000.0);
  CHECK(detuned.cents == doctest::Approx(1200.0 * std::log2(1.01)).epsilon(0.01));
  CHECK(detuned.residual < 1e-9);
  const std::vector<double> other = sine(4321.0, 48000.0, 3000);
  CHECK(readPitch(other, sweep, 1000.0, 48000.0).residual > 0.9);
}
