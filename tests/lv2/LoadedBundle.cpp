#include "LoadedBundle.h"

#include "engine/PedalNumbers.h"

#include <algorithm>
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <random>

const LV2_Descriptor& descriptor(int channels) {
  static void* const binary = dlopen(kBundleBinary, RTLD_NOW | RTLD_LOCAL);
  REQUIRE(binary);
  static const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
  REQUIRE((find != nullptr));
  const LV2_Descriptor* const found = find(channels - 1);
  REQUIRE(found);
  return *found;
}

Instance::Instance(double rateHz, const LV2_Feature* const* features, int channels)
    : plugin(descriptor(channels)), handle(plugin.instantiate(&plugin, rateHz, TREADSHIFT_BUNDLE, features)) {
  REQUIRE(handle);
  connect(kEnabledPort, &knobs.enabled);
  connect(kModePort, &knobs.mode);
  connect(kColorPort, &knobs.color);
  connect(kTonePort, &knobs.tone);
  connect(kPedalPort, &knobs.pedal);
  activate();
}

Instance::~Instance() { plugin.cleanup(handle); }

void Instance::run(const float* in, float* out, uint32_t samples) {
  connect(kInPort, const_cast<float*>(in));
  connect(kOutPort, out);
  run(samples);
}

std::vector<float> Instance::run(const std::vector<float>& in) {
  std::vector<float> out(in.size());
  run(in.data(), out.data(), static_cast<uint32_t>(in.size()));
  return out;
}

ModuleBeside::ModuleBeside(double rateHz) : effect(TREADSHIFT_MODULE) {
  effect.setSampleRate(static_cast<float>(rateHz));
  effect.resume();
}

void ModuleBeside::run(const Knobs& knobs, const float* in, float* out, uint32_t samples) {
  effect.setParameter(kOnOff, knobs.enabled);
  effect.setParameter(kMode, knobs.mode);
  effect.setParameter(kTone, knobs.tone);
  effect.setParameter(kColor, (knobs.color + 0.5f) / 8.0f);
  effect.setParameter(kPedalPos, knobs.pedal);
  const std::vector<double> dry(in, in + samples);
  std::vector<double> wet(samples);
  effect.process(dry.data(), wet.data(), static_cast<int32_t>(samples));
  std::ranges::transform(wet, out, [](double sample) { return static_cast<float>(sample); });
}

std::vector<float> ModuleBeside::run(const Knobs& knobs, const std::vector<float>& in, std::size_t part) {
  std::vector<float> out(in.size());
  for (std::size_t start = 0; start < in.size(); start += part) {
    const auto samples = static_cast<uint32_t>(std::min(part, in.size() - start));
    run(knobs, in.data() + start, out.data() + start, samples);
  }
  return out;
}

std::vector<float> floatNoise(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<float> noise(count);
  for (float& sample : noise)
    sample = static_cast<float>(static_cast<int32_t>(random())) * 0x1p-32f;
  return noise;
}
