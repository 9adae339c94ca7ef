// Two programs that nobody here wrote run recordings through the bundle, and write what the module gives.
#include "Commands.h"
#include "LoadedBundle.h"
#include "tests/render/SoundFiles.h"

#include <doctest/doctest.h>

namespace {

constexpr int kRate = 44100;

// Soft enough that nothing bent clips.
Sound softNoise() {
  Sound sound = {kRate, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, noise(20000)};
  for (double& sample : sound.samples)
    sample *= 0.125;
  return sound;
}

} // namespace

TEST_CASE("lv2apply, which runs one sample at a time, and lv2file with a preset and blocks of 512") {
  struct Row {
    const char *start, *end;
    Knobs knobs;
    std::size_t block;
  };
  const Row rows[] = {
      {"lv2apply", "-c mode 1 -c color 5 -c tone 0.4 -c pedal 0.3", {1.0f, 1.0f, 5.0f, 0.4f, 0.3f}, 1},
      {"lv2file -b 512 -P 'Octave climb' -p pedal:0.6", "", {1.0f, 0.0f, 2.0f, 0.8f, 0.6f}, 512}};
  const Sound in = softNoise();
  for (const Row& row : rows) {
    CAPTURE(row.start);
    const TemporaryDirectory work;
    writeSound(work.path("in.wav"), in);
    const auto result = runCommand(std::string(row.start) + " -i '" + work.path("in.wav") + "' -o '" +
                                   work.path("out.wav") + "' " + row.end + " urn:treadshift:pedal");
    INFO(result.text);
    CHECK(result.status == 0);
    const std::vector<float> narrow(in.samples.begin(), in.samples.end());
    const auto expected = ModuleBeside(kRate).run(row.knobs, narrow, row.block);
    CHECK(readSound(work.path("out.wav")).samples == std::vector<double>(expected.begin(), expected.end()));
  }
}
