#include "LoadedBundle.h"

#include <cstring>
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <random>

namespace {

enum { kParameterOn, kParameterMode, kParameterTone, kParameterColor, kParameterPedal };

} // namespace

const LV2_Descriptor& descriptor() {
  static void* const binary = dlopen(kBundleBinary, RTLD_NOW | RTLD_LOCAL);
  REQUIRE(binary);
  static const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
  REQUIRE((find != nullptr));
  static const LV2_Descriptor* const first = find(0);
  REQUIRE(first);
  return *first;
}

Instance::Instance(double rateHz, const LV2_Feature* const* features)
    : handle(descriptor().instantiate(&descriptor(), rateHz, TREADSHIFT_BUNDLE, features)) {
  REQUIRE(handle);
  connect(kEnabled, &knobs.enabled);
  connect(kMode, &knobs.mode);
  connect(kColor, &knobs.color);
  connect(kTone, &knobs.tone);
  connect(kPedal, &knobs.pedal);
  activate();
}

Instance::~Instance() { descriptor().cleanup(handle); }

void Instance::run(const float* in, float* out, uint32_t samples) {
  connect(kIn, const_cast<float*>(in));
  connect(kOut, out);
  run(samples);
}

std::vector<float> Instance::run(const std::vector<float>& in) {
  std::vector<float> out(in.size());
  run(in.data(), out.data(), static_cast<uint32_t>(in.size()));
  return out;
}

void ModuleBeside::set(const Knobs& knobs) const {
  effect.setParameter(kParameterOn, knobs.enabled);
  effect.setParameter(kParameterMode, knobs.mode);
  effect.setParameter(kParameterTone, knobs.tone);
  effect.setParameter(kParameterColor, (knobs.color + 0.5f) / 8.0f);
  effect.setParameter(kParameterPedal, knobs.pedal);
}

void ModuleBeside::run(const Knobs& knobs, const float* in, float* out, uint32_t samples) {
  set(knobs);
  if (!isSetUp) {
    effect.setSampleRate(static_cast<float>(rateHz));
    effect.setBlockSize(8192);
    effect.resume();
    isSetUp = true;
  }
  const std::vector<double> dry(in, in + samples);
  std::vector<double> wet(samples);
  effect.process(dry.data(), wet.data(), static_cast<int32_t>(samples));
  for (uint32_t i = 0; i < samples; ++i)
    out[i] = static_cast<float>(wet[i]);
}

std::vector<float> ModuleBeside::run(const Knobs& knobs, const std::vector<float>& in) {
  std::vector<float> out(in.size());
  run(knobs, in.data(), out.data(), static_cast<uint32_t>(in.size()));
  return out;
}

std::vector<float> floatNoise(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<float> noise(count);
  for (float& sample : noise)
    sample = static_cast<float>(static_cast<int32_t>(random())) * 0x1p-32f;
  return noise;
}

bool sameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}
