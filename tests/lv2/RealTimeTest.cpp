// Running claims to suit hard real time: it takes no memory and makes no system call, at any block size.
#include "LoadedBundle.h"
#include "tests/support/HeapCount.h"
#include "tests/support/SystemCalls.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <numeric>
#include <random>

namespace {

constexpr uint32_t kLongest = 8192; // samples: twice the largest block of a host that announces none

// Every length from 1 to 8192 once, in random order.
std::vector<uint32_t> everyLength() {
  std::vector<uint32_t> lengths(kLongest);
  std::iota(lengths.begin(), lengths.end(), 1u);
  std::shuffle(lengths.begin(), lengths.end(), std::mt19937(11));
  return lengths;
}

// Runs blocks of these lengths while every control moves.
void play(Instance& instance, const std::vector<uint32_t>& lengths, std::vector<float>& sound) {
  instance.connect(kInPort, sound.data());
  instance.connect(kOutPort, sound.data());
  uint32_t count = 0;
  for (const uint32_t samples : lengths) {
    ++count;
    instance.knobs.enabled = count % 37 ? 1.0f : 0.0f;
    instance.knobs.color = static_cast<float>(count / 20 % 8);
    instance.knobs.tone = static_cast<float>(count % 7) / 6.0f;
    instance.knobs.pedal = static_cast<float>(count % 50) / 49.0f;
    instance.run(samples);
  }
}

} // namespace

TEST_CASE("blocks of every length in random order never touch the heap, nor do odd calls or connecting") {
  const std::vector<uint32_t> lengths = everyLength(), odd = {0, 100000, 0, 8193, 1, 65536, 20000, 0};
  std::vector<float> sound = floatNoise(100000);
  float value = 0.5f;
  Instance instance(48000.0), cannotRun(1.0), stereo(48000.0, nullptr, 2);
  stereo.connect(kInRightPort, sound.data());
  stereo.connect(kOutRightPort, sound.data());
  const long before = heapCalls();
  play(instance, lengths, sound);
  for (Instance* each : {&instance, &cannotRun, &stereo})
    play(*each, odd, sound);
  for (uint32_t port = 0; port < 12; ++port)
    instance.connect(port, &value);
  CHECK(heapCalls() == before);
}

TEST_CASE("the count sees what the bundle takes") {
  Instance instance(48000.0);
  std::vector<float> sound(64);
  play(instance, {64}, sound);
  const long before = heapCalls();
  instance.activate();
  CHECK(heapCalls() > before);
}

TEST_CASE("blocks of every length make no system call") {
  const std::vector<uint32_t> lengths = everyLength();
  std::vector<float> sound = floatNoise(kLongest);
  Instance instance(48000.0);
  CHECK(!firstSystemCall([&] { play(instance, lengths, sound); }));
}
