// The completion for bash, driven as bash does.
#include "Program.h"

#include <doctest/doctest.h>

namespace {

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

TEST_CASE("bash completes options and their values") {
  if (shell("command -v bash").status != 0) {
    MESSAGE("not checked: there is no bash here");
    return;
  }
  CHECK(offered("in.wav", "--no") == "--no-clobber\n--no-tags\n--normalize\n");
  CHECK(offered("in.wav", "--pedal") == "--pedal\n--pedal-cc\n--pedal-channel\n");
  CHECK(offered("in.wav", "-n") == "-n\n");
  CHECK(offered("--mode", "") == "guitar\nbass\n");
  CHECK(offered("--bits", "f") == "float\n");
  CHECK(offered("--color", "two") == "two-octaves-down\n");
  CHECK(offered("--preset", "octave c") == "Octave climb\n");
  CHECK(offered("--jobs", "") == "\n");
}

TEST_CASE("every option of the help is offered") {
  if (shell("command -v bash").status != 0) {
    MESSAGE("not checked: there is no bash here");
    return;
  }
  const std::string all = offered("in.wav", "-");
  for (const char* option : {"--pedal",
                             "--interval",
                             "--tone-channel",
                             "--color",
                             "--mode",
                             "--on",
                             "--list-colors",
                             "--preset",
                             "--load-preset",
                             "--save-preset",
                             "--list-presets",
                             "--out-dir",
                             "--jobs",
                             "-j",
                             "--no-clobber",
                             "-n",
                             "--type",
                             "--bits",
                             "--channels",
                             "--tail",
                             "--gain",
                             "--normalize",
                             "--dither",
                             "--plot",
                             "--play",
                             "--stats",
                             "--verbose",
                             "-v",
                             "--quiet",
                             "-q",
                             "--show",
                             "--block",
                             "--module",
                             "--help",
                             "-h",
                             "--version",
                             "-V"}) {
    CAPTURE(option);
    CHECK(holds("\n" + all, std::string("\n") + option + "\n"));
  }
}

TEST_CASE("bash completes files and directories") {
  if (shell("command -v bash").status != 0) {
    MESSAGE("not checked: there is no bash here");
    return;
  }
  const Workspace work;
  writeBytes(work.path("guitar.wav"), "");
  CHECK(offered("--plot", work.path("gui")) == work.path("guitar.wav") + "\n");
  CHECK(offered("--out-dir", work.path("gui")) == "\n");
}
