// The built bundle as an LV2 host holds it, and the module beside it for comparison.
#pragma once

#include "host/EffectRunner.h"

#include <cstdint>
#include <lv2/core/lv2.h>
#include <string>
#include <vector>

constexpr char kBundleBinary[] = TREADSHIFT_BUNDLE "/treadshift.so";

// The plug-in's ports in the order of their numbers.
enum PortNumber : uint32_t { kIn, kOut, kEnabled, kMode, kColor, kTone, kPedal };

// The control ports' values, at first their defaults.
struct Knobs {
  float enabled = 1.0f, mode = 0.0f, color = 4.0f, tone = 0.8f, pedal = 0.0f;
};

// The bundle's descriptor; the binary stays loaded.
const LV2_Descriptor& descriptor();

// One instance with its control ports connected to `knobs`. Moving it would leave the ports behind.
class Instance {
public:
  explicit Instance(double rateHz, const LV2_Feature* const* features = nullptr);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  void connect(uint32_t port, void* data) { descriptor().connect_port(handle, port, data); }
  void activate() { descriptor().activate(handle); }
  void run(uint32_t samples) { descriptor().run(handle, samples); }

  // Connects the arrays and runs; both may be one.
  void run(const float* in, float* out, uint32_t samples);
  std::vector<float> run(const std::vector<float>& in);

  Knobs knobs;

private:
  LV2_Handle handle;
};

// The module driven as the renderer drives it: the first block's knobs are there before it learns the rate,
// each block comes after its knobs, the samples are doubles and narrowed once.
class ModuleBeside {
public:
  explicit ModuleBeside(double rate) : effect(TREADSHIFT_MODULE), rateHz(rate) {}

  void run(const Knobs& knobs, const float* in, float* out, uint32_t samples);
  std::vector<float> run(const Knobs& knobs, const std::vector<float>& in);

private:
  void set(const Knobs& knobs) const;

  EffectRunner effect;
  double rateHz;
  bool isSetUp = false;
};

// Samples of -0.5 to 0.5, the same for the same seed.
std::vector<float> floatNoise(std::size_t count, unsigned seed = 1);

// Whether both hold the same bits, so that a NaN equals itself and 0 is not -0.
bool sameBits(const std::vector<float>& a, const std::vector<float>& b);
