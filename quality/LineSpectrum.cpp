#include "quality/LineSpectrum.h"

#include "quality/Fourier.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace {

Sound windowed(const Sound& sound) {
  Sound seen(sound.size());
  const double step = 2.0 * std::numbers::pi / static_cast<double>(sound.size());
  for (std::size_t n = 0; n < sound.size(); ++n) {
    const double x = step * static_cast<double>(n);
    seen[n] = sound[n] *
              (0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2.0 * x) - 0.01168 * std::cos(3.0 * x));
  }
  return seen;
}

struct Summit {
  double place; // steps from the middle value
  double height;
};

// Of the parabola through three values.
Summit summit(double left, double middle, double right) {
  const double bend = left - 2.0 * middle + right;
  if (bend == 0.0) return {0.0, middle};
  const double place = 0.5 * (left - right) / bend;
  return {place, middle - 0.25 * (left - right) * place};
}

double decibels(double powerRatio, double least) {
  return std::max(10.0 * std::log10(std::max(powerRatio, 1e-300)), least);
}

} // namespace

LineSpectrum::LineSpectrum(const Sound& sound) : size(static_cast<int>(sound.size())) {
  for (const std::complex<double>& bin : transform(windowed(sound)))
    power.push_back(std::norm(bin));
}

int LineSpectrum::strongestBin() const {
  return static_cast<int>(std::ranges::max_element(power) - power.begin());
}

SpectrumLine LineSpectrum::lineAt(int bin) const {
  const int last = static_cast<int>(power.size()) - 1;
  const auto log = [&](int at) { return std::log(std::max(power[std::clamp(at, 0, last)], 1e-300)); };
  const Summit top = summit(log(bin - 1), log(bin), log(bin + 1));
  return {hzOf(bin + top.place), std::exp(top.height)};
}

SpectrumLine LineSpectrum::strongest() const { return lineAt(strongestBin()); }

double LineSpectrum::strongestSidebandDb() const {
  const int carrier = strongestBin();
  int strongest = carrier > kHalfWidth ? 0 : carrier + kHalfWidth + 1;
  for (int bin = 0; bin < static_cast<int>(power.size()); ++bin)
    if (std::abs(bin - carrier) > kHalfWidth && power[bin] > power[strongest]) strongest = bin;
  return std::min(decibels(lineAt(strongest).power / lineAt(carrier).power, kQuietestDb), 0.0);
}

double LineSpectrum::levelDb(double hz) const {
  const auto bin = static_cast<std::size_t>(std::lround(hz * size / kRateHz));
  return decibels(power[bin] / std::max(power[strongestBin()], 1e-300), kFaintestDb);
}

double LineSpectrum::shareAround(const std::vector<double>& freqsHz, double cents) const {
  const double reach = std::exp2(cents / 1200.0);
  double inside = 0.0;
  for (std::size_t bin = 0; bin < power.size(); ++bin) {
    const double hz = hzOf(static_cast<double>(bin));
    const bool near =
        std::ranges::any_of(freqsHz, [&](double freq) { return hz >= freq / reach && hz <= freq * reach; });
    if (near) inside += power[bin];
  }
  const double all = std::accumulate(power.begin(), power.end(), 0.0);
  return all == 0.0 ? 0.0 : inside / all;
}

double LineSpectrum::shareAboveDb(double hz) const {
  const auto first = static_cast<std::ptrdiff_t>(std::ceil(hz * size / kRateHz));
  const double above = std::accumulate(power.begin() + first, power.end(), 0.0);
  const double all = std::accumulate(power.begin(), power.end(), 0.0);
  return all == 0.0 ? kFaintestDb : decibels(above / all, kFaintestDb);
}
