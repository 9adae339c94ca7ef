// The pitch in the rendered file against the drawn pedal, and the same sound from every way to draw it.
#include "MidiBytes.h"
#include "Program.h"
#include "SoundFiles.h"
#include "render/course/Colors.h"

#include <cmath>
#include <doctest/doctest.h>
#include <numbers>

namespace {

constexpr int kRateHz = 48000;

// Half a sweep of the effect's two taps, floor(0.065535 * 48000) = 3145 samples, holds 14 periods of this
// tone, so that the taps sound in phase and their crossfade pulls no pitch.
constexpr double kToneHz = 14.0 * kRateHz / (3145.0 / 2.0);

// The pedal goes through a one-pole low-pass of 5 Hz: a straight line comes out later by its time constant.
constexpr double kPedalLagSeconds = 1.0 / (2.0 * std::numbers::pi * 5.0);

Sound tone(double seconds) {
  Sound sound = {kRateHz, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE,
                 std::vector<double>(static_cast<std::size_t>(seconds * kRateHz))};
  for (std::size_t i = 0; i < sound.samples.size(); ++i)
    sound.samples[i] = 0.5 * std::sin(2.0 * std::numbers::pi * kToneHz / kRateHz * static_cast<double>(i));
  return sound;
}

std::string renderedBytes(const Workspace& work, const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {work.path("in.wav"), work.path("out.wav"), "-q"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const Outcome outcome = render(arguments);
  REQUIRE(outcome.err == "");
  REQUIRE(outcome.status == 0);
  return fileBytes(work.path("out.wav"));
}

std::vector<double> rendered(const Workspace& work, const std::vector<std::string>& options) {
  renderedBytes(work, options);
  return readSound(work.path("out.wav")).samples;
}

// Cents above the tone, by the rising zero crossings around a time; over 60 ms the pitch of a straight pedal
// is to second order that of the middle.
double centsHeard(const std::vector<double>& samples, double seconds) {
  constexpr double kHalfWindowSeconds = 0.03;
  const auto from = static_cast<std::size_t>((seconds - kHalfWindowSeconds) * kRateHz);
  const auto to = static_cast<std::size_t>((seconds + kHalfWindowSeconds) * kRateHz);
  double first = 0.0, last = 0.0;
  int crossings = 0;
  for (std::size_t i = from; i < to; ++i) {
    if (!(samples[i - 1] < 0.0 && samples[i] >= 0.0)) continue;
    last = static_cast<double>(i) - samples[i] / (samples[i] - samples[i - 1]);
    if (crossings++ == 0) first = last;
  }
  return 1200.0 * std::log2((crossings - 1) * kRateHz / (last - first) / kToneHz);
}

} // namespace

TEST_CASE("the pitch heard follows the drawn pedal") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(5.0));
  constexpr double kAllowedCents = 6.0; // a splice of the taps falls on whole samples: 2 of 48000 Hz in 60 ms
  // Held to 1 s, to the toe at 3 s, held to 4 s, half way back at 5 s. Judged a quarter of a second after
  // each corner, when the low-pass has followed to within exp(-8). Up to 1.7 s the upward colour has not yet
  // finished its first sweep, in which a tap that stood still has no later sound to read.
  const auto pedalAt = [](double seconds) {
    if (seconds < 1.0) return 0.0;
    if (seconds < 3.0) return (seconds - 1.0) / 2.0;
    return seconds < 4.0 ? 1.0 : 1.0 - (seconds - 4.0) / 2.0;
  };
  for (int color : {2, 3}) {
    for (const std::string block : {"1", "64", "1000"}) {
      const auto samples = rendered(
          work, {"--color", std::to_string(color), "--block", block, "--pedal", "0:0,1:0,3:1,4:1,5:0.5"});
      for (double seconds : {0.5, 0.9, 1.7, 2.1, 2.5, 2.9, 3.3, 3.9, 4.3, 4.6, 4.9}) {
        CAPTURE(color);
        CAPTURE(block);
        CAPTURE(seconds);
        const double heard = centsHeard(samples, seconds);
        const double drawn = centsAt(color, pedalAt(seconds - kPedalLagSeconds));
        CAPTURE(heard);
        CAPTURE(drawn);
        CHECK(std::abs(heard - drawn) < kAllowedCents);
      }
    }
  }
}

TEST_CASE("a held pedal in every colour without dry sound has the listed interval") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(2.0));
  struct Row {
    std::vector<std::string> options;
    double cents;
  };
  const std::vector<Row> rows = {{{"--color", "octave-up", "--pedal", "1"}, 1200.0},
                                 {{"--color", "octave-up", "--pedal", "0.25"}, 300.0},
                                 {{"--color", "two-octaves-down", "--pedal", "0.5"}, -1200.0},
                                 {{"--color", "two-octaves-down", "--pedal", "1"}, -2400.0},
                                 {{"--color", "five-octaves-down", "--pedal", "1"}, 1200.0}};
  for (const Row& row : rows) {
    CAPTURE(row.options);
    CHECK(std::abs(centsHeard(rendered(work, row.options), 1.5) - row.cents) < 6.0);
  }
}

TEST_CASE("an interval is heard as it is asked for, in every colour that sounds alone or in the one found") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(4.0));
  struct Row {
    std::vector<std::string> options;
    double seconds, cents; // a quarter of a second or more after each corner
  };
  const std::vector<Row> rows = {
      {{"--interval", "+7st"}, 1.5, 700.0},
      {{"--interval", "-5st"}, 1.5, -500.0},
      {{"--interval", "+50c"}, 1.5, 50.0},
      {{"--interval", "-700c", "--color", "two-octaves-down"}, 1.5, -700.0},
      {{"--interval", "0:+7st,2:+7st,2:+3st"}, 3.0, 300.0},
      {{"--interval", "steps:2:0-+7st"}, 3.5, 700.0},
      {{"--interval", "0:-12st,4:-4st"}, 2.0, -800.0 - 200.0 * kPedalLagSeconds},
  };
  for (const Row& row : rows) {
    CAPTURE(row.options);
    const double heard = centsHeard(rendered(work, row.options), row.seconds);
    CAPTURE(heard);
    CHECK(std::abs(heard - row.cents) < 6.0);
  }
}

TEST_CASE("an interval is the pedal that stands for it, byte for byte, and the colour found is told") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(1.0));
  const std::string byInterval = renderedBytes(work, {"--interval", "0:0,0.5:+6st,0.5:+1200c"});
  CHECK((byInterval == renderedBytes(work, {"--color", "2", "--pedal", "0:0,0.5:0.5,0.5:1"})));
  const std::string in = work.path("in.wav"), out = work.path("out.wav");
  CHECK(render({in, out, "--interval", "+7st"}).err ==
        "treadshift-render: --interval: in colour 2, octave-up (bent alone); --color takes another\n");
  CHECK(render({in, out, "--interval", "+7st", "--color", "2"}).err == "");
}

TEST_CASE("a shape sounds as its points, byte for byte, in blocks of any size") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(1.0));
  struct Row {
    const char *shape, *points;
  };
  for (const Row& row : {Row{"triangle:0.5:0.25-0.75", "0:0.25,0.25:0.75,0.5:0.25,0.75:0.75,1:0.25"},
                         {"steps:0.75:0-1-0.5", "0:0,0.25:0,0.25:1,0.5:1,0.5:0.5,0.75:0.5,0.75:0,1:0"}}) {
    for (const char* block : {"1", "64", "1000"}) {
      CAPTURE(row.shape);
      CAPTURE(block);
      const auto with = [&](const char* pedal) {
        return renderedBytes(work, {"--color", "2", "--block", block, "--pedal", pedal, "--no-tags", "-y"});
      };
      CHECK((with(row.shape) == with(row.points)));
    }
  }
}

TEST_CASE("points, CSV and MIDI draw the same sound, byte for byte") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(2.0));
  writeBytes(work.path("take.csv"), "time,value\r\n0,0\r\n0.5,1 # toe\r\n1.25,0\r\n1.5,1\r\n");
  // 480 ticks a quarter: half a second each up to tick 480, then 1 s for 0.75 of one, then 0.5 s for half.
  writeBytes(work.path("take.mid"),
             midiFile(1, 480,
                      {midiTrack({tempo(480, 1000000)}),
                       midiTrack({controller(0, 11, 0), controller(480, 11, 127), controller(360, 11, 0),
                                  controller(120, 11, 127)})}));
  const std::vector<std::string> color = {"--color", "octave-up"};
  const auto with = [&](std::vector<std::string> options) {
    options.insert(options.end(), color.begin(), color.end());
    return renderedBytes(work, options);
  };
  const std::string points = "0:0,0.5:1,1.25:0,1.5:1";
  const std::string pedal = with({"--pedal", points});
  CHECK(pedal != with({"--pedal", "0"}));
  CHECK((pedal == with({"--pedal", work.path("take.csv")})));
  CHECK((pedal == with({"--pedal", work.path("take.mid")})));
  const std::string tone = with({"--tone", points});
  CHECK((tone != pedal));
  CHECK((tone == with({"--tone", work.path("take.csv")})));
  CHECK((tone == with({"--tone", work.path("take.mid")})));
}

TEST_CASE("a preset sounds as its values typed one by one") {
  const Workspace work;
  writeSound(work.path("in.wav"), tone(1.0));
  writeBytes(work.path("mine.conf"), "[mine]\ncolor = 3\ntone = 0.25\nmode = bass\npedal = 0.5\n");
  const std::string typed =
      renderedBytes(work, {"--color", "3", "--tone", "0.25", "--mode", "bass", "--pedal", "0.5"});
  CHECK((renderedBytes(work, {"--load-preset", work.path("mine.conf")}) == typed));
  CHECK((renderedBytes(work, {"--load-preset", work.path("mine.conf"), "--tone", "0.5"}) != typed));
  CHECK(
      (renderedBytes(work, {"--preset", "Octave climb", "--pedal", "0.5"}) ==
       renderedBytes(work, {"--color", "octave-up", "--tone", "0.8", "--mode", "guitar", "--pedal", "0.5"})));
}
