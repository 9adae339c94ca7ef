// No clicks: how fast the sound may move from one sample to the next.
#include "Player.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr float kRate = 48000.0f;
constexpr double kSweepLength = 3145.0; // samples
constexpr double kAmplitude = 0.5;
constexpr double kFadeLength = 768.0; // samples

double largestJump(const std::vector<double>& sound, double before = 0.0) {
  double largest = 0.0;
  for (double y : sound) {
    largest = std::max(largest, std::abs(y - before));
    before = y;
  }
  return largest;
}

// The most that one sample can differ from the last, for a sine of kAmplitude at Tone 0, the pedal moving
// in any way within 0..1.
//
// A tap walks through the input at the pitch ratio, at most 2, so it moves by at most 2 slopes; together
// the taps weigh at most root 2. A weight moves by at most pi/2 times the crossfade's step, which is at most
// 2 / sweep length (|1 - ratio| is at most 1); a tap that restarts jumps by up to 2 amplitudes, but where its
// weight was at most one such step and is now 0. Both taps: 2 * (pi/2 step) * 2 amplitudes in all.
//
// The filters weigh past samples with positive factors, whose sum is 1 for the low pass, one half for the
// halving and 2 k3 for the low branch, so they pass differences on scaled by k3 at most. Moving gains add
// the pedal smoother's fastest move (its input gain) times what they weigh: the dry amplitude and, in the
// detune colour, the shifted sound.
double jumpLimit(double freq) {
  const double slope = 2.0 * kPi * freq / kRate * kAmplitude;
  const double step = 2.0 / kSweepLength;
  const double taps = std::sqrt(2.0) * 2.0 * slope + 2.0 * (0.5 * kPi * step) * 2.0 * kAmplitude;
  const double k3 = 0.45 + 0.35 * (1.0 + 8.0 * 0.35 * 0.35 * 0.35);
  const double pedalMove = 2.0 * kPi * 5.0 / kRate * 1.01; // of a 5 Hz one-pole, rounded up
  const double moving = pedalMove * (kAmplitude + k3 * std::sqrt(2.0) * kAmplitude);
  return slope + k3 * taps + moving;
}

// In blocks of 64 samples, the pedal set anew before each.
template <typename PedalAt>
std::vector<double> playWithPedal(Player& player, const std::vector<double>& input, PedalAt pedalAt) {
  std::vector<double> output;
  for (std::size_t from = 0; from + 64 <= input.size(); from += 64) {
    player.set(kPedalPos, pedalAt(static_cast<double>(from) / kRate));
    const std::vector<double> block(input.begin() + from, input.begin() + from + 64);
    const std::vector<double> played = player.play(block);
    output.insert(output.end(), played.begin(), played.end());
  }
  return output;
}

float rockingPedal(double seconds) { return static_cast<float>(0.5 - 0.5 * std::cos(2.0 * kPi * seconds)); }
float stampingPedal(double seconds) { return std::fmod(seconds, 0.5) < 0.25 ? 0.0f : 1.0f; }

} // namespace

TEST_CASE("a pedal sweep has no jump larger than the crossfade explains, in any colour") {
  for (double freq : {110.0, 440.0}) {
    const std::vector<double> input = sine(freq, kRate, 96000, kAmplitude);
    for (int color = 0; color < kColorCount; ++color) {
      CAPTURE(color);
      CAPTURE(freq);
      Player rocking(kRate, color, kHeel), stamping(kRate, color, kHeel);
      const double rocked = largestJump(playWithPedal(rocking, input, rockingPedal));
      const double stamped = largestJump(playWithPedal(stamping, input, stampingPedal));
      CHECK(rocked <= jumpLimit(freq));
      CHECK(stamped <= jumpLimit(freq));
      CHECK(rocked > 0.0);
    }
  }
}

TEST_CASE("the limit would not let a splice without crossfade pass") {
  // Taps in opposite phase: a bare jump of 2 amplitudes, through halving and low branch in one sample
  const double bareJump = 2.0 * kAmplitude * 0.5 * 0.5 * 0.92 * (1.0 - 0.767);
  CHECK(jumpLimit(110.0) < bareJump);
}

TEST_CASE("toggling and changing colours add no more than a fade does") {
  // a fade's gain moves by 1/768 per sample and starts or ends one such step from its neighbour
  const double freq = 110.0;
  const std::vector<double> input = sine(freq, kRate, 96000, kAmplitude);
  const double loudest = kAmplitude * (1.0 + std::sqrt(2.0) * 0.92);
  // both fades may run at once; at the silent sample between them everything may change
  const double limit = jumpLimit(freq) + 4.0 / kFadeLength * loudest;
  for (int color = 0; color < kColorCount; ++color) {
    CAPTURE(color);
    Player player(kRate, color, kMiddle);
    std::vector<double> output = player.play({input.begin(), input.begin() + 10000});
    for (int from = 10000, change = 0; from + 4000 <= 96000; from += 4000, ++change) {
      if (change % 3 == 0) player.set(kOnOff, change % 2 == 0 ? 0.0f : 1.0f);
      if (change % 2 == 1) player.setColor((color + change) % kColorCount);
      const std::vector<double> played = player.play({input.begin() + from, input.begin() + from + 4000});
      output.insert(output.end(), played.begin(), played.end());
    }
    CHECK(largestJump(output) <= limit);
  }
}

TEST_CASE("silence stays silent, whatever moves") {
  for (int color = 0; color < kColorCount; ++color) {
    Player player(kRate, color, kHeel);
    const std::vector<double> silence(24000, 0.0);
    for (double y : playWithPedal(player, silence, stampingPedal))
      CHECK(y == 0.0);
  }
}
