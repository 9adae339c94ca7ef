// What the call asks to be done behind the pedal: the bent sound alone, the recording beside it, the delay
// taken back, a part of it all, and the tail.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <string>

namespace {

using Words = std::vector<std::string>;
using Samples = std::vector<double>;

constexpr int kDoubleWav = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
constexpr int kRateHz = 44100;
constexpr double kFarBelow = 1e-12; // -240 dB: some roundings of numbers below 1

// Everything moves: the dry sound's gain is the pedal's way in colour 0, what is left of it in 6, 0 in 2, 1
// in 4.
const Words kMoves = {"--pedal", "0:0,0.3:1,0.6:0.2", "--color", "0:0,0.15:6,0.35:2,0.5:4,0.52:0",
                      "--on",    "0:1,0.25:0,0.42:1"};

Samples rendered(const Workspace& work, const Samples& in, const Words& options,
                 const std::string& notice = "") {
  writeSound(work.path("in.wav"), {kRateHz, 1, kDoubleWav, in});
  Words words = {work.path("in.wav"), work.path("out.wav")};
  words.insert(words.end(), options.begin(), options.end());
  const Outcome outcome = render(words);
  CAPTURE(outcome.err);
  REQUIRE(outcome.status == 0);
  CHECK((notice.empty() ? outcome.err.empty() : holds(outcome.err, notice)));
  return readSound(work.path("out.wav")).samples;
}

Words with(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

double largestDifference(const Samples& left, const Samples& right) {
  if (left.size() != right.size()) return std::numeric_limits<double>::infinity();
  double largest = 0.0;
  for (std::size_t i = 0; i < left.size(); ++i)
    largest = std::max(largest, std::abs(left[i] - right[i]));
  return largest;
}

double peakOf(const Samples& samples) {
  double peak = 0.0;
  for (double sample : samples)
    peak = std::max(peak, std::abs(sample));
  return peak;
}

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
  Words combs;
  const auto inComb = [](std::size_t i, std::size_t comb) { return i % kApart / kBurst == comb; };
  for (std::size_t comb = 0; comb < kApart / kBurst; ++comb) {
    Samples bursts = in;
    for (std::size_t i = 0; i < kFrames; ++i)
      bursts[i] *= inComb(i, comb) ? 1.0 : 0.0;
    combs.push_back(work.path("comb" + std::to_string(comb) + ".wav"));
    writeSound(combs.back(), {kRateHz, 1, kDoubleWav, bursts});
  }
  REQUIRE(render(with(with(combs, kMoves), {"--out-dir", work.path("bent")})).status == 0);
  for (std::size_t comb = 0; comb < combs.size(); ++comb) {
    const Samples out = readSound(work.path("bent/comb" + std::to_string(comb) + ".wav")).samples;
    for (std::size_t i = 0; i < kFrames; ++i)
      expected[i] += inComb(i, comb) ? 0.0 : out[i];
  }
  CHECK(peakOf(expected) > 0.3);
  const Samples wet = rendered(work, in, with(kMoves, {"--wet"}));
  CHECK(largestDifference(wet, expected) < kFarBelow);
  // The dry sound is loud in what the pedal puts out itself.
  CHECK(largestDifference(rendered(work, in, kMoves), expected) > 0.3);
  CHECK(peakOf(rendered(work, in, {"--on", "off", "--wet"})) == 0.0);
}

TEST_CASE("bent and dry sound add up to what a colour makes of both") {
  const Workspace work;
  const Samples in = noise(20000);
  for (const char* color : {"1", "4", "5", "7"}) {
    CAPTURE(color);
    const Words moves = {"--color", color, "--pedal", "0:0,0.3:1"};
    CHECK(largestDifference(rendered(work, in, with(moves, {"--wet", "--dry-gain", "0"})),
                            rendered(work, in, moves)) < kFarBelow);
  }
}

TEST_CASE("the recording stands beside the output as loud as it is asked for, in each channel") {
  const Workspace work;
  const Samples in = noise(20000);
  const Samples plain = rendered(work, in, kMoves);
  CHECK(largestDifference(rendered(work, in, with(kMoves, {"--dry-gain", "-20"})), plus(plain, in, 0.1)) <
        kFarBelow);
  CHECK(largestDifference(rendered(work, in, with(kMoves, {"--dry-gain", "20"})), plus(plain, in, 10.0)) <
        kFarBelow);
  const Sound stereo = {kRateHz, 2, kDoubleWav, noise(20000)};
  writeSound(work.path("two.wav"), stereo);
  REQUIRE(render(with({work.path("two.wav"), work.path("mixed.wav")},
                      with(kMoves, {"--wet", "--dry-gain", "-20"})))
              .status == 0);
  for (int channel : {0, 1})
    CHECK(largestDifference(readSound(work.path("mixed.wav")).channel(channel),
                            rendered(work, stereo.channel(channel),
                                     with(kMoves, {"--wet", "--dry-gain", "-20"}))) < kFarBelow);
}

TEST_CASE("a part sounds as it does in the whole, whatever the blocks") {
  const Workspace work;
  const Samples in = noise(60000);
  for (const char* block : {"64", "37", "20000"}) {
    CAPTURE(block);
    const Words options = with(kMoves, {"--block", block});
    const Samples whole = rendered(work, in, options);
    // 0.1 s are frame 4410, 0:01.05 frame 46305; 59999 is the last frame, at 1.36052 s and a little.
    CHECK(rendered(work, in, with(options, {"--from", "0.1", "--to", "0:01.05"})) ==
          part(whole, 4410, 46305));
    CHECK(rendered(work, in, with(options, {"--to", "0:0:0.1"})) == part(whole, 0, 4410));
    CHECK(rendered(work, in, with(options, {"--from", "1"})) == part(whole, 44100, 60000));
    CHECK(rendered(work, in, with(options, {"--from", "1.3605", "--to", "9"})) == part(whole, 59998, 60000));
    CHECK(rendered(work, in, with(options, {"--from", "0.1", "--to", "0.10002"})) == part(whole, 4410, 4411));
  }
  CHECK(work.names() == Words{"in.wav", "out.wav"});
}

TEST_CASE("the peak of a part counts for it alone") {
  const Workspace work;
  Samples in(44100, 0.125);
  in[10] = 0.5;
  const Samples out = rendered(work, in, {"--on", "off", "--from", "0.5", "--normalize"});
  CHECK(out == Samples(22050, 1.0));
}

TEST_CASE("aligned, the output is earlier by the delay that is told, and keeps its length") {
  const Workspace work;
  const Samples in = noise(30000);
  const Words moves = {"--color", "2", "--pedal", "0:0,0.5:1"};
  const Samples late = rendered(work, in, with(moves, {"--tail", "0.1"}));
  REQUIRE(late.size() == 34410);
  const Samples aligned =
      rendered(work, in, with(moves, {"--align"}), " ms towards its start, the delay of the ");
  REQUIRE(aligned.size() == in.size());
  // The delay is told in whole milliseconds, and lies between 5 and 71.
  const Outcome told = render(with({work.path("in.wav"), work.path("out.wav"), "--align"}, moves));
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
  CHECK(largestDifference(rendered(work, in, with(moves, {"--align", "--dry-gain", "0"}), "shifted"),
                          plus(aligned, in, 1.0)) < kFarBelow);
  CHECK(rendered(work, in, with(moves, {"--align", "--from", "0.1", "--to", "0.3"}), "shifted") ==
        part(aligned, 4410, 13230));
}

TEST_CASE("a bent sound that the end cuts off is told in one line with the remedy") {
  const Workspace work;
  const auto told = [&](const Samples& in, const Words& options) {
    writeSound(work.path("in.wav"), {kRateHz, 1, kDoubleWav, in});
    const Outcome outcome = render(with({work.path("in.wav"), work.path("out.wav")}, options));
    CHECK(outcome.status == 0);
    return outcome.cutTails;
  };
  // What an output with a tail has behind the recording's end: the time of its last sample above -60 dB.
  const Words up = {"--color", "2", "--pedal", "1"};
  const Samples in = noise(30000);
  Samples tail = part(rendered(work, in, with(up, {"--tail", "0.1"})), 30000, 34410);
  const double peak = peakOf(tail);
  while (std::abs(tail.back()) <= 0.001)
    tail.pop_back();
  const std::string expected = "treadshift-render: output '" + work.path("out.wav") +
                               "': " + std::to_string(std::lround(static_cast<double>(tail.size()) / 44.1)) +
                               " ms of bent sound up to " +
                               std::to_string(std::lround(20.0 * std::log10(peak))) +
                               " dB are cut off at the recording's end; --tail 0.1 keeps them\n";
  CHECK(told(in, up) == expected);
  CHECK(tail.size() > 44 * 30);
  // Not where nothing is lost, or where it was chosen.
  Samples faded = in;
  std::fill(faded.end() - 5000, faded.end(), 0.0);
  CHECK(told(faded, up) == "");
  CHECK(told(in, {"--on", "off"}) == "");
  CHECK(told(in, with(up, {"--tail", "0"})) == "");
  CHECK(told(in, with(up, {"--tail", "0.1"})) == "");
  CHECK(told(in, with(up, {"--to", "0.2"})) == "");
  CHECK(told(in, with(up, {"--gain", "-70"})) == "");
  CHECK(told(in, with(up, {"-q"})) == "");
  // ... and where quiet sound is made loud.
  const Samples quiet = plus(Samples(30000), in, 0.001);
  CHECK(told(quiet, up) == "");
  CHECK(told(quiet, with(up, {"--normalize"})) != "");
}
