// Audio buffers at addresses that a double need not have: any multiple of 4 on i386, any of 8 on x86_64.
#include "engine/PedalNumbers.h"
#include "tests/property/Pedal.h"
#include "tests/support/Bits.h"
#include "tests/support/TestSound.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kStep = sizeof(void*) == 4 ? 4 : 8; // bytes: what the interface's width promises
constexpr std::size_t kWidest = 64;                       // bytes: the widest alignment there is

// Samples that begin `offset` bytes behind a multiple of kWidest, with canaries around them.
class OffsetSamples {
public:
  OffsetSamples(std::size_t offset, int samples) : bytes(samples * sizeof(double) + 4 * kWidest, kCanary) {
    const auto address = reinterpret_cast<uintptr_t>(bytes.data()) + kWidest;
    first = kWidest + (kWidest - address % kWidest) % kWidest + offset;
    length = samples * sizeof(double);
  }
  double* data() { return reinterpret_cast<double*>(bytes.data() + first); }
  void put(const std::vector<double>& samples) { std::memcpy(bytes.data() + first, samples.data(), length); }
  std::vector<double> get() const {
    std::vector<double> samples(length / sizeof(double));
    std::memcpy(samples.data(), bytes.data() + first, length);
    return samples;
  }
  bool isWholeAround() const {
    const auto whole = [](char byte) { return byte == kCanary; };
    return std::all_of(bytes.begin(), bytes.begin() + first, whole) &&
           std::all_of(bytes.begin() + first + length, bytes.end(), whole);
  }

private:
  static constexpr char kCanary = 0x5A;

  std::vector<char> bytes;
  std::size_t first, length; // bytes
};

struct Placement {
  std::size_t input, output; // bytes behind a multiple of kWidest
  bool inPlace;
};

// A life with everything in it: passing through, fades, a moving pedal and a resting one, on and off.
std::vector<double> heardAt(const Placement& placement) {
  ModulePedal module;
  std::vector<double> heard;
  const auto block = [&](int samples) {
    const std::vector<double> sound = testSound(samples, static_cast<int>(heard.size()));
    OffsetSamples input(placement.input, samples), output(placement.output, samples);
    input.put(sound);
    OffsetSamples& heardFrom = placement.inPlace ? input : output;
    module.process(input.data(), heardFrom.data(), samples);
    CHECK(input.isWholeAround());
    CHECK(output.isWholeAround());
    if (!placement.inPlace) CHECK(input.get() == sound);
    const std::vector<double> result = heardFrom.get();
    heard.insert(heard.end(), result.begin(), result.end());
  };
  block(33);
  module.setSampleRate(8000.0f);
  for (int samples : {300, 1, 2, 3, 64, 511})
    block(samples);
  module.setParameter(kPedalPos, 0.8f);
  module.setParameter(kColor, 0.25f);
  for (int samples : {301, 17, 512})
    block(samples);
  module.setParameter(kOnOff, 0.0f);
  for (int samples : {200, 300, 100})
    block(samples);
  return heard;
}

} // namespace

TEST_CASE("audio buffers at every address that the width allows give the same bits") {
  const std::vector<double> aligned = heardAt({0, 0, false});
  CHECK(std::ranges::any_of(aligned, [](double x) { return std::abs(x) > 0.1; }));
  for (std::size_t input = 0; input < kWidest; input += kStep) {
    for (std::size_t output = 0; output < 32; output += kStep) {
      CAPTURE(input);
      CAPTURE(output);
      CHECK(sameBits(heardAt({input, output, false}), aligned));
    }
    CHECK(sameBits(heardAt({input, 0, true}), aligned));
  }
}
