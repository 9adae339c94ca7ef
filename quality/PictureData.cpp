#include "quality/PictureData.h"

#include "engine/PedalNumbers.h"
#include "quality/AnalyticSignal.h"
#include "quality/FadeShape.h"
#include "quality/Lengths.h"
#include "quality/LineSpectrum.h"
#include "quality/PedalShifter.h"
#include "quality/PedalTables.h"
#include "quality/TestSounds.h"
#include "quality/ToneResponse.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

namespace {

constexpr double kOctave = 2.0;
constexpr int kStringSamples = 1 << 17;
constexpr double kShownSeconds = 0.4;
constexpr double kShownHz = 120.0, kStepHz = 0.25; // to either side of the intended pitch
constexpr int kTonePoints = 300;

class Columns {
public:
  Columns(const std::string& directory, const std::string& name)
      : path(directory + "/" + name), stream(path) {}

  void add(const std::vector<double>& values) {
    for (const double value : values)
      stream << decimal(value, 4) << ' ';
    stream << '\n';
  }

  void finish() {
    stream.close();
    if (!stream) throw std::runtime_error(path + " cannot be written");
  }

private:
  std::string path;
  std::ofstream stream;
};

struct StringHeard {
  double intendedHz;
  Sound sound;
  AnalyticSignal analytic;
};

StringHeard hear(const Contender& contender, double freqHz) {
  const Sound tone = sine(freqHz, settlingFor(kOctave) + kStringSamples);
  const Sound played = contender.make(pedalFor(1200.0), kShortBlock)->play(tone, kShortBlock);
  const Sound heard = lastOf(played, kStringSamples);
  return {kOctave * freqHz, heard, AnalyticSignal(heard, kOctave * freqHz)};
}

StringHeard worstString(const Contender& contender) {
  StringHeard worst = hear(contender, kOpenStringsHz.front());
  for (const double freqHz : kOpenStringsHz)
    if (StringHeard next = hear(contender, freqHz); next.analytic.rippleDb() > worst.analytic.rippleDb())
      worst = std::move(next);
  return worst;
}

double db(double amplitude, double loudest) { return 20.0 * std::log10(std::max(amplitude / loudest, 1e-6)); }

} // namespace

void writeToneCurves(const std::string& modulePath, const std::string& directory) {
  std::vector<ToneResponse> responses;
  for (const double tone : kTones)
    responses.emplace_back(modulePath, tone);
  Columns columns(directory, "tone");
  for (int k = 0; k <= kTonePoints; ++k) {
    const double hz = 20.0 * std::pow(1000.0, static_cast<double>(k) / kTonePoints);
    std::vector<double> row = {hz};
    for (const ToneResponse& response : responses)
      row.push_back(response.db(hz));
    columns.add(row);
  }
  columns.finish();
}

void writeFades(const std::string& modulePath, const std::string& directory) {
  const FadeShape onOff(modulePath, {kOnOff, 1.0, 0.0});
  const FadeShape color(modulePath, {kColor, colorParameter(2), colorParameter(3)});
  Columns columns(directory, "fades");
  for (int n = 0; n < samplesIn(0.04); n += 6)
    columns.add({1000.0 * n / kRateHz, onOff.gains()[n], color.gains()[n]});
  columns.finish();
}

void writeString(const Contender& contender, const std::string& directory) {
  const StringHeard worst = worstString(contender);
  const Sound& envelope = worst.analytic.envelope();
  const double loudest = *std::ranges::max_element(envelope);
  Columns level(directory, contender.key + ".level");
  for (int n = 0; n < samplesIn(kShownSeconds); n += 24)
    level.add({n / kRateHz, db(envelope[n], loudest)});
  level.finish();

  const LineSpectrum spectrum(worst.sound);
  Columns lines(directory, contender.key + ".lines");
  for (double hz = -kShownHz; hz <= kShownHz; hz += kStepHz)
    lines.add({hz, spectrum.levelDb(worst.intendedHz + hz)});
  lines.finish();
}
