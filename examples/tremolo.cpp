// A low pass and a tremolo, made of the filter and the oscillator of dsp/ in a project that has names like
// theirs. All of dsp/ is built with it, and dsp/ExactArithmetic.h says with which flags:
//
//   g++ -std=c++20 -O2 -ffp-contract=off -fno-builtin-pow -DTREADSHIFT_NO_CONTRACTION
//     -DTREADSHIFT_SCOPED_NAMES -I. examples/tremolo.cpp dsp/*.cpp -o tremolo
#include "dsp/IIRFilter.h"
#include "dsp/lfoTriangle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr double kRateHz = 48000.0;
constexpr int kBlock = 64; // samples

class IIRFilter {}; // the project's own

double largest(const std::vector<double>& sound) {
  return std::abs(*std::ranges::max_element(sound, {}, [](double sample) { return std::abs(sample); }));
}

} // namespace

int main() {
  // A second of a tone at the filter's cut-off, where a Butterworth low pass leaves 3 dB less.
  std::vector<double> sound(static_cast<std::size_t>(kRateHz));
  for (std::size_t i = 0; i < sound.size(); ++i)
    sound[i] = std::sin(2.0 * 3.141592653589793 * 1000.0 * static_cast<double>(i) / kRateHz);

  treadshift::filterPrm_tag request = {};
  request.type = treadshift::kLowPass2;
  request.freq = 1000.0; // Hz
  request.sampleRate = kRateHz;
  treadshift::IIRFilter lowPass(&request);
  for (double& sample : sound)
    lowPass.iirProcessing(&sample);
  std::printf("behind the low pass: %.2f dB\n",
              20.0 * std::log10(largest({sound.end() - 4800, sound.end()})));

  // The oscillator is large, because it keeps a second of history. Depths of 0.1 leave the plain triangle.
  const auto lfo = std::make_unique<treadshift::lfoTriangle>(0.0, 0.0, kRateHz);
  double gains[kBlock], lowest = 1.0, highest = 0.0;
  for (std::size_t start = 0; start < sound.size(); start += kBlock) {
    lfo->Excute(5.0, 0.1, 0.1, kBlock, gains, 0);
    for (int i = 0; i < kBlock; ++i)
      sound[start + i] *= gains[i];
    lowest = std::min(lowest, *std::ranges::min_element(gains));
    highest = std::max(highest, *std::ranges::max_element(gains));
  }
  std::printf("the tremolo's gain: %.2f to %.2f\n", lowest, highest);
}
