// A host that makes and closes a thousand effects, on several threads at once.
#include "engine/PedalNumbers.h"
#include "tests/record/Module.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <latch>
#include <memory>
#include <thread>

namespace {

constexpr int kThreads = 4;
constexpr int kAtOnce = 1000;

using Block = std::array<double, 64>;

// What a sole effect with a pedal of its own makes of a sound.
Block playedBy(const ModuleEffect& effect, float pedal) {
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 1000.0f);
  effect.set(kPedalPos, pedal);
  Block samples;
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < samples.size(); ++i)
      samples[i] = std::sin(0.7 * static_cast<double>(i + 64 * round));
    double* channels[] = {samples.data()};
    effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, 64);
  }
  return samples;
}

float pedalOf(int number) { return static_cast<float>(number % kAtOnce) / kAtOnce; }

// Runs work(thread) on kThreads threads.
template <typename Work> void onEveryThread(Work work) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back(work, thread);
  for (std::thread& thread : threads)
    thread.join();
}

const char* factoryOf(int number) { return kFactoryNames[number % 2]; }

} // namespace

TEST_CASE("a thousand effects at once, made and closed on four threads, each play their own sound") {
  std::vector<Block> expected;
  for (int number = 0; number < kAtOnce; ++number)
    expected.push_back(playedBy(ModuleEffect(), pedalOf(number)));
  const long live = allocations::live();
  std::array<int, kThreads> wrong{};
  std::latch allMade(kThreads);
  onEveryThread([&](int thread) {
    std::vector<std::unique_ptr<ModuleEffect>> effects;
    for (int number = thread; number < kAtOnce; number += kThreads) {
      effects.push_back(std::make_unique<ModuleEffect>(plainHost, factoryOf(number)));
      wrong[thread] += !sameBits(playedBy(*effects.back(), pedalOf(number)), expected[number]);
    }
    allMade.arrive_and_wait(); // a thousand are there now
    for (const auto& effect : effects)
      wrong[thread] += effect->get(kTone) != 0.8f;
  });
  CHECK(allocations::live() == live);
  CHECK(wrong == std::array<int, kThreads>{});
}
