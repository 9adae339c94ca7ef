// How loud it is, and how it starts.
#include "Player.h"

#include <cmath>
#include <doctest/doctest.h>

namespace {

double power(const std::vector<double>& sound, int from) {
  double sum = 0.0;
  for (std::size_t n = from; n < sound.size(); ++n)
    sum += sound[n] * sound[n];
  return sum / static_cast<double>(sound.size() - from);
}

std::vector<double> wetSound(float rate, int color, float pedal, const std::vector<double>& input) {
  std::vector<double> wet = Player(rate, color, pedal).play(input);
  for (std::size_t n = 0; n < wet.size(); ++n)
    wet[n] -= kPromises[color].dry(pedal) * input[n];
  return wet;
}

} // namespace

TEST_CASE("the shifted sound keeps the level that filters and crossfade give it") {
  // Equal-power weights keep the power of taps that have nothing in common. Taps of one tone, in phase or
  // against it, add or take up to 2 w(s) w(1 - s), which is 2/pi on average over a sweep.
  const double freq = 500.0;
  for (float rate : {44100.0f, 48000.0f}) {
    const std::vector<double> input = sine(freq, rate, 150000, 0.5);
    for (int color = 0; color < kColorCount; ++color) {
      for (float pedal : {kHeel, kMiddle, kToe}) {
        const Promise& promise = kPromises[color];
        const double gain = promise.wet(pedal) * wetGainAt(freq * promise.ratio(pedal), rate);
        const double expected = 0.125 * gain * gain; // half the square of the amplitude
        const double measured = power(wetSound(rate, color, pedal, input), 10000);
        CAPTURE(rate);
        CAPTURE(color);
        CAPTURE(pedal);
        CHECK(measured >= expected * (1.0 - 2.0 / kPi) * 0.95); // 0.2 dB for unfinished sweeps
        CHECK(measured <= expected * (1.0 + 2.0 / kPi) * 1.05);
      }
    }
  }
}

TEST_CASE("without a dry part the first 5 ms are silent") {
  for (int color : {2, 3}) {
    for (float pedal : {kHeel, kMiddle, kToe}) {
      const std::vector<double> output = Player(48000.0f, color, pedal).play(sine(440.0, 48000.0, 4000));
      for (int n = 0; n < 240; ++n)
        CHECK(output[n] == 0.0);
      CHECK(power(output, 240) > 0.0);
    }
  }
}

TEST_CASE("the start has no bang: never louder than the dry sound and two taps in phase") {
  for (int color = 0; color < kColorCount; ++color) {
    for (float pedal : {kHeel, kMiddle, kToe}) {
      const std::vector<double> output =
          Player(48000.0f, color, pedal).play(sine(440.0, 48000.0, 20000, 1.0));
      double loudest = 0.0;
      for (double y : output)
        loudest = std::max(loudest, std::abs(y));
      CHECK(loudest <= 1.0 + std::sqrt(2.0) * 0.921); // k3 of Tone 0 times the weights' largest sum
    }
  }
}
