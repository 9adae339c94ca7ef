#include "Player.h"

#include <algorithm>
#include <cmath>
#include <complex>

const Promise kPromises[kColorCount] = {{-100, 0, 1},     {0, 50, 3},     {0, 1200, 0},     {0, -2400, 0},
                                        {-1200, 1200, 3}, {-700, 500, 3}, {-6000, 1200, 2}, {-6000, 1200, 3}};

double Promise::ratio(double pedal) const { return std::exp2(cents(pedal) / 1200.0); }

double Promise::dry(double pedal) const {
  const double byMix[] = {0.0, pedal, 1.0 - pedal, 1.0};
  return byMix[mix];
}

double Promise::wet(double pedal) const { return mix == 1 ? 1.0 - pedal : 1.0; }

Player::Player(float rateHz, int color, float pedal, float onOff) : effect(TREADSHIFT_MODULE) {
  set(kOnOff, onOff);
  set(kTone, 0.0f);
  setColor(color);
  set(kPedalPos, pedal);
  effect.setSampleRate(rateHz);
  effect.resume();
}

std::vector<double> Player::play(const std::vector<double>& input, int blockSize) {
  std::vector<double> output(input.size());
  const int samples = static_cast<int>(input.size());
  for (int from = 0; from < samples; from += blockSize)
    effect.process(input.data() + from, output.data() + from, std::min(blockSize, samples - from));
  return output;
}

std::vector<double> sine(double freqHz, double rateHz, int samples, double amplitude) {
  std::vector<double> sound(samples);
  for (int n = 0; n < samples; ++n)
    sound[n] = amplitude * std::sin(2.0 * kPi * freqHz / rateHz * n);
  return sound;
}

std::vector<double> crossfade(double rateHz, double ratio, int samples) {
  const double sweepLength = std::floor(0.065535 * rateHz);
  const double step = 2.0 * std::abs(1.0 - ratio) / sweepLength;
  std::vector<double> position(samples);
  double phase = 0.0, direction = 1.0;
  for (double& place : position) {
    place = phase;
    phase += direction * step;
    if (phase >= 1.0) direction = -1.0;
    if (phase <= 0.0) direction = 1.0;
    phase = std::clamp(phase, 0.0, 1.0);
  }
  return position;
}

double wetGainAt(double freqHz, double rateHz) {
  const std::complex<double> delay = std::polar(1.0, -2.0 * kPi * freqHz / rateHz);
  const std::complex<double> lowPass = (1.0 + delay) / 2.0; // first order at a quarter of the rate
  const double k1 = rateHz == 48000.0 ? 0.767 : 0.749;
  const double k3 = 0.45 + 0.35 * (1.0 + 8.0 * 0.35 * 0.35 * 0.35);
  const std::complex<double> lowBranch = k3 * (1.0 + delay) * (1.0 - k1) / (1.0 - k1 * delay);
  return std::abs(lowPass * 0.5 * lowBranch);
}
