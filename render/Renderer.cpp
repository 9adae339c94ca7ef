#include "render/Renderer.h"

#include "render/OpenEffect.h"

#include <limits>

namespace {

std::unique_ptr<EffectDriver> createEffect(const std::string& modulePath) {
  auto effect = openEffect(modulePath);
  const EffectFacts facts = effect->facts();
  const bool isMono = facts.inputCount == 1 && facts.outputCount == 1;
  if (!isMono || !facts.takesDoubles || facts.parameterCount < kParameterCount)
    failModule(modulePath, "its effect is no mono double-precision effect with five parameters");
  return effect;
}

// Lets a step use effects; one that is lost in its worker is the module's fault.
template <typename Step> auto withEffects(const std::string& modulePath, Step step) {
  try {
    return step();
  } catch (const EffectError& error) {
    failModule(modulePath, error.what());
  }
}

} // namespace

// In a colour without dry sound the first sample out is nothing but shifted sound, which takes a few
// milliseconds to come; a sample that comes back at once was passed through.
bool effectRunsAt(const std::string& modulePath, int rateHz) {
  constexpr double kColorWithoutDrySound = 2;
  const auto effect = createEffect(modulePath);
  return withEffects(modulePath, [&] {
    effect->setParameter(kParameterColor, colorParameter(kColorWithoutDrySound));
    effect->setSampleRate(static_cast<float>(rateHz));
    effect->resume();
    const double in = 1.0;
    double out = 1.0;
    effect->process(&in, &out, 1);
    return out != in;
  });
}

Renderer::Renderer(const std::string& path, Controls moves, int fileRateHz, int channels, int blockFrames)
    : modulePath(path), controls(std::move(moves)), rateHz(fileRateHz), dry(blockFrames), wet(blockFrames) {
  sentValues.fill(std::numeric_limits<float>::quiet_NaN());
  for (int channel = 0; channel < channels; ++channel)
    effects.push_back(createEffect(modulePath));
  withEffects(modulePath, [&] { setUp(blockFrames); });
}

Renderer::~Renderer() {
  for (const auto& effect : effects) {
    try {
      effect->suspend();
    } catch (const EffectError&) {
      continue; // lost, which was told when it mattered
    }
  }
}

void Renderer::setUp(int blockFrames) {
  moveControls((blockFrames - 1) / rateHz);
  for (const auto& effect : effects) {
    effect->setSampleRate(static_cast<float>(rateHz));
    effect->setBlockSize(blockFrames);
    effect->resume();
  }
}

void Renderer::process(double* samples, int frames) {
  withEffects(modulePath, [&] { renderBlock(samples, frames); });
}

void Renderer::renderBlock(double* samples, int frames) {
  moveControls(static_cast<double>(position + frames - 1) / rateHz);
  const std::size_t channels = effects.size();
  for (std::size_t channel = 0; channel < channels; ++channel) {
    double* const first = samples + channel;
    for (int i = 0; i < frames; ++i)
      dry[i] = first[i * channels];
    effects[channel]->process(dry.data(), wet.data(), frames);
    for (int i = 0; i < frames; ++i)
      first[i * channels] = wet[i];
  }
  position += frames;
}

void Renderer::moveControls(double seconds) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto value = controls.valueAt(static_cast<ParameterIndex>(index), seconds);
    if (!value || *value == sentValues[index]) continue;
    sentValues[index] = *value;
    for (const auto& effect : effects)
      effect->setParameter(index, *value);
  }
}
