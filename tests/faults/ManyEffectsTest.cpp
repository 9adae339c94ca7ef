// A host that makes and closes effects by the thousand, on several threads at once.
#include "engine/PedalNumbers.h"
#include "tests/record/Module.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <latch>
#include <malloc.h>
#include <memory>
#include <thread>

namespace {

constexpr int kThreads = 4;
constexpr int kEffects = 10000;
constexpr int kAtOnce = 1000;
constexpr long kPagesAllowed = 2048; // 8 MB, of 4.4 GB that go through

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

long residentPages() {
  malloc_trim(0);
  long all = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident;
}

// A checker holds on to freed memory, and says itself what leaks; an emulator keeps what it has translated.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(TREADSHIFT_EMULATED)
constexpr bool kPagesTell = false;
#elif defined(__has_feature)
constexpr bool kPagesTell = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kPagesTell = true;
#endif

const char* factoryOf(int number) { return kFactoryNames[number % 2]; }

// Runs work(thread, wrong) on every thread, which counts what went wrong: nothing may, and no memory stay
// behind.
template <typename Work> void checkOnEveryThread(Work work) {
  const long live = allocations::live();
  const long pages = residentPages();
  std::array<int, kThreads> wrong{};
  onEveryThread([&](int thread) { work(thread, wrong[thread]); });
  CHECK(allocations::live() == live);
  if (kPagesTell) CHECK(residentPages() <= pages + kPagesAllowed);
  CHECK(wrong == std::array<int, kThreads>{});
}

} // namespace

TEST_CASE("ten thousand effects, made and closed on four threads, leave no memory behind") {
  const Block expected = playedBy(ModuleEffect(), 0.5f);
  const auto makeAndClose = [&](int count, int& wrong) {
    for (int number = 0; number < count; ++number)
      wrong += !sameBits(playedBy(ModuleEffect(plainHost, factoryOf(number)), 0.5f), expected);
  };
  onEveryThread([&](int) { // what the threads' heaps take for good
    int wrong = 0;
    makeAndClose(50, wrong);
  });
  checkOnEveryThread([&](int, int& wrong) { makeAndClose(kEffects / kThreads, wrong); });
}

TEST_CASE("a thousand effects at once, made and closed on four threads, each play their own sound") {
  std::vector<Block> expected;
  for (int number = 0; number < kAtOnce; ++number)
    expected.push_back(playedBy(ModuleEffect(), pedalOf(number)));
  std::latch allMade(kThreads);
  checkOnEveryThread([&](int thread, int& wrong) {
    std::vector<std::unique_ptr<ModuleEffect>> effects;
    for (int number = thread; number < kAtOnce; number += kThreads) {
      effects.push_back(std::make_unique<ModuleEffect>(plainHost, factoryOf(number)));
      wrong += !sameBits(playedBy(*effects.back(), pedalOf(number)), expected[number]);
    }
    allMade.arrive_and_wait(); // a thousand are there now
    for (const auto& effect : effects)
      wrong += effect->get(kTone) != 0.8f;
  });
}
