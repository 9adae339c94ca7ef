// What the program writes is what the module gives a host that drives it block by block, however it is asked.
#include "MidiBytes.h"
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

// In the format of the input.
std::vector<double> samplesRendered(const Sound& sound, const std::string& options) {
  const Sound out = rendered(sound, options);
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
  CHECK(samplesRendered(in, "") == drive(in.samples, 44100, 64, {}));
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
    CHECK(samplesRendered(in, kCourseOptions + "--block " + std::to_string(row.block)) ==
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
  const Sound out = {44100, kChannels, in.format, samplesRendered(in, kCourseOptions)};
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
  CHECK(samplesRendered(in, kCourseOptions + "--tail 0.25") == expected);
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
  CHECK(samplesRendered({44100, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, noise(8000)}, kCourseOptions) == floats);

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

TEST_CASE("every way to draw a pedal makes the same sound, sample for sample") {
  const Workspace work;
  const Sound in = {48000, 1, kWavDouble, noise(76800)};
  writeBytes("take.csv", "time,value\r\n0,0\r\n0.5,1 # toe\r\n1.25,0\r\n1.5,1\r\n");
  // 480 ticks a quarter: half a second each up to tick 480, then 1 s for 0.75 of one, then 0.5 s for half.
  writeBytes("take.mid", midiFile(1, 480,
                                  {midiTrack({tempo(480, 1000000)}),
                                   midiTrack({controller(0, 11, 0), controller(480, 11, 127),
                                              controller(360, 11, 0), controller(120, 11, 127)})}));
  writeBytes("mine.conf", "[mine]\ncolor = 3\ntone = 0.25\nmode = bass\npedal = 0.5\n");
  const std::string points = "0:0,0.5:1,1.25:0,1.5:1";
  struct Row {
    std::string options, same;
  };
  for (const Row& row : {
           Row{"--pedal take.csv", "--pedal " + points},
           {"--pedal take.mid", "--pedal " + points},
           {"--tone take.csv", "--tone " + points},
           {"--tone take.mid", "--tone " + points},
           {"--interval 0:0,0.5:+6st,0.5:+1200c", "--color 2 --pedal 0:0,0.5:0.5,0.5:1"},
           {"--pedal triangle:0.5:0.25-0.75 --block 1000",
            "--pedal 0:0.25,0.25:0.75,0.5:0.25,0.75:0.75,1:0.25,1.25:0.75,1.5:0.25,1.75:0.75 --block 1000"},
           {"--pedal steps:0.8:0-1", "--pedal 0:0,0.4:0,0.4:1,0.8:1,0.8:0,1.2:0,1.2:1"},
           {"--load-preset mine.conf", "--color 3 --tone 0.25 --mode bass --pedal 0.5"},
           {"--preset 'Octave climb' --pedal 0.5", "--color octave-up --tone 0.8 --mode guitar --pedal 0.5"},
       }) {
    CAPTURE(row.options);
    const auto samples = rendered(in, row.options + " -q --no-tags -y").samples;
    CHECK((samples == rendered(in, row.same + " -q --no-tags -y").samples));
    CHECK((samples != rendered(in, "-q --no-tags -y").samples));
  }
}

TEST_CASE("the colour that was found for an interval is told, one that is given is not") {
  const Workspace work;
  writeTake("in.wav", 4000);
  CHECK(render("in.wav out.wav --interval +7st").err ==
        "treadshift-render: --interval: in colour 2, octave-up (bent alone); --color takes another\n");
  CHECK(render("in.wav out.wav --interval +7st --color 2").err == "");
}
