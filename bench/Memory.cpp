#include "bench/Memory.h"

#include "bench/Signal.h"
#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <array>

namespace {

constexpr int32_t kBlock = 64;
constexpr int32_t kAnnouncedBlock = 4096;
constexpr int kBlocks = 1000;

std::size_t allocationsIn(const EffectRunner& runner, bool changingSize) {
  static std::array<double, kAnnouncedBlock> output;
  startHeapCount();
  for (int k = 0; k < kBlocks; ++k) {
    runner.setParameter(kPedalPos, static_cast<float>(k % 100) / 100.0f);
    runner.process(benchSignal(), output.data(), changingSize ? 1 + k * 37 % kAnnouncedBlock : kBlock);
  }
  return endHeapCount().allocations;
}

void makeReady(const EffectRunner& runner) {
  double output[kBlock];
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(kAnnouncedBlock);
  runner.resume();
  runner.process(benchSignal(), output, kBlock);
}

} // namespace

// The first effect only loads the module, so that the loader's own memory is not counted.
Memory measureMemory(const std::string& modulePath) {
  const EffectRunner loaded(modulePath);
  benchSignal();
  startHeapCount();
  const EffectRunner probe(modulePath);
  const std::size_t created = endHeapCount().liveBytes;
  startHeapCount();
  const EffectRunner runner(modulePath);
  makeReady(runner);
  const HeapCount ready = endHeapCount();
  return {created, ready, allocationsIn(runner, false), allocationsIn(runner, true)};
}
