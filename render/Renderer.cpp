#include "render/Renderer.h"

#include "render/Fault.h"

#include <limits>

namespace {

std::unique_ptr<EffectRunner> createEffect(const std::string& modulePath) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "module", modulePath, wrong, "give a treadshift.so");
  };
  std::unique_ptr<EffectRunner> effect;
  try {
    effect = std::make_unique<EffectRunner>(modulePath);
  } catch (const EffectError& error) {
    fail(error.what());
  }
  const AEffect* record = effect->record();
  const bool isMono = record->inputCount == 1 && record->outputCount == 1;
  const bool takesDoubles = (record->flags & kFlagCanDoubleReplacing) && record->processDoubleReplacingEntry;
  if (record->magic != kEffectMagic || !isMono || !takesDoubles || record->parameterCount < kParameterCount) {
    fail("its effect is no mono double-precision effect with five parameters");
  }
  return effect;
}

} // namespace

// In a colour without dry sound the first sample out is nothing but shifted sound, which takes a few
// milliseconds to come; a sample that comes back at once was passed through.
bool effectRunsAt(const std::string& modulePath, int rateHz) {
  constexpr double kColorWithoutDrySound = 2;
  const auto effect = createEffect(modulePath);
  effect->setParameter(kParameterColor, colorParameter(kColorWithoutDrySound));
  effect->setSampleRate(static_cast<float>(rateHz));
  effect->resume();
  const double in = 1.0;
  double out = 1.0;
  effect->process(&in, &out, 1);
  return out != in;
}

Renderer::Renderer(const std::string& modulePath, Controls moves, int fileRateHz, int channels,
                   int blockFrames)
    : controls(std::move(moves)), rateHz(fileRateHz), dry(blockFrames), wet(blockFrames) {
  sentValues.fill(std::numeric_limits<float>::quiet_NaN());
  for (int channel = 0; channel < channels; ++channel)
    effects.push_back(createEffect(modulePath));
  moveControls((blockFrames - 1) / rateHz);
  for (const auto& effect : effects) {
    effect->setSampleRate(static_cast<float>(fileRateHz));
    effect->setBlockSize(blockFrames);
    effect->resume();
  }
}

Renderer::~Renderer() {
  for (const auto& effect : effects)
    effect->suspend();
}

void Renderer::process(double* samples, int frames) {
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
