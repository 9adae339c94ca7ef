#include "render/job/Renderer.h"

#include "render/module/OpenEffect.h"

#include <algorithm>
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
    failModule(modulePath, error);
  }
}

} // namespace

// In a colour without dry sound the first sample out is nothing but shifted sound, which takes a few
// milliseconds to come; a sample that comes back at once was passed through.
bool effectRunsAt(const std::string& modulePath, int rateHz) {
  constexpr double kColorWithoutDrySound = 2;
  const auto effect = createEffect(modulePath);
  return withEffects(modulePath, [&] {
    effect->setParameter(kColor, colorParameter(kColorWithoutDrySound));
    effect->setSampleRate(static_cast<float>(rateHz));
    effect->resume();
    const double in = 1.0;
    double out = 1.0;
    effect->process(&in, &out, 1);
    return out != in;
  });
}

Renderer::Renderer(const std::string& path, Controls courses, int fileRateHz, int channels,
                   int framesPerBlock)
    : modulePath(path), controls(std::move(courses)), rateHz(fileRateHz), blockFrames(framesPerBlock),
      planes(channels) {
  sentValues.fill(std::numeric_limits<float>::quiet_NaN());
  for (int channel = 0; channel < channels; ++channel)
    effects.push_back(createEffect(modulePath));
  withEffects(modulePath, [&] { setUp(); });
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

void Renderer::setUp() {
  drawMoves(0, (blockFrames - 1) / rateHz);
  for (const auto& effect : effects) {
    for (const ParameterMove& move : moves)
      effect->setParameter(move.index, move.value);
    effect->setBlockSize(blockFrames);
    effect->setSampleRate(static_cast<float>(rateHz));
    effect->resume();
  }
}

void Renderer::process(double* samples, int frames) {
  moves.clear();
  for (int block = 0, first = 0; first < frames; ++block, first += blockFrames) {
    const int last = std::min(first + blockFrames, frames) - 1;
    drawMoves(block, static_cast<double>(position + last) / rateHz);
  }
  withEffects(modulePath, [&] { render(samples, frames); });
  position += frames;
}

void Renderer::forget() {
  withEffects(modulePath, [&] {
    for (const auto& effect : effects)
      effect->resume();
  });
}

void Renderer::render(double* samples, int frames) {
  const std::size_t channels = effects.size();
  for (std::size_t channel = 0; channel < channels; ++channel) {
    auto& plane = planes[channel];
    plane.resize(frames);
    for (int i = 0; i < frames; ++i)
      plane[i] = samples[i * channels + channel];
    effects[channel]->start({plane.data(), plane.data(), frames, blockFrames, moves});
  }
  for (std::size_t channel = 0; channel < channels; ++channel) {
    effects[channel]->finish();
    for (int i = 0; i < frames; ++i)
      samples[i * channels + channel] = planes[channel][i];
  }
}

void Renderer::drawMoves(int block, double seconds) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto value = controls.valueAt(static_cast<Parameter>(index), seconds);
    if (!value || *value == sentValues[index]) continue;
    sentValues[index] = *value;
    moves.push_back({block, index, *value});
  }
}
