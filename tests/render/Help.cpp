// The help, that its examples work as they stand, and that bash completes its options.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <sstream>

namespace {

Names helpLines() { return linesOf(render("--help").out); }

// The indented lines below "Examples:" that are commands; what they do stands further in.
Names examples() {
  Names commands;
  bool within = false;
  for (const std::string& line : helpLines()) {
    if (line.empty()) within = false;
    if (within && line.substr(0, 2) == "  " && line[2] != ' ') commands.push_back(line.substr(2));
    if (line == "Examples:") within = true;
  }
  return commands;
}

// One MIDI track at 480 ticks per quarter note: controller 11 at 0, and at 127 one quarter note later.
const std::string
    kMidiFile("MThd\0\0\0\6\0\0\0\1\1\xe0MTrk\0\0\0\r\0\xb0\x0b\0\x83\x60\xb0\x0b\x7f\0\xff\x2f\0", 35);

// What bash would offer for the last word, after the one before it; one per line.
std::string offered(const std::string& before, const std::string& word) {
  const Outcome outcome =
      shell("exec bash -c 'source \"$1\"; _treadshift_render treadshift-render \"$3\" \"$2\"; "
            "printf \"%s\\n\" \"${COMPREPLY[@]}\"' bash '" TREADSHIFT_COMPLETION "' '" +
            before + "' '" + word + "'");
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  return outcome.out;
}

} // namespace

TEST_CASE("the help reads as it was written") {
  // Made by `treadshift-render --help`, and read by a person whenever it changes.
  const Outcome help = render("--help");
  CHECK(help.out == contentsOf(TREADSHIFT_GOLDEN "/help.txt"));
  CHECK(help.err == "");
  CHECK(help.status == 0);
  CHECK(render("-h").out == help.out);
}

TEST_CASE("no line of the help is wider than 80 columns, but a command may be by its indentation") {
  for (const std::string& line : helpLines()) {
    CAPTURE(line);
    CHECK(line.size() <= (line.starts_with("  treadshift-render ") ? 82u : 80u));
  }
}

TEST_CASE("every example of the help works as typed") {
  const Names commands = examples();
  CHECK(commands.size() >= 10);
  for (const std::string& command : commands) {
    CAPTURE(command);
    const Workspace work;
    writeTake("guitar.wav", 40000, 1, kWav16, 2);
    writeTake("bass.flac", 40000, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    writeTake("other.wav", 40000);
    if (holds(command, "--again")) REQUIRE(render("other.wav bent.wav").status == 0);
    writeBytes("sweep.csv", "seconds,value\n0,0\n0.2,1\n");
    writeBytes("take.mid", kMidiFile);
    withProgram("play", "exec cat > /dev/null\n");
    if (shell("command -v gnuplot").status != 0) withProgram("gnuplot", "echo > picture.png\n");
    const std::size_t before = work.names().size();
    const Outcome outcome = shell("PATH=$PWD/programs:$PATH\n" + command);
    CAPTURE(outcome.err);
    CHECK(outcome.status == 0);
    const bool keepsNothing = holds(command, "--play") || holds(command, "--show");
    CHECK((work.names().size() > before) == !keepsNothing);
    for (const char* wrong : {": failed", "cannot", "--help"})
      CHECK(!holds(outcome.err, wrong));
  }
}

TEST_CASE("bash completes options, their values, files and directories") {
  if (!isInstalled("bash")) return;
  const Workspace work;
  writeBytes("guitar.wav", "");
  struct Row {
    const char *before, *word, *offered;
  };
  for (const Row& row : {
           Row{"in.wav", "--no", "--no-clobber\n--no-tags\n--normalize\n"},
           {"in.wav", "--pedal", "--pedal\n--pedal-cc\n--pedal-channel\n"},
           {"in.wav", "-n", "-n\n"},
           {"--mode", "", "guitar\nbass\n"},
           {"--bits", "f", "float\n"},
           {"--color", "two", "two-octaves-down\n"},
           {"--preset", "octave c", "Octave climb\n"},
           {"--jobs", "", "\n"},
           {"--plot", "gui", "guitar.wav\n"},
           {"--out-dir", "gui", "\n"},
       }) {
    CAPTURE(row.word);
    CHECK(offered(row.before, row.word) == row.offered);
  }
}

TEST_CASE("every option of the help is offered") {
  if (!isInstalled("bash")) return;
  const Names all = linesOf(offered("in.wav", "-"));
  int options = 0;
  for (const std::string& line : helpLines()) {
    const std::size_t dash = line.find_first_not_of(' ');
    if (dash == std::string::npos || dash > 6 || line[dash] != '-') continue;
    std::istringstream words(line.substr(dash));
    for (std::string word; words >> word && word[0] == '-'; ++options) {
      if (word.back() == ',') word.pop_back();
      CAPTURE(word);
      CHECK(std::ranges::count(all, word) == 1);
    }
  }
  CHECK(options > 50);
}
