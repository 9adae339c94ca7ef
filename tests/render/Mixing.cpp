// What the call asks to be done behind the pedal: the bent sound alone, the recording beside it, the delay
// taken back, a part of it all, and the tail.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>

namespace {

using Samples = std::vector<double>;

constexpr int kRateHz = 44100;
constexpr double kFarBelow = 1e-12; // -240 dB: some roundings of numbers below 1

// Everything moves: the dry sound's gain is the pedal's way in colour 0, what is left of it in 6, 0 in 2, 1
// in 4.
const std::string kMoves =
    "--pedal 0:0,0.3:1,0.6:0.2 --color 0:0,0.15:6,0.35:2,0.5:4,0.52:0 --on 0:1,0.25:0,0.42:1 ";

Samples rendered(const Samples& in, const std::string& options, const std::string& notice = "") {
  return rendered(Sound{kRateHz, 1, kWavDouble, in}, options, notice).samples;
}

double peakOf(const Samples& samples) { return largestDifference(samples, Samples(samples.size())); }

Samples plus(Samples left, const Samples& right, double gain) {
  for (std::size_t i = 0; i < left.size(); ++i)
    left[i] += gain * right[i];
  return left;
}

Samples part(const Samples& samples, std::size_t first, std::size_t last) {
  return Samples(samples.begin() + static_cast<std::ptrdiff_t>(first),
                 samples.begin() + static_cast<std::ptrdiff_t>(last));
}

} // namespace

TEST_CASE("the bent sound alone is what is left of bursts when they are over") {
  // No bent sound comes within 5 ms, 220 samples, and none later than 71 ms; so of a burst of 200 samples
  // every 12000 all that sounds during it is dry, and all that follows it is bent. Bursts that begin 200
  // samples later each time make up the whole recording, and their bent sounds, by the effect's linearity,
  // its own.
  const Workspace work;
  constexpr std::size_t kBurst = 200, kApart = 12000, kFrames = 36000;
  const Samples in = noise(kFrames);
  Samples expected(kFrames);
  const auto inComb = [](std::size_t i, std::size_t comb) { return i % kApart / kBurst == comb; };
  for (std::size_t comb = 0; comb < kApart / kBurst; ++comb) {
    Samples bursts = in;
    for (std::size_t i = 0; i < kFrames; ++i)
      bursts[i] *= inComb(i, comb) ? 1.0 : 0.0;
    writeSound("comb" + std::to_string(comb) + ".wav", {kRateHz, 1, kWavDouble, bursts});
  }
  REQUIRE(render("comb*.wav --out-dir bent " + kMoves).status == 0);
  for (std::size_t comb = 0; comb < kApart / kBurst; ++comb) {
    const Samples out = samplesOf("bent/comb" + std::to_string(comb) + ".wav");
    for (std::size_t i = 0; i < kFrames; ++i)
      expected[i] += inComb(i, comb) ? 0.0 : out[i];
  }
  CHECK(peakOf(expected) > 0.3);
  CHECK(largestDifference(rendered(in, kMoves + "--wet"), expected) < kFarBelow);
  // The dry sound is loud in what the pedal puts out itself.
  CHECK(largestDifference(rendered(in, kMoves), expected) > 0.3);
  CHECK(peakOf(rendered(in, "--on off --wet")) == 0.0);
}

TEST_CASE("bent and dry sound add up to what a colour makes of both") {
  const Workspace work;
  const Samples in = noise(20000);
  for (const std::string color : {"1", "4", "5", "7"}) {
    const std::string moves = "--pedal 0:0,0.3:1 --color " + color;
    CHECK(largestDifference(rendered(in, moves + " --wet --dry-gain 0"), rendered(in, moves)) < kFarBelow);
  }
}

TEST_CASE("the recording stands beside the output as loud as it is asked for, in each channel") {
  const Workspace work;
  const Samples in = noise(20000);
  const Samples plain = rendered(in, kMoves);
  CHECK(largestDifference(rendered(in, kMoves + "--dry-gain -20"), plus(plain, in, 0.1)) < kFarBelow);
  CHECK(largestDifference(rendered(in, kMoves + "--dry-gain 20"), plus(plain, in, 10.0)) < kFarBelow);
  const Sound stereo = {kRateHz, 2, kWavDouble, noise(20000)};
  writeSound("two.wav", stereo);
  REQUIRE(render("two.wav mixed.wav --wet --dry-gain -20 " + kMoves).status == 0);
  for (int channel : {0, 1})
    CHECK(largestDifference(readSound("mixed.wav").channel(channel),
                            rendered(stereo.channel(channel), kMoves + "--wet --dry-gain -20")) < kFarBelow);
}

TEST_CASE("a part sounds as it does in the whole, whatever the blocks") {
  const Workspace work;
  const Samples in = noise(60000);
  struct Row {
    const char* options;
    std::size_t first, last; // 0.1 s are frame 4410, 0:01.05 frame 46305
  };
  for (const std::string block : {"64", "37", "20000"}) {
    const std::string options = kMoves + "--block " + block;
    const Samples whole = rendered(in, options);
    for (const Row& row : {
             Row{" --from 0.1 --to 0:01.05", 4410, 46305},
             {" --to 0:0:0.1", 0, 4410},
             {" --from 1", 44100, 60000},
             {" --from 1.3605 --to 9", 59998, 60000}, // frame 59999 is at 1.36052 s and a little
             {" --from 0.1 --to 0.10002", 4410, 4411},
         })
      CHECK(rendered(in, options + row.options) == part(whole, row.first, row.last));
  }
  CHECK(work.names() == Names{"in.wav", "out.wav"});
}

TEST_CASE("the peak of a part counts for it alone") {
  const Workspace work;
  Samples in(44100, 0.125);
  in[10] = 0.5;
  CHECK(rendered(in, "--on off --from 0.5 --normalize") == Samples(22050, 1.0));
}

TEST_CASE("aligned, the output is earlier by the delay that is told, and keeps its length") {
  const Workspace work;
  const Samples in = noise(30000);
  const std::string moves = "--color 2 --pedal 0:0,0.5:1 ";
  const Samples late = rendered(in, moves + "--tail 0.1");
  REQUIRE(late.size() == 34410);
  const Samples aligned = rendered(in, moves + "--align", " ms towards its start, the delay of the ");
  REQUIRE(aligned.size() == in.size());
  // The delay is told in whole milliseconds, and lies between 5 and 71.
  const Outcome told = render("in.wav out.wav --align " + moves);
  const int milliseconds = std::stoi(told.err.substr(told.err.find(": shifted ") + 10));
  CHECK(milliseconds > 5);
  CHECK(milliseconds < 71);
  int shift = -1;
  for (int frames = (milliseconds - 1) * 44; frames < (milliseconds + 1) * 45; ++frames)
    if (std::equal(late.begin() + frames, late.begin() + frames + 28000, aligned.begin())) shift = frames;
  REQUIRE(shift > 0);
  CHECK(std::lround(shift / 44.1) == milliseconds);
  CHECK(largestDifference(part(late, shift, shift + 30000), aligned) < kFarBelow);
  // The recording that is added stays where it is, and the part is one of the aligned output.
  CHECK(largestDifference(rendered(in, moves + "--align --dry-gain 0", "shifted"), plus(aligned, in, 1.0)) <
        kFarBelow);
  CHECK(rendered(in, moves + "--align --from 0.1 --to 0.3", "shifted") == part(aligned, 4410, 13230));
}

TEST_CASE("a bent sound that the end cuts off is told in one line with the remedy") {
  const Workspace work;
  const auto told = [&](const Samples& in, const std::string& options) {
    writeSound("in.wav", {kRateHz, 1, kWavDouble, in});
    const Outcome outcome = render("in.wav out.wav " + options);
    CHECK(outcome.status == 0);
    return outcome.cutTails;
  };
  // What an output with a tail has behind the recording's end: the time of its last sample above -60 dB.
  const std::string up = "--color 2 --pedal 1 ";
  const Samples in = noise(30000);
  Samples tail = part(rendered(in, up + "--tail 0.1"), 30000, 34410);
  const double peak = peakOf(tail);
  while (std::abs(tail.back()) <= 0.001)
    tail.pop_back();
  CHECK(told(in, up) == "treadshift-render: output 'out.wav': " +
                            std::to_string(std::lround(static_cast<double>(tail.size()) / 44.1)) +
                            " ms of bent sound up to " +
                            std::to_string(std::lround(20.0 * std::log10(peak))) +
                            " dB are cut off at the recording's end; --tail 0.1 keeps them\n");
  CHECK(tail.size() > 44 * 30);
  // Not where nothing is lost, or where it was chosen.
  Samples faded = in;
  std::fill(faded.end() - 5000, faded.end(), 0.0);
  CHECK(told(faded, up) == "");
  CHECK(told(in, "--on off") == "");
  for (const char* choice : {"--tail 0", "--tail 0.1", "--to 0.2", "--gain -70", "-q"})
    CHECK(told(in, up + choice) == "");
  // ... and where quiet sound is made loud.
  const Samples quiet = plus(Samples(30000), in, 0.001);
  CHECK(told(quiet, up) == "");
  CHECK(told(quiet, up + "--normalize") != "");
}
