// Two programs that nobody here wrote run recordings through the bundle: what they write is what the module
// gives for the same parameters.
#include "Commands.h"
#include "LoadedBundle.h"
#include "tests/render/SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr int kRate = 44100;

std::vector<float> throughModule(const Knobs& knobs, const std::vector<double>& in, std::size_t block) {
  ModuleBeside module(kRate);
  const std::vector<float> narrow(in.begin(), in.end());
  std::vector<float> out(in.size());
  for (std::size_t start = 0; start < in.size(); start += block) {
    const auto samples = static_cast<uint32_t>(std::min(block, in.size() - start));
    module.run(knobs, narrow.data() + start, out.data() + start, samples);
  }
  return out;
}

// Soft enough that nothing bent clips.
Sound floatSound() {
  Sound sound = {kRate, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, noise(20000)};
  for (double& sample : sound.samples)
    sample *= 0.125;
  return sound;
}

} // namespace

TEST_CASE("lv2apply, which runs one sample at a time") {
  const TemporaryDirectory work;
  const Sound in = floatSound();
  writeSound(work.path("in.wav"), in);
  const Knobs knobs = {1.0f, 1.0f, 5.0f, 0.4f, 0.3f};
  const auto result = runCommand("lv2apply -i '" + work.path("in.wav") + "' -o '" + work.path("out.wav") +
                                 "' -c mode 1 -c color 5 -c tone 0.4 -c pedal 0.3 urn:treadshift:pedal");
  INFO(result.text);
  CHECK(result.status == 0);
  const Sound out = readSound(work.path("out.wav"));
  const auto expected = throughModule(knobs, in.samples, 1);
  CHECK(out.samples == std::vector<double>(expected.begin(), expected.end()));
}

TEST_CASE("lv2apply with the pedal switched off copies the sound") {
  const TemporaryDirectory work;
  const Sound in = floatSound();
  writeSound(work.path("in.wav"), in);
  const auto result = runCommand("lv2apply -i '" + work.path("in.wav") + "' -o '" + work.path("out.wav") +
                                 "' -c enabled 0 urn:treadshift:pedal");
  CHECK(result.status == 0);
  CHECK(readSound(work.path("out.wav")).samples == in.samples);
}

TEST_CASE("lv2file with a preset") {
  // The preset is the octave up alone at tone 0.8; blocks of 512.
  const TemporaryDirectory work;
  const Sound in = floatSound();
  writeSound(work.path("in.wav"), in);
  const Knobs knobs = {1.0f, 0.0f, 2.0f, 0.8f, 0.6f};
  const auto result = runCommand("lv2file -i '" + work.path("in.wav") + "' -o '" + work.path("out.wav") +
                                 "' -b 512 -P 'Octave climb' -p pedal:0.6 urn:treadshift:pedal");
  INFO(result.text);
  CHECK(result.status == 0);
  const Sound out = readSound(work.path("out.wav"));
  const auto expected = throughModule(knobs, in.samples, 512);
  CHECK(out.samples == std::vector<double>(expected.begin(), expected.end()));
}
