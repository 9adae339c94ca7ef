#include "quality/StringSounds.h"

#include "quality/AnalyticSignal.h"
#include "quality/Lengths.h"
#include "quality/LineSpectrum.h"
#include "quality/TestSounds.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

constexpr int kChordSamples = 1 << 18; // 5 s: a quarter tone at 41 Hz is 6 bins wide to either side
constexpr double kQuarterToneCents = 50.0;

struct Readings {
  std::vector<double> ripplesDb, sidebandsDb, offCents; // by string

  void add(const Sound& heard, double intendedHz) {
    const LineSpectrum spectrum(heard);
    ripplesDb.push_back(AnalyticSignal(heard, intendedHz).rippleDb());
    sidebandsDb.push_back(spectrum.strongestSidebandDb());
    offCents.push_back(std::abs(1200.0 * std::log2(spectrum.strongest().hz / intendedHz)));
  }
};

double mean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

double largest(const std::vector<double>& values) { return *std::ranges::max_element(values); }

} // namespace

std::optional<StringSounds> stringSounds(const MakeShifter& make, double ratio) {
  const int samples = samplesFor(ratio);
  Readings readings;
  for (const double freqHz : kOpenStringsHz) {
    if (freqHz * ratio < kLowestStringHz) continue;
    const Sound played = make()->play(sine(freqHz, settlingFor(ratio) + samples), kShortBlock);
    readings.add(lastOf(played, samples), freqHz * ratio);
  }
  if (readings.offCents.empty()) return {};
  return StringSounds{largest(readings.ripplesDb), mean(readings.ripplesDb), largest(readings.sidebandsDb),
                      mean(readings.sidebandsDb), largest(readings.offCents)};
}

double chordShare(const MakeShifter& make, double ratio) {
  const std::vector<double> strings(kOpenStringsHz.begin(), kOpenStringsHz.end());
  std::vector<double> intended;
  for (const double freqHz : strings)
    intended.push_back(freqHz * ratio);
  const Sound played = make()->play(chord(strings, settlingFor(ratio) + kChordSamples), kShortBlock);
  return LineSpectrum(lastOf(played, kChordSamples)).shareAround(intended, kQuarterToneCents);
}
