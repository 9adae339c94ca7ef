// Channels, levels, lengths and sample formats that the call asks for. The effect is switched off wherever
// the exact numbers count: it then hands over every sample as it is.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

using Samples = std::vector<double>;

// The output of a call with the pedal off.
Sound passed(const Sound& in, const std::string& options, const std::string& notice = "") {
  return rendered(in, "--on off " + options, notice);
}

std::vector<int> steps(int bits) {
  auto numbers = readWholeNumbers("out.wav");
  for (int& number : numbers)
    number >>= 32 - bits;
  return numbers;
}

} // namespace

TEST_CASE("the level is what the call asks for") {
  const Workspace work;
  const Samples quiet = {0.25, -0.125, 0.0, 1.0}, half = {0.25, -0.5, 0.125, 0.0}, silence(1000);
  struct Row {
    Samples in;
    const char* options;
    Samples expected;
    double within; // of a sample's value
  };
  for (const Row& row : {
           Row{quiet, "--gain 20", {2.5, -1.25, 0.0, 10.0}, 0.0},
           {quiet, "--gain 0", quiet, 0.0},
           {quiet, "--gain -20", {0.025, -0.0125, 0.0, 0.1}, 1e-14},
           {half, "--normalize", {0.5, -1.0, 0.25, 0.0}, 0.0},
           {half,
            "--normalize --gain -6",
            {0.2505936168, -0.5011872336, 0.1252968084, 0.0},
            1e-9}, // 10^(-6/20)
           {silence, "--normalize", silence, 0.0},
       }) {
    const Samples out = passed({44100, 2, kWavDouble, row.in}, row.options).samples;
    CHECK(largestDifference(out, row.expected) <= row.within);
  }
}

TEST_CASE("normalizing brings the peak to the largest whole number and clips nothing") {
  const Workspace work;
  // The peak, -0.5, becomes -32767; 0.125 becomes 32767 / 4 = 8191.75, which rounds to 8192.
  const Sound in = {44100, 1, kWav16, {0.125, -0.5, 0.0}};
  passed(in, "--normalize");
  CHECK(steps(16) == std::vector<int>{8192, -32767, 0});
  passed(in, "--normalize --bits 24");
  CHECK(steps(24) == std::vector<int>{2097152, -8388607, 0});
}

TEST_CASE("normalizing a long sound streams it through the disk unchanged but for the level") {
  const Workspace work;
  Sound in = {44100, 2, kWavDouble, noise(60000)};
  in.samples[50001] = 0.75;
  const auto out = passed(in, "--normalize").samples;
  REQUIRE(out.size() == in.samples.size());
  double largest = 0.0;
  for (std::size_t i = 0; i < out.size(); ++i)
    largest = std::max(largest, std::abs(out[i] - in.samples[i] / 0.75));
  CHECK(largest < 1e-14);
  CHECK(work.names() == Names{"in.wav", "out.wav"});
}

TEST_CASE("dither of one step keeps the mean of what lies between two steps") {
  // 100.25 steps and triangular noise over -1 to 1 give 99, 100 or 101. The noise is below -0.75 with a
  // chance of 0.25 * 0.25 / 2 = 0.03125 and above 0.25 with 0.75 * 0.75 / 2 = 0.28125. The spread of one
  // sample is half a step, that of the mean of 200000 0.0011 steps; limits are five times that and more.
  const Workspace work;
  constexpr std::size_t kCount = 200000;
  const Sound in = {44100, 1, kWavDouble, Samples(kCount, 100.25 / 32768.0)};
  passed(in, "--bits 16 --dither");
  const auto dithered = steps(16);
  const auto share = [&](int number) {
    return static_cast<double>(std::count(dithered.begin(), dithered.end(), number)) / kCount;
  };
  CHECK(share(99) == doctest::Approx(0.03125).epsilon(0.06));
  CHECK(share(101) == doctest::Approx(0.28125).epsilon(0.02));
  CHECK(share(99) + share(100) + share(101) == 1.0);
  CHECK(std::abs(99.0 * share(99) + 100.0 * share(100) + 101.0 * share(101) - 100.25) < 0.006);

  const std::string first = contentsOf("out.wav");
  passed(in, "--bits 16 --dither");
  CHECK(contentsOf("out.wav") == first);
  passed(in, "--bits 16");
  CHECK(steps(16) == std::vector<int>(kCount, 100));
}

TEST_CASE("dither leaves room for itself when normalizing, and floats alone") {
  const Workspace work;
  const Sound in = {44100, 1, kWavDouble, Samples(5000, -0.5)};
  passed(in, "--normalize --bits 16 --dither");
  const auto numbers = steps(16);
  CHECK(*std::min_element(numbers.begin(), numbers.end()) == -32767);
  CHECK(*std::max_element(numbers.begin(), numbers.end()) == -32765);
  CHECK(passed(in, "--dither", "not dithered").samples == in.samples);
}

TEST_CASE("the tail is silence behind the recording") {
  // 0.01 s at 44100 Hz are 441 frames.
  const Workspace work;
  const Sound in = {44100, 2, kWavDouble, noise(2000)};
  auto expected = in.samples;
  expected.resize(2000 + 2 * 441);
  CHECK(passed(in, "--tail 0.01").samples == expected);
  CHECK(passed(in, "--tail 0").samples == in.samples);
}

TEST_CASE("one channel, or the mean of all") {
  const Workspace work;
  const Sound in = {44100, 2, kWavDouble, noise(8000)};
  const Sound left = {44100, 1, kWavDouble, in.channel(0)};
  Samples mean = in.channel(1);
  for (std::size_t i = 0; i < mean.size(); ++i)
    mean[i] = (left.samples[i] + mean[i]) / 2.0;
  struct Row {
    const Sound& in;
    const char* choice;
    int channels;
    Samples expected;
  };
  for (const Row& row : {
           Row{in, "left", 1, left.samples},
           {in, "right", 1, in.channel(1)},
           {in, "mix", 1, mean},
           {in, "each", 2, in.samples},
           {left, "left", 1, left.samples},
           {left, "mix", 1, left.samples},
       }) {
    const Sound out = passed(row.in, std::string("--channels ") + row.choice);
    CHECK(out.channels == row.channels);
    CHECK(out.samples == row.expected);
  }
  checkRefused(1, "in.wav none.wav --channels right", "input 'in.wav': has one channel only, no right one; ");
}

TEST_CASE("the sample format that is asked for") {
  const Workspace work;
  const Sound in = {44100, 1, kWav16, noise(1000)};
  for (const auto& [bits, format] : {
           std::pair{"16", SF_FORMAT_PCM_16},
           {"24", SF_FORMAT_PCM_24},
           {"32", SF_FORMAT_PCM_32},
           {"float", SF_FORMAT_FLOAT},
           {"double", SF_FORMAT_DOUBLE},
       }) {
    const Sound out = passed(in, std::string("--bits ") + bits);
    CHECK(out.format == (SF_FORMAT_WAV | format));
    CHECK(out.samples == in.samples); // steps of 2^-15 fit into all of them
  }
}

TEST_CASE("samples that are no finite numbers are silence and counted") {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  const Workspace work;
  const Sound dirty = {44100, 1, kWavDouble, {0.5, kNone, 0.25, kInfinity, -kInfinity, 0.125}};
  const Sound clean = {44100, 1, kWavDouble, {0.5, 0.0, 0.25, 0.0, 0.0, 0.125}};
  CHECK(passed(dirty, "", "3 samples of the recording, not finite numbers, were taken as silence").samples ==
        clean.samples);
  passed({44100, 1, kWavDouble, {0.5, kNone, 0.25}}, "",
         "1 sample of the recording, not a finite number, was taken as silence");
  // With the pedal on they leave no trace either.
  const auto bent = [&](const Sound& sound) {
    writeSound("in.wav", sound);
    REQUIRE(render("in.wav out.wav --tail 0.2").status == 0);
    return samplesOf("out.wav");
  };
  CHECK(bent(dirty) == bent(clean));
}
