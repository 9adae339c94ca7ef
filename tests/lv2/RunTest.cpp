// What comes out of the bundle is what the module gives, sample for sample, however a host calls it.
#include "LoadedBundle.h"
#include "tests/support/ControlWord.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <random>

namespace {

constexpr double kRate = 48000.0;
constexpr std::size_t kFades = 2 * 768; // samples: 16 ms at 48000 Hz, once out and once in

constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinite = std::numeric_limits<float>::infinity();

// A host's knobs in block number `block`: everything moves now and then.
Knobs knobsAt(int block) {
  Knobs knobs;
  knobs.enabled = block % 40 < 34 ? 1.0f : 0.0f;
  knobs.mode = static_cast<float>(block / 5 % 2);
  knobs.color = static_cast<float>(block / 16 % 8);
  knobs.tone = static_cast<float>(block % 11) / 10.0f;
  knobs.pedal = static_cast<float>(0.5 - 0.5 * std::cos(block * 0.13));
  return knobs;
}

// Every kind of float: usual, zeros, denormal, the largest, infinite, quiet and signalling NaN.
std::vector<float> everyKindOfFloat() {
  std::vector<float> all = floatNoise(64);
  for (const uint32_t bits : {0x00000000u, 0x80000000u, 0x00000001u, 0x807FFFFFu, 0x7F7FFFFFu, 0x7F800000u,
                              0xFF800000u, 0x7FC00001u, 0xFFC12345u, 0x7F800001u, 0xFFABCDEFu})
    all.push_back(std::bit_cast<float>(bits));
  return all;
}

} // namespace

TEST_CASE("blocks of any length with every control moving give the module's samples, at every usual rate") {
  struct Row {
    double rate;
    int longest; // samples: of a block
    std::size_t samples;
  };
  for (const Row& row : {Row{kRate, 700, 200000}, Row{kRate, 1, 5000}, Row{8000.0, 1500, 30000},
                         Row{44100.0, 1500, 30000}, Row{96000.0, 1500, 30000}, Row{192000.0, 1500, 30000}}) {
    CAPTURE(row.rate);
    CAPTURE(row.longest);
    const std::vector<float> in = floatNoise(row.samples);
    std::vector<float> out(in.size()), expected(in.size());
    Instance instance(row.rate);
    ModuleBeside module(row.rate);
    std::mt19937 random(5);
    std::size_t start = 0;
    for (int block = 0; start < in.size(); ++block) {
      const auto samples =
          static_cast<uint32_t>(std::min<std::size_t>(1 + random() % row.longest, in.size() - start));
      instance.knobs = knobsAt(row.longest == 1 ? block / 50 : block);
      instance.run(in.data() + start, out.data() + start, samples);
      module.run(instance.knobs, in.data() + start, expected.data() + start, samples);
      start += samples;
    }
    CHECK(sameBits(out, expected));
    CHECK_FALSE(sameBits(out, in));
  }
}

TEST_CASE("the first block starts in its colour, wherever the pedal stands, after every activation") {
  const std::vector<float> in = floatNoise(6000);
  Instance instance(kRate);
  for (int color = 0; color < 8; ++color) {
    for (const float pedal : {0.0f, 0.2f, 0.45f, 0.8f, 1.0f}) {
      CAPTURE(color);
      CAPTURE(pedal);
      instance.knobs = {1.0f, 0.0f, static_cast<float>(color), 0.8f, pedal};
      CHECK(sameBits(instance.run(in), ModuleBeside(kRate).run(instance.knobs, in)));
      instance.activate();
    }
  }
}

TEST_CASE("two channels are two pedals on one set of controls, in whatever order the host shares arrays") {
  constexpr uint32_t kBlock = 900;
  constexpr int kBlocks = 60;
  const std::vector<float> left = floatNoise(kBlock * kBlocks), right = floatNoise(kBlock * kBlocks, 2);
  struct Row {
    const char* what;
    int outLeft, outRight; // 0: the left input's array, 1: the right one's, 2 and 3: their own
  };
  for (const Row& row : {Row{"apart", 2, 3}, Row{"in place", 0, 1}, Row{"crossed", 1, 0}}) {
    CAPTURE(row.what);
    Instance stereo(kRate, nullptr, 2);
    ModuleBeside leftModule(kRate), rightModule(kRate);
    std::vector<float> arrays[4];
    for (int block = 0; block < kBlocks; ++block) {
      const auto part = [&](const std::vector<float>& sound) {
        return std::vector<float>(sound.begin() + block * kBlock, sound.begin() + (block + 1) * kBlock);
      };
      arrays[0] = part(left);
      arrays[1] = part(right);
      arrays[2].resize(kBlock);
      arrays[3].resize(kBlock);
      stereo.knobs = knobsAt(block);
      stereo.connect(kInRightPort, arrays[1].data());
      stereo.connect(kOutRightPort, arrays[row.outRight].data());
      stereo.run(arrays[0].data(), arrays[row.outLeft].data(), kBlock);
      CHECK(sameBits(arrays[row.outLeft], leftModule.run(stereo.knobs, part(left))));
      CHECK(sameBits(arrays[row.outRight], rightModule.run(stereo.knobs, part(right))));
    }
    stereo.knobs.enabled = 0.0f; // what is not finite passes now
    arrays[0].assign(kBlock, kInfinite);
    arrays[1].assign(kBlock, -kInfinite);
    stereo.run(arrays[0].data(), arrays[row.outLeft].data(), kBlock);
    CHECK(sameBits(arrays[row.outLeft], std::vector<float>(kBlock, kInfinite)));
    CHECK(sameBits(arrays[row.outRight], std::vector<float>(kBlock, -kInfinite)));
  }
}

TEST_CASE("an empty block changes nothing, whatever the ports hold") {
  const std::vector<float> in = floatNoise(6000);
  Instance with(kRate), without(kRate);
  float untouched = 7.0f;
  for (std::size_t start = 0; start < in.size(); start += 500) {
    std::vector<float> outWith(500), outWithout(500);
    with.knobs = {0.0f, 1.0f, 2.0f, 0.1f, 0.9f};
    with.run(&untouched, &untouched, 0);
    with.run(nullptr, nullptr, 0);
    with.knobs = without.knobs = {1.0f, 0.0f, 4.0f, 0.8f, 0.3f};
    with.run(in.data() + start, outWith.data(), 500);
    without.run(in.data() + start, outWithout.data(), 500);
    CHECK(sameBits(outWith, outWithout));
  }
  CHECK(untouched == 7.0f);
}

TEST_CASE("activation leaves nothing of the run before, not even the switch") {
  const std::vector<float> in = floatNoise(30000);
  Instance used(kRate), fresh(kRate);
  used.knobs = {0.0f, 1.0f, 6.0f, 0.1f, 0.9f};
  used.run(floatNoise(30000, 2));
  used.activate();
  used.knobs = {kNoNumber, 0.0f, 4.0f, 0.8f, 0.0f};
  CHECK(sameBits(used.run({kInfinite, kNoNumber, -kInfinite}), std::vector<float>(3)));
  used.activate();
  CHECK(sameBits(used.run(in), fresh.run(in)));
}

TEST_CASE("switched off, it lets every float through bit for bit, and comes back") {
  const std::vector<float> in = floatNoise(4000);
  Instance instance(kRate);
  ModuleBeside module(kRate);
  Knobs on, off;
  off.enabled = 0.0f;
  CHECK(sameBits(instance.run(in), module.run(on, in)));
  instance.knobs = off;
  std::vector<float> fading(in.begin(), in.begin() + kFades);
  CHECK(sameBits(instance.run(fading), module.run(off, fading)));
  CHECK(sameBits(instance.run(in), in));
  module.run(off, in);
  instance.knobs = on;
  CHECK(sameBits(instance.run(in), module.run(on, in)));

  instance.knobs = off;
  instance.run(fading);
  const std::vector<float> kinds = everyKindOfFloat();
  CHECK(sameBits(instance.run(kinds), kinds));
}

TEST_CASE("samples that are no finite numbers count as silence while it is on") {
  std::vector<float> in = floatNoise(20000), silenced = in;
  for (const std::size_t place : {0u, 1u, 500u, 501u, 7000u}) {
    in[place] = place % 2 ? kNoNumber : kInfinite;
    silenced[place] = 0.0f;
  }
  Instance one(kRate), other(kRate);
  const auto out = one.run(in);
  CHECK(sameBits(out, other.run(silenced)));
  CHECK(std::ranges::all_of(out, [](float sample) { return std::isfinite(sample); }));
}

TEST_CASE("control values out of range or between two count as the nearest in range") {
  struct Row {
    Knobs given, meant;
  };
  const Row rows[] = {
      {{7.0f, 0.0f, 4.0f, 0.8f, 0.3f}, {1.0f, 0.0f, 4.0f, 0.8f, 0.3f}},
      {{0.01f, 0.0f, 4.0f, 0.8f, 0.3f}, {1.0f, 0.0f, 4.0f, 0.8f, 0.3f}},
      {{-0.5f, 0.0f, 4.0f, 0.8f, 0.3f}, {0.0f, 0.0f, 4.0f, 0.8f, 0.3f}},
      {{-kInfinite, 0.0f, 4.0f, 0.8f, 0.3f}, {0.0f, 0.0f, 4.0f, 0.8f, 0.3f}},
      {{1.0f, 9.0f, -3.0f, 0.8f, 0.3f}, {1.0f, 1.0f, 0.0f, 0.8f, 0.3f}},
      {{1.0f, 0.4f, 1.6f, 0.8f, 0.3f}, {1.0f, 0.0f, 2.0f, 0.8f, 0.3f}},
      {{1.0f, 0.0f, 7.4f, 0.8f, 0.3f}, {1.0f, 0.0f, 7.0f, 0.8f, 0.3f}},
      {{1.0f, 0.0f, kInfinite, 0.8f, 0.3f}, {1.0f, 0.0f, 7.0f, 0.8f, 0.3f}},
      {{1.0f, 0.0f, 1e30f, 1.5f, 2.0f}, {1.0f, 0.0f, 7.0f, 1.0f, 1.0f}},
      {{1.0f, 0.0f, 4.0f, -1.0f, -kInfinite}, {1.0f, 0.0f, 4.0f, 0.0f, 0.0f}},
  };
  const std::vector<float> in = floatNoise(8000);
  for (const Row& row : rows) {
    Instance given(kRate);
    ModuleBeside meant(kRate);
    given.knobs = row.given;
    CHECK(sameBits(given.run(in), meant.run(row.meant, in)));
  }
}

TEST_CASE("a port without a number or without a connection leaves its parameter alone") {
  const std::vector<float> in = floatNoise(8000);
  Instance instance(kRate);
  ModuleBeside module(kRate);
  const Knobs first = {1.0f, 1.0f, 5.0f, 0.2f, 0.7f};
  instance.knobs = first;
  CHECK(sameBits(instance.run(in), module.run(first, in)));
  instance.knobs = {kNoNumber, kNoNumber, kNoNumber, kNoNumber, kNoNumber};
  CHECK(sameBits(instance.run(in), module.run(first, in)));
  instance.knobs = {0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
  for (const uint32_t port : {kEnabledPort, kModePort, kColorPort, kTonePort, kPedalPort})
    instance.connect(port, nullptr);
  CHECK(sameBits(instance.run(in), module.run(first, in)));

  Instance unconnected(kRate);
  for (const uint32_t port : {kEnabledPort, kModePort, kColorPort, kTonePort, kPedalPort})
    unconnected.connect(port, nullptr);
  CHECK(sameBits(unconnected.run(in), ModuleBeside(kRate).run(Knobs(), in)));
}

TEST_CASE("audio ports without a connection and ports that do not exist") {
  const std::vector<float> in = floatNoise(1000);
  std::vector<float> out(1000, 7.0f);
  Instance instance(kRate), other(kRate);
  instance.run(1000);
  instance.run(nullptr, out.data(), 1000);
  CHECK(std::ranges::all_of(out, [](float sample) { return sample == 7.0f; }));
  instance.run(in.data(), nullptr, 1000);
  Instance stereo(kRate, nullptr, 2);
  stereo.run(in.data(), out.data(), 1000);
  CHECK(std::ranges::all_of(out, [](float sample) { return sample == 7.0f; }));
  float stray = 7.0f;
  instance.connect(kOutRightPort + 1, &stray);
  instance.connect(std::numeric_limits<uint32_t>::max(), &stray);
  CHECK(sameBits(instance.run(in), other.run(in)));
  CHECK(stray == 7.0f);
}

TEST_CASE("rates that the effect cannot run let the sound through") {
  const std::vector<float> in = floatNoise(9000);
  for (const double rate : {0.0, -48000.0, 1.0, 62.0, 1e12, static_cast<double>(kNoNumber)}) {
    CAPTURE(rate);
    Instance instance(rate);
    CHECK(sameBits(instance.run(in), in));
    instance.activate();
    CHECK(sameBits(instance.run(in), in));
  }
}

TEST_CASE("the host's arithmetic is found as it was and stays out of the sound") {
  // As started; with flags up; denormals dropped; rounding up; all traps armed.
  std::vector<float> in = floatNoise(8000);
  for (std::size_t i = 4000; i < 4100; ++i)
    in[i] = static_cast<float>(i) * 1e-44f;
  ModuleBeside module(kRate);
  Knobs knobs;
  knobs.pedal = 0.4f;
  const auto expected = module.run(knobs, in);
  const unsigned dropped = word::kDefault | word::kFlush | word::kTinyOperandsAreZero;
  for (const unsigned bits : {word::kDefault, word::kDefault | word::kOneRaised, dropped | word::kOneRaised,
                              dropped, word::kDefault | word::kRoundUp, word::kDefault ^ word::kArmed}) {
    CAPTURE(bits);
    std::vector<float> out(in.size());
    word::write(bits);
    Instance instance(kRate);
    instance.knobs = knobs;
    word::write(bits);
    instance.run(in.data(), out.data(), static_cast<uint32_t>(in.size()));
    const unsigned after = word::read();
    word::write(word::kDefault);
    CHECK(after == bits);
    CHECK(sameBits(out, expected));
  }
}
