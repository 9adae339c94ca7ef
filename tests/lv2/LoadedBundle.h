// The built bundle as an LV2 host holds it, and the module beside it for comparison.
#pragma once

#include "host/EffectRunner.h"
#include "tests/support/Bits.h"

#include <cstdint>
#include <lv2/core/lv2.h>
#include <string>
#include <vector>

constexpr char kBundleBinary[] = TREADSHIFT_BUNDLE "/treadshift.so";

// The plug-ins' ports in the order of their numbers, and what the stereo one has more.
enum PortNumber : uint32_t { kInPort, kOutPort, kEnabledPort, kModePort, kColorPort, kTonePort, kPedalPort };
constexpr uint32_t kInRightPort = 7, kOutRightPort = 8;

// The control ports' values, at first their defaults.
struct Knobs {
  float enabled = 1.0f, mode = 0.0f, color = 4.0f, tone = 0.8f, pedal = 0.0f;
};

// The plug-in for 1 or 2 channels; the binary stays loaded.
const LV2_Descriptor& descriptor(int channels = 1);

// One instance with its control ports connected to `knobs`. Moving it would leave the ports behind.
class Instance {
public:
  explicit Instance(double rateHz, const LV2_Feature* const* features = nullptr, int channels = 1);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  void connect(uint32_t port, void* data) { plugin.connect_port(handle, port, data); }
  void activate() { plugin.activate(handle); }
  void run(uint32_t samples) { plugin.run(handle, samples); }

  // Connects the arrays and runs; both may be one.
  void run(const float* in, float* out, uint32_t samples);
  std::vector<float> run(const std::vector<float>& in);

  Knobs knobs;

private:
  const LV2_Descriptor& plugin;
  LV2_Handle handle;
};

// The module driven by its record: set up first, then each block after its knobs, in doubles that are
// narrowed once.
class ModuleBeside {
public:
  explicit ModuleBeside(double rateHz);

  void run(const Knobs& knobs, const float* in, float* out, uint32_t samples);
  // In parts of `part` samples: those of a host that announces none.
  std::vector<float> run(const Knobs& knobs, const std::vector<float>& in, std::size_t part = 4096);

private:
  EffectRunner effect;
};

// Samples of -0.5 to 0.5, the same for the same seed.
std::vector<float> floatNoise(std::size_t count, unsigned seed = 1);
