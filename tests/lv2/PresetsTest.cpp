// From the presets' data file to what hosts read, and what a bad file is told.
#include "Commands.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>
#include <fstream>

namespace {

const std::string kPrefixLines = "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                                 "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                                 "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";

CommandResult writeData(const std::string& presets, const TemporaryDirectory& work) {
  std::ofstream(work.path("presets.conf")) << presets;
  return runCommand("'" TREADSHIFT_WRITE_DATA "' '" TREADSHIFT_LV2_TEMPLATES "' '" +
                    work.path("presets.conf") + "' '" + work.path("b.lv2") + "' 2 0");
}

std::string presetsWritten(const TemporaryDirectory& work) {
  std::ifstream file(work.path("b.lv2/presets.ttl"));
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string entry(const std::string& name, const std::string& rest) {
  return "\n<urn:treadshift:preset:" + name +
         ">\n\ta pset:Preset ;\n\tlv2:appliesTo <urn:treadshift:pedal> , <urn:treadshift:pedal-stereo> ;\n"
         "\trdfs:label " +
         rest + " .\n";
}

std::string setting(const std::string& symbol, const std::string& value) {
  return "[\n\t\tlv2:symbol \"" + symbol + "\" ;\n\t\tpset:value " + value + "\n\t]";
}

} // namespace

TEST_CASE("names and numbers of colours, and all that a preset may set") {
  const TemporaryDirectory work;
  const auto written =
      writeData("# a comment\n\n"
                "[Plain]\ncolor = 3\ntone=.5\n"
                "[With \"quotes\" and \\ \t]\r\ncolor = octave-up\r\nmode = bass\r\non = off\r\n"
                "  [Blanks]  \n  description =  a = b; c  \n  color  =  semitone-down  \n"
                "on = on\nmode = guitar\ntone = 1\n"
                "[Last]\ncolor = five-octaves-down-with-dry",
                work);
  CHECK(written.text == "");
  CHECK(written.status == 0);
  CHECK(presetsWritten(work) ==
        kPrefixLines +
            entry("plain",
                  "\"Plain\" ;\n\tlv2:port " + setting("color", "3.0") + " , " + setting("tone", "0.5")) +
            entry("with-quotes-and", "\"With \\\"quotes\\\" and \\\\\" ;\n\tlv2:port " +
                                         setting("enabled", "0.0") + " , " + setting("mode", "1.0") + " , " +
                                         setting("color", "2.0")) +
            entry("blanks", "\"Blanks\" ;\n\trdfs:comment \"a = b; c\" ;\n\tlv2:port " +
                                setting("enabled", "1.0") + " , " + setting("mode", "0.0") + " , " +
                                setting("color", "0.0") + " , " + setting("tone", "1.0")) +
            entry("last", "\"Last\" ;\n\tlv2:port " + setting("color", "7.0")));
}

TEST_CASE("a bad file is told its line, and leaves no data") {
  struct Row {
    const char *text, *told;
  };
  const Row rows[] = {
      {"[One]\ncolor = 8\n", ":2: 'color = 8': no such value"},
      {"[One]\ncolor = 2.5\n", ":2: 'color = 2.5': no such value"},
      {"[One]\ntone = 1.1\n", ":2: 'tone = 1.1': no such value"},
      {"[One]\ntone = 0.5x\n", ":2: 'tone = 0.5x': no such value"},
      {"[One]\non = maybe\n", ":2: 'on = maybe': no such value"},
      {"[One]\npedal = 0.5\n", ":2: 'pedal = 0.5': moves the pedal"},
      {"[One]\ntone = 0.5\ntone = 0.6\n", ":3: 'tone = 0.6': the key stands twice"},
      {"[One two]\ntone = 0.5\n[One+two]\n", ":3: '[One+two]': a second preset of this address"},
      {"[+]\n", ":1: '[+]': nothing to make an address of"},
  };
  for (const Row& row : rows) {
    CAPTURE(row.text);
    const TemporaryDirectory work;
    const auto result = writeData(row.text, work);
    CHECK(result.status == 1);
    CHECK(result.text.find("presets.conf" + std::string(row.told)) != std::string::npos);
    CHECK(std::count(result.text.begin(), result.text.end(), '\n') == 1);
    CHECK_FALSE(std::filesystem::exists(work.path("b.lv2")));
  }
}
