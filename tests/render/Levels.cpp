// Channels, levels, lengths and sample formats that the call asks for. The effect is switched off wherever
// the exact numbers count: it then hands over every sample as it is.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

using Words = std::vector<std::string>;

constexpr int kDoubleWav = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;

// The output of a call with the pedal off.
Sound passed(const Workspace& work, const Sound& in, Words options, const std::string& notice = "") {
  writeSound(work.path("in.wav"), in);
  options.insert(options.begin(), {work.path("in.wav"), work.path("out.wav"), "--on", "off"});
  const Outcome outcome = render(options);
  CHECK(outcome.status == 0);
  CAPTURE(outcome.err);
  CHECK((notice.empty() ? outcome.err.empty() : holds(outcome.err, notice)));
  return readSound(work.path("out.wav"));
}

std::vector<int> steps(const Workspace& work, int bits) {
  auto numbers = readWholeNumbers(work.path("out.wav"));
  for (int& number : numbers)
    number >>= 32 - bits;
  return numbers;
}

} // namespace

TEST_CASE("a gain of 20 dB makes ten times as loud") {
  const Workspace work;
  const Sound in = {44100, 1, kDoubleWav, {0.25, -0.125, 0.0, 1.0}};
  CHECK(passed(work, in, {"--gain", "20"}).samples == std::vector<double>{2.5, -1.25, 0.0, 10.0});
  CHECK(passed(work, in, {"--gain", "0"}).samples == in.samples);
  const auto softer = passed(work, in, {"--gain", "-20"}).samples;
  for (std::size_t i = 0; i < in.samples.size(); ++i)
    CHECK(softer[i] == doctest::Approx(in.samples[i] / 10.0).epsilon(1e-14));
}

TEST_CASE("normalizing brings the peak to full scale of floats") {
  const Workspace work;
  const Sound in = {44100, 2, kDoubleWav, {0.25, -0.5, 0.125, 0.0}};
  CHECK(passed(work, in, {"--normalize"}).samples == std::vector<double>{0.5, -1.0, 0.25, 0.0});
  // 10^(-6/20) = 0.501187...
  const auto softer = passed(work, in, {"--normalize", "--gain", "-6"}).samples;
  CHECK(softer[1] == doctest::Approx(-0.5011872336).epsilon(1e-9));
  CHECK(softer[0] == doctest::Approx(0.2505936168).epsilon(1e-9));
}

TEST_CASE("normalizing brings the peak to the largest whole number and clips nothing") {
  const Workspace work;
  // The peak, -0.5, becomes -32767; 0.125 becomes 32767 / 4 = 8191.75, which rounds to 8192.
  const Sound in = {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, {0.125, -0.5, 0.0}};
  passed(work, in, {"--normalize"});
  CHECK(steps(work, 16) == std::vector<int>{8192, -32767, 0});
  passed(work, in, {"--normalize", "--bits", "24"});
  CHECK(steps(work, 24) == std::vector<int>{2097152, -8388607, 0});
}

TEST_CASE("normalizing leaves silence alone") {
  const Workspace work;
  const Sound in = {44100, 1, kDoubleWav, std::vector<double>(1000)};
  CHECK(passed(work, in, {"--normalize"}).samples == in.samples);
}

TEST_CASE("normalizing a long sound streams it through the disk unchanged but for the level") {
  const Workspace work;
  Sound in = {44100, 2, kDoubleWav, noise(60000)};
  in.samples[50001] = 0.75;
  const auto out = passed(work, in, {"--normalize"}).samples;
  REQUIRE(out.size() == in.samples.size());
  for (std::size_t i = 0; i < out.size(); ++i)
    REQUIRE(out[i] == doctest::Approx(in.samples[i] / 0.75).epsilon(1e-14));
  CHECK(work.names() == Words{"in.wav", "out.wav"});
}

TEST_CASE("dither of one step keeps the mean of what lies between two steps") {
  // 100.25 steps and triangular noise over -1 to 1 give 99, 100 or 101. The noise is below -0.75 with a
  // chance of 0.25 * 0.25 / 2 = 0.03125 and above 0.25 with 0.75 * 0.75 / 2 = 0.28125. The spread of one
  // sample is half a step, that of the mean of 200000 0.0011 steps; limits are five times that and more.
  const Workspace work;
  constexpr std::size_t kCount = 200000;
  const Sound in = {44100, 1, kDoubleWav, std::vector<double>(kCount, 100.25 / 32768.0)};
  passed(work, in, {"--bits", "16", "--dither"});
  const auto dithered = steps(work, 16);
  const auto share = [&](int number) {
    return static_cast<double>(std::count(dithered.begin(), dithered.end(), number)) / kCount;
  };
  CHECK(share(99) == doctest::Approx(0.03125).epsilon(0.06));
  CHECK(share(101) == doctest::Approx(0.28125).epsilon(0.02));
  CHECK(share(99) + share(100) + share(101) == 1.0);
  double sum = 0.0;
  for (int number : dithered)
    sum += number;
  CHECK(std::abs(sum / kCount - 100.25) < 0.006);

  const std::string first = fileBytes(work.path("out.wav"));
  passed(work, in, {"--bits", "16", "--dither"});
  CHECK(fileBytes(work.path("out.wav")) == first);
  passed(work, in, {"--bits", "16"});
  CHECK(steps(work, 16) == std::vector<int>(kCount, 100));
}

TEST_CASE("dither leaves room for itself when normalizing, and floats alone") {
  const Workspace work;
  const Sound in = {44100, 1, kDoubleWav, std::vector<double>(5000, -0.5)};
  passed(work, in, {"--normalize", "--bits", "16", "--dither"});
  const auto numbers = steps(work, 16);
  CHECK(*std::min_element(numbers.begin(), numbers.end()) == -32767);
  CHECK(*std::max_element(numbers.begin(), numbers.end()) == -32765);
  CHECK(passed(work, in, {"--dither"}, "not dithered").samples == in.samples);
}

TEST_CASE("the tail is silence behind the recording") {
  // 0.01 s at 44100 Hz are 441 frames.
  const Workspace work;
  const Sound in = {44100, 2, kDoubleWav, noise(2000)};
  auto expected = in.samples;
  expected.resize(2000 + 2 * 441);
  CHECK(passed(work, in, {"--tail", "0.01"}).samples == expected);
  CHECK(passed(work, in, {"--tail", "0"}).samples == in.samples);
}

TEST_CASE("one channel, or the mean of all") {
  const Workspace work;
  const Sound in = {44100, 2, kDoubleWav, noise(8000)};
  const auto left = in.channel(0), right = in.channel(1);
  std::vector<double> mean;
  for (std::size_t i = 0; i < left.size(); ++i)
    mean.push_back((left[i] + right[i]) / 2.0);
  const auto chosen = [&](const std::string& choice) {
    const Sound out = passed(work, in, {"--channels", choice});
    CHECK(out.channels == (choice == "each" ? 2 : 1));
    return out.samples;
  };
  CHECK(chosen("left") == left);
  CHECK(chosen("right") == right);
  CHECK(chosen("mix") == mean);
  CHECK(chosen("each") == in.samples);
}

TEST_CASE("a mono recording has a left channel and no right one") {
  const Workspace work;
  const Sound in = {44100, 1, kDoubleWav, noise(100)};
  CHECK(passed(work, in, {"--channels", "left"}).samples == in.samples);
  CHECK(passed(work, in, {"--channels", "mix"}).samples == in.samples);
  const Outcome outcome = render({work.path("in.wav"), work.path("none.wav"), "--channels", "right"});
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "input '" + work.path("in.wav") + "': has one channel only, no right one; "));
}

TEST_CASE("the sample format that is asked for") {
  const Workspace work;
  const Sound in = {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(1000)};
  const std::pair<const char*, int> formats[] = {{"16", SF_FORMAT_PCM_16},
                                                 {"24", SF_FORMAT_PCM_24},
                                                 {"32", SF_FORMAT_PCM_32},
                                                 {"float", SF_FORMAT_FLOAT},
                                                 {"double", SF_FORMAT_DOUBLE}};
  for (const auto& row : formats) {
    const auto name = row.first;
    const auto format = row.second;
    CAPTURE(name);
    const Sound out = passed(work, in, {"--bits", name});
    CHECK(out.format == (SF_FORMAT_WAV | format));
    CHECK(out.samples == in.samples); // steps of 2^-15 fit into all of them
  }
}

TEST_CASE("a sample format that the type does not hold is a wrong call") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(1000)});
  const auto check = [&](const char* output, const char* bits, const char* wrong) {
    const Outcome outcome = render({work.path("in.wav"), work.path(output), "--bits", bits});
    CHECK(outcome.status == 2);
    CHECK(holds(outcome.err, "output '" + work.path(output) + "': " + wrong));
  };
  check("out.flac", "float", "FLAC does not hold 32 bit float; give other --bits, or use .wav\n");
  check("out.ogg", "16", "OGG does not hold Signed 16 bit PCM; leave out --bits\n");
  check("out.mp3", "24", "MP3 does not hold Signed 24 bit PCM; leave out --bits\n");
  CHECK(work.names() == Words{"in.wav"});
}

TEST_CASE("samples that are no finite numbers are silence and counted") {
  const double infinity = std::numeric_limits<double>::infinity();
  const double none = std::numeric_limits<double>::quiet_NaN();
  const Workspace work;
  const Sound in = {44100, 1, kDoubleWav, {0.5, none, 0.25, infinity, -infinity, 0.125}};
  CHECK(
      passed(work, in, {}, "3 samples of the recording, not finite numbers, were taken as silence").samples ==
      std::vector<double>{0.5, 0.0, 0.25, 0.0, 0.0, 0.125});
  passed(work, {44100, 1, kDoubleWav, {0.5, none, 0.25}}, {},
         "1 sample of the recording, not a finite number, was taken as silence");
  // With the pedal on they leave no trace either.
  Sound clean = in;
  for (double& sample : clean.samples)
    sample = std::isfinite(sample) ? sample : 0.0;
  const auto bent = [&](const Sound& sound, const char* name) {
    writeSound(work.path("in.wav"), sound);
    REQUIRE(render({work.path("in.wav"), work.path(name), "--tail", "0.2"}).status == 0);
    return readSound(work.path(name)).samples;
  };
  CHECK(bent(in, "dirty.wav") == bent(clean, "clean.wav"));
}
