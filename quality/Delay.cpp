#include "quality/Delay.h"

#include "quality/Lengths.h"
#include "quality/Quantile.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace {

constexpr int kDistance = 14407; // samples, and up to kUnevenness more
constexpr int kUnevenness = 2003;
constexpr int kUnevenStep = 1237;
constexpr double kLost = 0.1;

constexpr int placeOf(int impulse) { return impulse * kDistance + impulse * kUnevenStep % kUnevenness; }
constexpr int kWindow = kDistance - kUnevenness; // samples that are looked at after each impulse

using Energies = std::vector<double>; // by samples since the impulse

double msUntil(double share, const Energies& energies, double total) {
  double sum = 0.0;
  std::size_t sample = 0;
  while (sample + 1 < energies.size() && (sum += energies[sample]) < share * total)
    ++sample;
  return 1000.0 * static_cast<double>(sample) / kRateHz;
}

Energies after(const Sound& heard, int place) {
  Energies energies(heard.begin() + place, heard.begin() + place + kWindow);
  for (double& value : energies)
    value *= value;
  return energies;
}

double sum(const Energies& energies) { return std::accumulate(energies.begin(), energies.end(), 0.0); }

// What comes back after each impulse.
std::vector<Energies> answers(const MakeShifter& make, int settling) {
  Sound input(static_cast<std::size_t>(settling + placeOf(kImpulses)));
  for (int k = 0; k < kImpulses; ++k)
    input[settling + placeOf(k)] = 1.0;
  const Sound heard = make()->play(input, kShortBlock);
  std::vector<Energies> all;
  for (int k = 0; k < kImpulses; ++k)
    all.push_back(after(heard, settling + placeOf(k)));
  return all;
}

Energies added(const std::vector<Energies>& all) {
  Energies pooled(kWindow);
  for (const Energies& energies : all)
    std::ranges::transform(pooled, energies, pooled.begin(), std::plus<>());
  return pooled;
}

} // namespace

std::optional<Delay> measuredDelay(const MakeShifter& make, double ratio) {
  const std::vector<Energies> all = answers(make, settlingFor(ratio));
  const Energies pooled = added(all);
  const double total = sum(pooled);
  if (!(total > 0.0)) return {};

  double loudest = 0.0;
  for (const Energies& energies : all)
    loudest = std::max(loudest, sum(energies));
  std::vector<double> spreadsMs;
  for (const Energies& energies : all)
    if (const double own = sum(energies); own >= kLost * loudest)
      spreadsMs.push_back(msUntil(0.95, energies, own) - msUntil(0.05, energies, own));
  const double lost = 1.0 - static_cast<double>(spreadsMs.size()) / kImpulses;
  return Delay{msUntil(0.5, pooled, total), msUntil(0.01, pooled, total), msUntil(0.99, pooled, total),
               quantile(spreadsMs, 0.5), lost};
}
