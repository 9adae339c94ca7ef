// What the program writes is what the module gives a host that drives it block by block.
#include "Program.h"
#include "SoundFiles.h"
#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <functional>

namespace {

// A parameter as the host moves it: its value 0..1 at a time in seconds.
struct Move {
  int parameter;
  std::function<double(double)> valueAt;
};

// The rule for hosts of this pedal: every block is given the values at its last frame, the first block's are
// there before the rate is told.
std::vector<double> drive(const std::vector<double>& in, int rateHz, int blockFrames,
                          const std::vector<Move>& moves) {
  EffectRunner effect(TREADSHIFT_MODULE);
  const auto move = [&](std::size_t lastFrame) {
    for (const Move& each : moves) {
      effect.setParameter(each.parameter,
                          static_cast<float>(each.valueAt(static_cast<double>(lastFrame) / rateHz)));
    }
  };
  move(blockFrames - 1);
  effect.setSampleRate(static_cast<float>(rateHz));
  effect.setBlockSize(blockFrames);
  effect.resume();
  std::vector<double> out(in.size());
  for (std::size_t start = 0; start < in.size(); start += blockFrames) {
    const std::size_t frames = std::min<std::size_t>(blockFrames, in.size() - start);
    move(start + frames - 1);
    effect.process(in.data() + start, out.data() + start, static_cast<int>(frames));
  }
  return out;
}

std::vector<double> rendered(const Sound& sound, const std::string& options) {
  writeSound("in.wav", sound);
  const Outcome outcome = render("in.wav out.wav " + options);
  REQUIRE(outcome.err == "");
  REQUIRE(outcome.status == 0);
  const Sound out = readSound("out.wav");
  CHECK(out.rateHz == sound.rateHz);
  CHECK(out.channels == sound.channels);
  CHECK(out.format == sound.format);
  return out.samples;
}

Move constant(int parameter, double value) {
  return {parameter, [value](double) { return value; }};
}

// The courses "0:0,0.1:1,0.3:0.25", "0:1,0.25:0", "0:1,0.07:6,0.2:4" and "0:1,0.15:0,0.22:1", written out.
double pedalCourse(double t) {
  if (t >= 0.3) return 0.25;
  if (t >= 0.1) return 1.0 + (0.25 - 1.0) * ((t - 0.1) / (0.3 - 0.1));
  return 0.0 + (1.0 - 0.0) * ((t - 0.0) / (0.1 - 0.0));
}
double toneCourse(double t) { return t >= 0.25 ? 0.0 : 1.0 + (0.0 - 1.0) * ((t - 0.0) / (0.25 - 0.0)); }
double colorCourse(double t) { return t >= 0.2 ? 4.5 / 8 : t >= 0.07 ? 6.5 / 8 : 1.5 / 8; }
double onCourse(double t) { return t >= 0.15 && t < 0.22 ? 0.0 : 1.0; }

const std::vector<Move> kCourses = {{kPedalPos, pedalCourse},
                                    {kTone, toneCourse},
                                    {kColor, colorCourse},
                                    {kOnOff, onCourse},
                                    constant(kMode, 1)};
const std::string kCourseOptions = "--pedal 0:0,0.1:1,0.3:0.25 --tone 0:1,0.25:0 --color 0:1,0.07:6,0.2:4 "
                                   "--on 0:1,0.15:0,0.22:1 --mode bass ";

} // namespace

TEST_CASE("without options the effect keeps its own settings, in blocks of 64") {
  const Workspace work;
  const Sound in = {44100, 1, kWavDouble, noise(10000)};
  CHECK(rendered(in, "") == drive(in.samples, 44100, 64, {}));
}

TEST_CASE("moving parameters at any rate, in blocks of any size, in a sound of any length") {
  const Workspace work;
  struct Row {
    int rateHz, block;
    std::size_t frames;
  };
  for (const Row& row : {
           Row{44100, 1, 15000},  {44100, 2, 15000},     {44100, 64, 15000}, {44100, 1000, 15000},
           {44100, 15000, 15000}, {44100, 20000, 15000}, // one block
           {63, 64, 5000}, // floor(0.016 * 63) = 1: the fades' length, the effect's shortest in samples
           {8000, 64, 5000},      {22050, 64, 5000},     {48000, 64, 5000},  {96000, 64, 5000},
           {192000, 64, 5000},    {44100, 64, 1},        {44100, 64, 2},     {44100, 64, 63},
           {44100, 64, 64},       {44100, 64, 65},       {44100, 64, 4095},  {44100, 64, 4096},
           {44100, 64, 4097},
       }) {
    CAPTURE(row.rateHz);
    CAPTURE(row.block);
    CAPTURE(row.frames);
    const Sound in = {row.rateHz, 1, kWavDouble, noise(row.frames)};
    CHECK(rendered(in, kCourseOptions + "--block " + std::to_string(row.block)) ==
          drive(in.samples, row.rateHz, row.block, kCourses));
  }
}

TEST_CASE("every channel runs through an effect of its own") {
  const Workspace work;
  constexpr int kChannels = 3;
  constexpr std::size_t kFrames = 9000;
  Sound in = {44100, kChannels, kWavDouble, std::vector<double>(kFrames * kChannels)};
  const std::vector<double> sources[kChannels] = {noise(kFrames, 1), std::vector<double>(kFrames),
                                                  noise(kFrames, 2)};
  for (std::size_t i = 0; i < in.samples.size(); ++i)
    in.samples[i] = sources[i % kChannels][i / kChannels];
  const Sound out = {44100, kChannels, in.format, rendered(in, kCourseOptions)};
  for (int channel = 0; channel < kChannels; ++channel)
    CHECK(out.channel(channel) == drive(sources[channel], 44100, 64, kCourses));
  CHECK(out.channel(1) == sources[1]); // silent
}

TEST_CASE("the tail is what the effect makes of silence behind the recording") {
  // A quarter of a second at 44100 Hz: 11025 frames, in which the last 70 ms of the recording come back.
  const Workspace work;
  const Sound in = {44100, 1, kWavDouble, noise(10000)};
  auto padded = in.samples;
  padded.resize(10000 + 11025);
  const auto expected = drive(padded, 44100, 64, kCourses);
  CHECK(rendered(in, kCourseOptions + "--tail 0.25") == expected);
  CHECK(std::any_of(expected.begin() + 10000, expected.end(),
                    [](double sample) { return std::abs(sample) > 0.01; }));
}

TEST_CASE("two dashes end the options, so that names may begin with one") {
  const Workspace work;
  const Sound in = {44100, 1, kWavDouble, noise(5000)};
  writeSound("-x.wav", in);
  CHECK(render("--color 2 -- -x.wav -y.wav").status == 0);
  CHECK(samplesOf("-y.wav") == drive(in.samples, 44100, 64, {constant(kColor, 2.5 / 8)}));
}

TEST_CASE("a file of floats or whole numbers gets the nearest ones") {
  const Workspace work;
  const auto exact = drive(noise(8000), 44100, 64, kCourses);
  auto floats = exact;
  for (double& sample : floats)
    sample = static_cast<float>(sample);
  CHECK(rendered({44100, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, noise(8000)}, kCourseOptions) == floats);

  writeSound("in.wav", {44100, 1, kWav16, noise(8000)});
  REQUIRE(render("in.wav out.wav " + kCourseOptions).status == 0);
  const auto written = readWholeNumbers("out.wav");
  REQUIRE(written.size() == exact.size());
  long wrong = 0;
  for (std::size_t i = 0; i < exact.size(); ++i) {
    const double nearest = std::clamp(exact[i] * 32768.0, -32768.0, 32767.0);
    if (std::abs(written[i] / 65536 - nearest) > 0.5) ++wrong;
  }
  CHECK(wrong == 0);
}
