// Writes the spectrogram of a sound file as a matrix for gnuplot: time across in seconds, pitch upwards in
// octaves above 1 Hz, level in dB below the loudest point.
//
// Usage: treadshift-spectrogram SOUND LOWEST_HZ HIGHEST_HZ > MATRIX
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <sndfile.h>
#include <vector>

namespace {

constexpr double kColumnSeconds = 0.006;
constexpr int kRowsPerOctave = 72;
constexpr double kQuietestDb = -100.0;

struct Mono {
  std::vector<float> samples;
  double rateHz = 0.0;
};

Mono readMono(const char* path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path, SFM_READ, &info);
  if (!file) return {};
  std::vector<float> frames(static_cast<std::size_t>(info.frames * info.channels));
  sf_readf_float(file, frames.data(), info.frames);
  sf_close(file);
  Mono mono = {std::vector<float>(static_cast<std::size_t>(info.frames)),
               static_cast<double>(info.samplerate)};
  for (std::size_t i = 0; i < frames.size(); ++i)
    mono.samples[i / info.channels] += frames[i] / static_cast<float>(info.channels);
  return mono;
}

// The width of the listening window: low notes need long ones to be told apart, bends want short ones.
double windowSeconds(double hz) { return std::clamp(12.0 / hz, 0.014, 0.034); }

// A tone of one pitch under a bell-shaped window; the sound's product with it tells the level there.
class Probe {
public:
  Probe(double hz, double rateHz) {
    const double width = windowSeconds(hz) * rateHz;
    reach = static_cast<long>(3.0 * width);
    for (long i = -reach; i <= reach; ++i) {
      const double x = static_cast<double>(i) / width;
      const double weight = std::exp(-0.5 * x * x) / width;
      const double phase = 2.0 * std::numbers::pi * hz * static_cast<double>(i) / rateHz;
      cosines.push_back(static_cast<float>(weight * std::cos(phase)));
      sines.push_back(static_cast<float>(weight * std::sin(phase)));
    }
  }

  float levelAt(const std::vector<float>& sound, long centre) const {
    const long first = std::max(-reach, -centre);
    const long last = std::min(reach, static_cast<long>(sound.size()) - 1 - centre);
    float re = 0.0f, im = 0.0f;
    for (long i = first; i <= last; ++i) {
      re += sound[centre + i] * cosines[reach + i];
      im += sound[centre + i] * sines[reach + i];
    }
    return std::hypot(re, im);
  }

private:
  long reach; // samples to either side
  std::vector<float> cosines, sines;
};

void put(float number) { std::fwrite(&number, sizeof number, 1, stdout); }

// gnuplot's binary matrix: the number of columns and their places, then each row's place and values.
void printMatrix(const std::vector<float>& levels, long columns, const std::vector<double>& octaves) {
  const float loudest = std::max(*std::max_element(levels.begin(), levels.end()), 1e-9f);
  put(static_cast<float>(columns));
  for (long column = 0; column < columns; ++column)
    put(static_cast<float>(static_cast<double>(column) * kColumnSeconds));
  for (std::size_t row = 0; row < octaves.size(); ++row) {
    put(static_cast<float>(octaves[row]));
    for (long column = 0; column < columns; ++column) {
      const float share = levels[row * columns + column] / loudest;
      put(static_cast<float>(std::max(20.0 * std::log10(std::max(share, 1e-9f)), kQuietestDb)));
    }
  }
}

} // namespace

int main(int argc, char** argv) {
  const Mono sound = argc == 4 ? readMono(argv[1]) : Mono{};
  if (sound.samples.empty()) {
    std::fputs("usage: treadshift-spectrogram SOUND LOWEST_HZ HIGHEST_HZ > MATRIX\n", stderr);
    return 2;
  }
  std::vector<double> octaves;
  for (double octave = std::log2(std::atof(argv[2])); octave <= std::log2(std::atof(argv[3]));
       octave += 1.0 / kRowsPerOctave) {
    octaves.push_back(octave);
  }
  const double columnSamples = kColumnSeconds * sound.rateHz;
  const long columns = static_cast<long>(static_cast<double>(sound.samples.size()) / columnSamples);
  std::vector<float> levels;
  for (double octave : octaves) {
    const Probe probe(std::exp2(octave), sound.rateHz);
    for (long column = 0; column < columns; ++column) {
      levels.push_back(
          probe.levelAt(sound.samples, std::lround(static_cast<double>(column) * columnSamples)));
    }
  }
  printMatrix(levels, columns, octaves);
  return std::fflush(stdout) == 0 ? 0 : 1;
}
