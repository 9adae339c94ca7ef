#include "bench/FloorCases.h"

#include "bench/Signal.h"
#include "dsp/IIRFilter.h"

#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int32_t kFloorBlock = 256; // samples in and out of the loop: they stay in the nearest cache

struct FloorLoop {
  double ff0, ff1, ff2, fb1, fb2; // shift filter
  double k1, k2, k3, k4;          // tone: low pole, high pole, low gain, high gain
  double state1 = 0.0, state2 = 0.0, low = 0.0, high = 0.0;
  double output[kFloorBlock] = {};

  FloorLoop();
  void runBlock(const double* input);
};

// Coefficients as the engine has them at 48 kHz with Tone in its middle; their values do not change the time.
FloorLoop::FloorLoop() : k1(0.97), k2(-0.5), k3(0.8), k4(0.7) {
  filterPrm_tag lowPass{kLowPass1, 0.25 * kBenchRateHz, 0.0, 0.0, 1.0, 0.0, kBenchRateHz};
  const IIRFilter filter(&lowPass);
  ff0 = filter.ff0, ff1 = filter.ff1, ff2 = filter.ff2, fb1 = filter.fb1, fb2 = filter.fb2;
}

// Never inlined, so that the compiler knows nothing of the coefficients, as in the engine. States live in
// locals: kept in members they would be stored and loaded in every sample.
[[gnu::noinline]] void FloorLoop::runBlock(const double* input) {
  const double a0 = ff0, a1 = ff1, a2 = ff2, b1 = fb1, b2 = fb2;
  const double lowPole = k1, highPole = k2, lowGain = k3, highGain = k4;
  double s1 = state1, s2 = state2, l = low, h = high;
  for (int32_t i = 0; i < kFloorBlock; ++i) {
    const double x = input[i];
    const double y = a0 * x + s1;
    s1 = a1 * x + s2 + b1 * y;
    s2 = a2 * x + b2 * y;
    const double z = y * 0.5;
    const double nextLow = z + lowPole * (l - z);
    const double nextHigh = z + highPole * (h + z);
    output[i] = lowGain * (l + nextLow) + highGain * (nextHigh - h);
    l = nextLow;
    h = nextHigh;
  }
  state1 = s1, state2 = s2, low = l, high = h;
}

double sumOfPowers(const double* exponents, int32_t count) {
  double sum = 0.0;
  for (int32_t i = 0; i < count; ++i)
    sum += std::pow(2.0, exponents[i]);
  return sum;
}

} // namespace

Case floorCase() {
  auto loop = std::make_shared<FloorLoop>();
  const auto run = [loop] {
    for (int32_t done = 0; done < kBenchSamples; done += kFloorBlock)
      loop->runBlock(benchSignal());
  };
  return {"floor", "recurrences", 0, kBenchSamples, {}, run};
}

Case powCase() {
  constexpr int32_t kExponents = 1024; // divides kBenchSamples
  auto exponents = std::make_shared<std::vector<double>>();
  for (int k = 0; k < kExponents; ++k)
    exponents->push_back(-2.0 + 3.0 * k / (kExponents - 1)); // two octaves down to one up
  const auto run = [exponents] {
    volatile double kept = 0.0;
    for (int32_t done = 0; done < kBenchSamples; done += kExponents)
      kept = kept + sumOfPowers(exponents->data(), kExponents);
  };
  return {"floor", "pow", 0, kBenchSamples, {}, run};
}
