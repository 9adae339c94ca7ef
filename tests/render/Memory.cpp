// Sounds of any length take the same memory.
#include "Program.h"
#include "SoundFiles.h"
#include "worker/Processes.h"

#include <doctest/doctest.h>
#include <filesystem>

namespace {

constexpr int kRate = 44100;

// Minutes of silence cost the disk nothing: a header and a hole.
long peakFor(int seconds, const std::string& options) {
  const auto bytes = static_cast<std::uint32_t>(2 * seconds * kRate);
  writeTake("in.wav", 2);
  std::string header = contentsOf("in.wav").substr(0, 44);
  writeBytes("in.wav", header.replace(4, 4, number32(36 + bytes)).replace(40, 4, number32(bytes)));
  std::filesystem::resize_file("in.wav", 44 + bytes);
  const Outcome outcome = render("in.wav out.wav " + options);
  CHECK(outcome.status == 0);
  CHECK(std::filesystem::file_size("out.wav") > bytes);
  return outcome.peakKilobytes;
}

} // namespace

TEST_CASE("four minutes take no more memory than ten seconds") {
  // Four minutes are 21 MB of samples as they lie in the file and 85 MB as doubles; a quarter of either would
  // show. A checked build would keep what is given back for a while.
  const Environment notKept("ASAN_OPTIONS", "quarantine_size_mb=1");
  const Workspace work;
  for (const char* options : {"--pedal 0:0,5:1", "--on off --normalize"}) {
    const long brief = peakFor(10, options);
    const long lengthy = peakFor(240, options);
    CAPTURE(brief);
    CAPTURE(lengthy);
    CHECK(lengthy < brief + 4000);
  }
}

TEST_CASE("a header that promises more channels or a higher rate than there can be brings nothing down") {
  const Workspace work;
  writeTake("whole.wav", 4000);
  for (const auto& [offset, part] :
       {std::pair<std::size_t, std::string>{22, "\xff\xff"}, {24, "\xff\xff\xff\x7f"}}) {
    writeBytes("in.wav", contentsOf("whole.wav").replace(offset, part.size(), part));
    checkRefused(1, "in.wav out.wav", "input 'in.wav': ");
    CHECK(render("in.wav out.wav").peakKilobytes < 1000000);
  }
}
