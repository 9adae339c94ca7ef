#include "quality/ToneResponse.h"

#include "quality/Fourier.h"
#include "quality/PedalShifter.h"
#include "quality/TestSounds.h"

#include <cmath>

namespace {

constexpr int kPeriodSamples = 1 << 16;

} // namespace

ToneResponse::ToneResponse(const std::string& modulePath, double tone) {
  PedalShifter pedal(modulePath, {.color = kUnshifted, .pedal = 0.0, .tone = tone}, Heard::all);
  // The first block ramps the tone in; that is over before the impulse comes back.
  for (const std::complex<double>& bin :
       transform(pedal.play(impulses(kPeriodSamples, kPeriodSamples), kShortBlock)))
    power.push_back(std::norm(bin));
}

double ToneResponse::db(double hz) const {
  const auto bin = static_cast<std::size_t>(std::lround(hz * kPeriodSamples / kRateHz));
  return 10.0 * std::log10(power[bin]);
}
