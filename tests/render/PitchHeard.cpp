// The pitch in the rendered file against what was asked for, and the same sound from every way to ask.
#include "MidiBytes.h"
#include "Program.h"
#include "SoundFiles.h"

#include <cmath>
#include <doctest/doctest.h>
#include <numbers>

namespace {

constexpr int kToneRateHz = 48000;

// Half a sweep of the effect's two taps, floor(0.065535 * 48000) = 3145 samples, holds 14 periods of this
// tone, so that the taps sound in phase and their crossfade pulls no pitch.
constexpr double kToneHz = 14.0 * kToneRateHz / (3145.0 / 2.0);

// The pedal goes through a one-pole low-pass of 5 Hz: a straight line comes out later by its time constant.
constexpr double kPedalLagSeconds = 1.0 / (2.0 * std::numbers::pi * 5.0);

constexpr double kAllowedCents = 6.0; // a splice of the taps falls on whole samples: 2 of 48000 Hz in 60 ms

void writeTone(double seconds) {
  Sound sound = {kToneRateHz, 1, kWavDouble,
                 std::vector<double>(static_cast<std::size_t>(seconds * kToneRateHz))};
  for (std::size_t i = 0; i < sound.samples.size(); ++i)
    sound.samples[i] =
        0.5 * std::sin(2.0 * std::numbers::pi * kToneHz / kToneRateHz * static_cast<double>(i));
  writeSound("in.wav", sound);
}

std::vector<double> rendered(const std::string& options) {
  CAPTURE(options);
  const Outcome outcome = render("in.wav out.wav -q --no-tags -y " + options);
  REQUIRE(outcome.err == "");
  REQUIRE(outcome.status == 0);
  return samplesOf("out.wav");
}

// Cents above the tone, by the rising zero crossings around a time; over 60 ms the pitch of a straight pedal
// is to second order that of the middle.
double centsHeard(const std::vector<double>& samples, double seconds) {
  constexpr double kHalfWindowSeconds = 0.03;
  const auto from = static_cast<std::size_t>((seconds - kHalfWindowSeconds) * kToneRateHz);
  const auto to = static_cast<std::size_t>((seconds + kHalfWindowSeconds) * kToneRateHz);
  double first = 0.0, last = 0.0;
  int crossings = 0;
  for (std::size_t i = from; i < to; ++i) {
    if (!(samples[i - 1] < 0.0 && samples[i] >= 0.0)) continue;
    last = static_cast<double>(i) - samples[i] / (samples[i] - samples[i - 1]);
    if (crossings++ == 0) first = last;
  }
  return 1200.0 * std::log2((crossings - 1) * kToneRateHz / (last - first) / kToneHz);
}

} // namespace

TEST_CASE(
    "an interval or a held pedal is heard as it is asked for, a quarter of a second after each corner") {
  const Workspace work;
  writeTone(4.0);
  struct Row {
    const char* options;
    double seconds, cents;
  };
  for (const Row& row : {
           Row{"--color five-octaves-down --pedal 1", 1.5, 1200.0},
           {"--color two-octaves-down --pedal 0.5 --block 1", 1.5, -1200.0},
           {"--color octave-up --pedal 0:0,1:0,3:1 --block 1000", 2.5, 900.0 - 600.0 * kPedalLagSeconds},
           {"--interval +7st", 1.5, 700.0},
           {"--interval -5st", 1.5, -500.0},
           {"--interval -700c --color two-octaves-down", 1.5, -700.0},
           {"--interval 0:+7st,2:+7st,2:+3st", 3.0, 300.0},
           {"--interval steps:2:0-+7st", 3.5, 700.0},
           {"--interval 0:-12st,4:-4st", 2.0, -800.0 - 200.0 * kPedalLagSeconds},
       }) {
    CAPTURE(row.options);
    const double heard = centsHeard(rendered(row.options), row.seconds);
    CAPTURE(heard);
    CHECK(std::abs(heard - row.cents) < kAllowedCents);
  }
}

TEST_CASE("every way to draw a pedal makes the same sound, sample for sample") {
  const Workspace work;
  writeTone(1.6);
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
    const auto samples = rendered(row.options);
    CHECK((samples == rendered(row.same)));
    CHECK((samples != rendered("")));
  }
}

TEST_CASE("the colour that was found for an interval is told, one that is given is not") {
  const Workspace work;
  writeTone(0.5);
  CHECK(render("in.wav out.wav --interval +7st").err ==
        "treadshift-render: --interval: in colour 2, octave-up (bent alone); --color takes another\n");
  CHECK(render("in.wav out.wav --interval +7st --color 2").err == "");
}
