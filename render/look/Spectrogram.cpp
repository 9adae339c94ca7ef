#include "render/look/Spectrogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <fftw3.h>
#include <fstream>
#include <numbers>
#include <numeric>

namespace {

constexpr double kFinestStepSeconds = 0.006;
constexpr double kQuietestDb = -100.0;
constexpr double kReach = 3.0; // widths of the bell to either side, in time and in pitch alike

// The width of the listening window: low notes need long ones to be told apart, bends want short ones.
double windowSeconds(double hz) { return std::clamp(12.0 / hz, 0.014, 0.034); }

std::int64_t windowFrames(const PitchRange& range, int rateHz) {
  const double longest = 2.0 * kReach * windowSeconds(range.lowestHz) * rateHz;
  return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(std::max(longest, 16.0))));
}

std::int64_t firstStep(int rateHz, std::int64_t frames) {
  const auto finest = std::max<std::int64_t>(1, std::llround(kFinestStepSeconds * rateHz));
  return std::max(finest, (frames + Spectrogram::kMostColumns - 1) / Spectrogram::kMostColumns);
}

} // namespace

struct Spectrogram::Transform {
  explicit Transform(std::int64_t frames)
      : size(frames), in(fftwf_alloc_real(static_cast<std::size_t>(frames))),
        out(fftwf_alloc_complex(static_cast<std::size_t>(frames / 2 + 1))),
        plan(fftwf_plan_dft_r2c_1d(static_cast<int>(frames), in, out, FFTW_ESTIMATE)) {}
  ~Transform() {
    fftwf_destroy_plan(plan);
    fftwf_free(out);
    fftwf_free(in);
  }
  Transform(const Transform&) = delete;
  Transform& operator=(const Transform&) = delete;

  std::int64_t size; // frames
  float* in;
  fftwf_complex* out;
  fftwf_plan plan;
};

int PitchRange::rows() const {
  return static_cast<int>(std::floor(std::log2(highestHz / lowestHz) * rowsPerOctave)) + 1;
}

double PitchRange::octaveOf(int row) const {
  return std::log2(lowestHz) + static_cast<double>(row) / rowsPerOctave;
}

Spectrogram::Spectrogram(const PitchRange& pitches, int rate, int channelCount, std::int64_t frames)
    : range(pitches), rateHz(rate), channels(channelCount), stepFrames(firstStep(rate, frames)),
      recent(static_cast<std::size_t>(windowFrames(pitches, rate))),
      transform(std::make_unique<Transform>(windowFrames(pitches, rate))) {
  makeProbes();
}

Spectrogram::~Spectrogram() = default;

// A tone of one pitch under a bell-shaped window, as its spectrum, which is a bell around the pitch: the
// product of the sound's spectrum with it tells the level there, at a fraction of the cost in time.
void Spectrogram::makeProbes() {
  const auto size = static_cast<double>(transform->size);
  for (int row = 0; row < range.rows(); ++row) {
    const double hz = std::exp2(range.octaveOf(row));
    const double binWidth = size / (2.0 * std::numbers::pi * windowSeconds(hz) * rateHz); // of the bell
    const double centre = hz * size / rateHz;
    const auto first = static_cast<int>(std::max(0.0, std::ceil(centre - kReach * binWidth)));
    const auto last = static_cast<int>(std::min(size / 2.0, std::floor(centre + kReach * binWidth)));
    Probe probe = {first, {}};
    for (int bin = first; bin <= last; ++bin) {
      const double x = (bin - centre) / binWidth;
      const double sign = bin % 2 == 0 ? 1.0 : -1.0; // half a turn per bin: the window's middle
      probe.weights.push_back(static_cast<float>(sign * std::exp(-0.5 * x * x) / size));
    }
    probes.push_back(std::move(probe));
  }
}

void Spectrogram::add(const double* samples, std::int64_t frames) {
  const std::int64_t window = transform->size;
  for (std::int64_t i = 0; i < frames; ++i) {
    const double* const frame = samples + i * channels;
    const double mean = std::accumulate(frame, frame + channels, 0.0) / channels;
    recent[static_cast<std::size_t>(framesHeard % window)] = static_cast<float>(mean);
    if (++framesHeard == nextCentre + window / 2) addColumn();
  }
}

void Spectrogram::finish() {
  const std::int64_t end = framesHeard;
  const std::vector<double> silence(static_cast<std::size_t>(channels), 0.0);
  while (nextCentre < end)
    add(silence.data(), 1);
}

void Spectrogram::addColumn() {
  const std::int64_t window = transform->size;
  for (std::int64_t i = 0; i < window; ++i)
    transform->in[i] = recent[static_cast<std::size_t>((framesHeard + i) % window)];
  fftwf_execute(transform->plan);
  for (const Probe& probe : probes) {
    std::complex<float> sum = 0.0f;
    for (std::size_t i = 0; i < probe.weights.size(); ++i) {
      const float* const bin = transform->out[probe.firstBin + static_cast<int>(i)];
      sum += std::complex<float>(bin[0], bin[1]) * probe.weights[i];
    }
    levels.push_back(std::abs(sum));
    loudest = std::max(loudest, levels.back());
  }
  nextCentre += stepFrames;
  if (columns() == 2 * kMostColumns) thinOut();
}

void Spectrogram::thinOut() {
  const auto rows = static_cast<std::ptrdiff_t>(range.rows());
  for (std::ptrdiff_t column = 0; column < kMostColumns; ++column)
    std::copy_n(levels.begin() + 2 * column * rows, rows, levels.begin() + column * rows);
  levels.resize(static_cast<std::size_t>(kMostColumns * rows));
  stepFrames *= 2;
  nextCentre = kMostColumns * stepFrames;
}

double Spectrogram::secondsOf(int column) const {
  return static_cast<double>(column) * static_cast<double>(stepFrames) / rateHz;
}

double Spectrogram::levelDb(int column, int row) const {
  const float share = levels[static_cast<std::size_t>(column) * range.rows() + row] / loudest;
  return std::max(20.0 * std::log10(std::max(share, 1e-9f)), kQuietestDb);
}

int Spectrogram::lastingRow() const {
  int lasting = 0;
  double highestSum = -INFINITY;
  for (int row = 0; row < range.rows(); ++row) {
    double sum = 0.0;
    for (int column = 0; column < columns(); ++column)
      sum += levelDb(column, row);
    if (sum <= highestSum) continue;
    highestSum = sum;
    lasting = row;
  }
  return lasting;
}

bool Spectrogram::writeMatrix(const std::string& path) const {
  std::ofstream file(path, std::ios::binary);
  const auto put = [&](double number) {
    const auto narrow = static_cast<float>(number);
    file.write(reinterpret_cast<const char*>(&narrow), sizeof narrow);
  };
  put(columns());
  for (int column = 0; column < columns(); ++column)
    put(secondsOf(column));
  for (int row = 0; row < range.rows(); ++row) {
    put(range.octaveOf(row));
    for (int column = 0; column < columns(); ++column)
      put(levelDb(column, row));
  }
  return static_cast<bool>(file.flush());
}
