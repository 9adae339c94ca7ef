// What the program tells about itself and the module.
#include "Program.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>
#include <sstream>

namespace {

// A line's words with one blank between them.
std::string squeezed(const std::string& line) {
  std::istringstream stream(line);
  std::string text;
  for (std::string word; stream >> word;)
    text += (text.empty() ? "" : " ") + word;
  return text;
}

} // namespace

TEST_CASE("--show tells what a host sees") {
  const Outcome outcome = render("--show");
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  const std::string width = sizeof(void*) == 8 ? "64" : "32";
  std::string programs;
  for (int program = 0; program < 16; ++program)
    programs += "  " + std::to_string(program) + (program < 10 ? "    " : "   ") + "  \"Init\"\n";
  CHECK(outcome.out == "Module\n  " + std::filesystem::canonical(TREADSHIFT_MODULE).string() + "\n  " +
                           width +
                           R"(-bit, in this process

Identity
  effect name          "NEW Treadshift"
  vendor               "QUON Corporation"
  product              "NEW Treadshift"
  vendor version       1000
  interface version    2400
  effect version       1
  unique ID            KXTR (0x4B585452)
  generation           NvEf (0x4E764566)
  category             1 (effect)
  channels             1 in, 1 out
  latency              0 samples
  tail                 0 (not told)
  flags                0x1010: replacing, double replacing

Can do
  sendVstEvents        unknown
  sendVstMidiEvent     unknown
  receiveVstEvents     unknown
  receiveVstMidiEvent  unknown
  receiveVstTimeInfo   unknown
  offline              unknown
  midiProgramNames     unknown
  bypass               unknown

Parameters
  index  name       value       display   label   automated  properties
  0      On/Off     1           on        ""      yes        switch
  1      Mode       0           Guitar    ""      yes        switch
  2      Tone       0.8          8.00     ""      yes        steps of 0.01
  3      Color      0.5         4         ""      yes        whole numbers 0 to 7 in steps of 1
  4      PedalPos   0            0.00     ""      yes        steps of 0.01

Programs (current: 0, shown as "Init 1")
)" + programs);
}

TEST_CASE("--show applies the values at the start") {
  const Outcome outcome = render("--show --tone 0:0.25,1:1 --color 7 --pedal 1 --on off --mode bass --module "
                                 "'" TREADSHIFT_MODULE "'");
  CHECK(outcome.status == 0);
  Names lines = linesOf(outcome.out);
  std::ranges::transform(lines, lines.begin(), squeezed);
  for (const char* line : {
           "0 On/Off 0 off \"\" yes switch",
           "1 Mode 1 Bass \"\" yes switch",
           "2 Tone 0.25 2.50 \"\" yes steps of 0.01",
           "3 Color 0.9375 7 \"\" yes whole numbers 0 to 7 in steps of 1",
           "4 PedalPos 1 10.00 \"\" yes steps of 0.01",
       })
    CHECK(std::ranges::count(lines, line) == 1);
}

TEST_CASE("--version answers on the standard output, by either name") {
  const Outcome version = render("--version");
  CHECK(version.status == 0);
  CHECK(version.err == "");
  CHECK(version.out == "treadshift-render " TREADSHIFT_VERSION "\n");
  CHECK(render("-V").out == version.out);
}
