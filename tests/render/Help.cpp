// The help, and that its examples work as they stand.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> list;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    list.push_back(line);
  return list;
}

// The indented lines below "Examples:" that are commands; what they do stands further in.
std::vector<std::string> examples() {
  std::vector<std::string> commands;
  bool within = false;
  for (const std::string& line : linesOf(render({"--help"}).out)) {
    if (line.empty()) within = false;
    if (within && line.substr(0, 2) == "  " && line[2] != ' ') commands.push_back(line.substr(2));
    if (line == "Examples:") within = true;
  }
  return commands;
}

// One MIDI track at 480 ticks per quarter note: controller 11 at 0, and at 127 one quarter note later.
const std::string
    kMidiFile("MThd\0\0\0\6\0\0\0\1\1\xe0MTrk\0\0\0\r\0\xb0\x0b\0\x83\x60\xb0\x0b\x7f\0\xff\x2f\0", 35);

} // namespace

TEST_CASE("the help reads as it was written") {
  // Made by `treadshift-render --help`, and read by a person whenever it changes.
  CHECK(render({"--help"}).out == fileBytes(TREADSHIFT_GOLDEN "/help.txt"));
}

TEST_CASE("no line of the help is wider than 80 columns, but a command may be by its indentation") {
  for (const std::string& line : linesOf(render({"--help"}).out)) {
    CAPTURE(line);
    CHECK(line.size() <= (line.starts_with("  treadshift-render ") ? 82u : 80u));
  }
}

TEST_CASE("versions are told by either name") {
  const Outcome version = render({"-V"});
  CHECK(version.status == 0);
  CHECK(version.out == render({"--version"}).out);
}

TEST_CASE("every example of the help works as typed") {
  const auto commands = examples();
  CHECK(commands.size() >= 10);
  for (const std::string& command : commands) {
    CAPTURE(command);
    const Workspace work;
    writeSound(work.path("guitar.wav"), {44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(40000)});
    writeSound(work.path("bass.flac"), {44100, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, noise(40000)});
    writeSound(work.path("other.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(40000)});
    if (holds(command, "--again"))
      REQUIRE(render({work.path("other.wav"), work.path("bent.wav")}).status == 0);
    writeBytes(work.path("sweep.csv"), "seconds,value\n0,0\n0.2,1\n");
    writeBytes(work.path("take.mid"), kMidiFile);
    pathWith(work, "play", "exec cat > /dev/null\n");
    if (shell("command -v gnuplot").status != 0) pathWith(work, "gnuplot", "echo > picture.png\n");
    const std::size_t before = work.names().size();
    Surroundings surroundings;
    surroundings.directory = work.path("");
    const Outcome outcome = shell("PATH=" + work.path("programs") + ":$PATH\n" + command, surroundings);
    CAPTURE(outcome.err);
    CHECK(outcome.status == 0);
    const bool keepsNothing = holds(command, "--play") || holds(command, "--show");
    CHECK((work.names().size() > before) == !keepsNothing);
    for (const char* wrong : {": failed", "cannot", "--help"})
      CHECK(!holds(outcome.err, wrong));
  }
}
