#include "render/module/LatencyProbe.h"

#include "render/module/OpenEffect.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

// The intervals share no measure with the effect's own motion, so that impulses meet it at every stage.
constexpr double kIntervalSeconds = 0.1571;
constexpr int kImpulses = 24;
constexpr double kDrySeconds = 0.001;
constexpr int kBlockFrames = 64;

void setUp(const EffectDriver& effect, const Controls& controls, float pedal, int rateHz) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto value = controls.valueAt(static_cast<Parameter>(index), 0.0);
    if (value) effect.setParameter(index, *value);
  }
  effect.setParameter(kOnOff, 1.0f);
  effect.setParameter(kPedalPos, pedal);
  effect.setBlockSize(kBlockFrames);
  effect.setSampleRate(static_cast<float>(rateHz));
  effect.resume();
}

// Adds up the energy that comes back, by samples since the impulse.
void addEnergies(const EffectDriver& effect, std::vector<double>& energies) {
  const auto interval = static_cast<std::int64_t>(energies.size());
  std::vector<double> in(kBlockFrames), out(kBlockFrames);
  for (std::int64_t start = 0; start < kImpulses * interval; start += kBlockFrames) {
    for (int i = 0; i < kBlockFrames; ++i)
      in[i] = (start + i) % interval == 0 ? 1.0 : 0.0;
    effect.process(in.data(), out.data(), kBlockFrames);
    for (int i = 0; i < kBlockFrames; ++i)
      energies[(start + i) % interval] += out[i] * out[i];
  }
}

double secondsUntil(double share, const std::vector<double>& energies, double total, int rateHz) {
  double sum = 0.0;
  std::size_t sample = 0;
  while (sample < energies.size() && sum < share * total)
    sum += energies[sample++];
  return static_cast<double>(sample) / rateHz;
}

// Result: the latency in samples that the effect reports.
int probe(const std::string& modulePath, const Controls& controls, int rateHz,
          std::vector<double>& energies) try {
  int reportedSamples = 0;
  for (float pedal : {0.0f, 0.5f, 1.0f}) {
    const auto effect = openEffect(modulePath);
    setUp(*effect, controls, pedal, rateHz);
    addEnergies(*effect, energies);
    reportedSamples = effect->facts().initialDelay;
  }
  return reportedSamples;
} catch (const EffectError& error) {
  failModule(modulePath, error);
}

} // namespace

std::optional<Latency> measureLatency(const std::string& modulePath, const Controls& controls, int rateHz) {
  std::vector<double> energies(static_cast<std::size_t>(kIntervalSeconds * rateHz) + 1);
  const int reportedSamples = probe(modulePath, controls, rateHz, energies);
  const auto drySamples = static_cast<std::size_t>(kDrySeconds * rateHz) + 1;
  std::fill_n(energies.begin(), std::min(drySamples, energies.size()), 0.0);
  const double total = std::accumulate(energies.begin(), energies.end(), 0.0);
  if (total < 1e-12) return {};
  double moment = 0.0;
  for (std::size_t i = 0; i < energies.size(); ++i)
    moment += energies[i] * static_cast<double>(i);
  return Latency{secondsUntil(0.01, energies, total, rateHz), moment / total / rateHz,
                 secondsUntil(0.99, energies, total, rateHz), reportedSamples};
}
