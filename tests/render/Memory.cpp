// Sounds of any length take the same memory.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>
#include <filesystem>

namespace {

constexpr int kRate = 44100;

// Hours of silence cost the disk nothing: a header and a hole.
void writeSilence(const std::string& path, std::uint32_t frames) {
  writeSound(path, {kRate, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, std::vector<double>(2)});
  std::string header = fileBytes(path).substr(0, 44);
  const auto put = [&](std::size_t offset, std::uint32_t number) {
    for (int i = 0; i < 4; ++i)
      header[offset + i] = static_cast<char>(number >> 8 * i);
  };
  put(4, 36 + 2 * frames);
  put(40, 2 * frames);
  writeBytes(path, header);
  std::filesystem::resize_file(path, 44 + 2 * static_cast<std::uintmax_t>(frames));
}

long peakFor(const Workspace& work, int seconds, std::vector<std::string> options) {
  writeSilence(work.path("in.wav"), static_cast<std::uint32_t>(seconds * kRate));
  options.insert(options.begin(), {work.path("in.wav"), work.path("out.wav")});
  const Outcome outcome = render(options);
  CHECK(outcome.status == 0);
  CHECK(readSound(work.path("out.wav")).samples.size() == static_cast<std::size_t>(seconds * kRate));
  return outcome.peakKilobytes;
}

} // namespace

TEST_CASE("ten minutes take no more memory than ten seconds") {
  // Ten minutes are 53 MB of samples as they lie in the file and 212 MB as doubles; a few of either would
  // show.
  const Workspace work;
  for (const std::vector<std::string>& options :
       std::vector<std::vector<std::string>>{{"--pedal", "0:0,5:1"}, {"--on", "off", "--normalize"}}) {
    const long brief = peakFor(work, 10, options);
    const long lengthy = peakFor(work, 600, options);
    CAPTURE(brief);
    CAPTURE(lengthy);
    CHECK(lengthy < brief + 4000);
  }
}

TEST_CASE("a header that promises more channels or a higher rate than there can be brings nothing down") {
  const Workspace work;
  writeSound(work.path("in.wav"), {kRate, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(4000)});
  const std::string bytes = fileBytes(work.path("in.wav"));
  for (const auto& [offset, part] :
       {std::pair<std::size_t, std::string>{22, "\xff\xff"}, {24, "\xff\xff\xff\x7f"}}) {
    std::string lying = bytes;
    writeBytes(work.path("in.wav"), lying.replace(offset, part.size(), part));
    const Outcome outcome = render({work.path("in.wav"), work.path("out.wav")});
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: input '" + work.path("in.wav") + "': "));
    CHECK(outcome.peakKilobytes < 1000000);
    CHECK(work.names() == std::vector<std::string>{"in.wav"});
  }
}
