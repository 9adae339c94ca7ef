// Presets: the shipped ones, a user's text and its faults, and what is written.
#include "render/course/Presets.h"
#include "FaultOf.h"

#include "render/course/Colors.h"

#include <doctest/doctest.h>
#include <set>
#include <sstream>

namespace {

std::vector<Preset> read(const std::string& text) { return readPresets("--load-preset 'mine.conf'", text); }

std::string presetFault(const std::string& text) {
  return faultOf(ExitStatus::couldNot, [&] { read(text); });
}

double constantOf(const Controls& controls, Parameter parameter) {
  REQUIRE(controls.course(parameter) != nullptr);
  return controls.course(parameter)->constant().value();
}

} // namespace

TEST_CASE("a dozen presets are shipped and listed, each whole, every colour among them, the pedal left to "
          "the player") {
  const auto presets = shippedPresets();
  CHECK(presets.size() == 12);
  std::istringstream list(presetList());
  std::set<double> colors;
  for (const Preset& preset : presets) {
    CAPTURE(preset.name);
    CHECK(preset.description.size() > 10);
    for (Parameter parameter : {kColor, kTone, kMode})
      CHECK(preset.controls.course(parameter) != nullptr);
    CHECK(preset.controls.course(kPedalPos) == nullptr);
    colors.insert(constantOf(preset.controls, kColor));
    std::string line;
    std::getline(list, line);
    CHECK(line.starts_with(preset.name + "  "));
    CHECK(line.ends_with("  " + preset.description));
  }
  CHECK(colors.size() == std::size(kColorTable));
  CHECK(list.peek() == EOF);
}

TEST_CASE("names mean the same in capitals or not, with hyphens, underscores or blanks") {
  CHECK(samePresetName("Octave climb", "octave-climb"));
  CHECK(samePresetName("OCTAVE_CLIMB", "octave climb"));
  CHECK_FALSE(samePresetName("octave climb", "octaveclimb"));
  CHECK_FALSE(samePresetName("octave", "octave climb"));
}

TEST_CASE("a preset's text sets what it holds and nothing else") {
  const auto presets = read("# my own\r\n\r\n[ Deep one ]\r\ndescription = low # and slow\r\n"
                            "color=two-octaves-down\r\n tone = 0.25 # dark\r\n"
                            "[Loud]\nmode = Bass\non = off\npedal = 0.5\ncolor = 7\n");
  REQUIRE(presets.size() == 2);
  CHECK(presets[0].name == "Deep one");
  CHECK(presets[0].description == "low # and slow");
  CHECK(constantOf(presets[0].controls, kColor) == 3.0);
  CHECK(constantOf(presets[0].controls, kTone) == 0.25);
  for (Parameter parameter : {kMode, kOnOff, kPedalPos})
    CHECK(presets[0].controls.course(parameter) == nullptr);
  CHECK(presets[1].description == "");
  CHECK(constantOf(presets[1].controls, kMode) == 1.0);
  CHECK(constantOf(presets[1].controls, kOnOff) == 0.0);
  CHECK(constantOf(presets[1].controls, kPedalPos) == 0.5);
  CHECK(constantOf(presets[1].controls, kColor) == 7.0);
  CHECK(presets[1].controls.course(kTone) == nullptr);
}

TEST_CASE("a wrong line in a preset is named") {
  std::vector<std::pair<std::string, std::string>> texts = {
      {"[a]\ntone = 1.5\n", "2 'tone = 1.5': the value is out of range; give a number from 0 to 1"},
      {"[a]\ntone = 0:0,1:1\n", "2 'tone = 0:0,1:1': no such value; give a number from 0 to 1"},
      {"[a]\n\ncolor = 2.5\n",
       "3 'color = 2.5': not a whole number; give a colour's name (--list-colors tells "
       "them), a whole number from 0 to 7"},
      {"[a]\nmode =\n", "2 'mode =': no such value; give guitar, bass, a whole number from 0 to 1"},
      {"[a]\nvolume = 1\n",
       "2 'volume = 1': no such key; there are description, color, tone, mode, on and pedal"},
      {"[a]\ntone = 1\ntone = 0\n", "3 'tone = 0': the key stands twice in this preset; keep one"},
      {"[a]\ndescription = x\ndescription = y\n", "3 'description = y': a second description; keep one"},
      {"tone = 1\n[a]\n", "1 'tone = 1': stands before the first preset; write [name] above it"},
      {"[a]\nhello\n", "2 'hello': neither a name nor a setting; write [name] or key = value"},
      {"[My Own]\n[my-own]\n", "2 '[my-own]': a second preset of this name; give every preset its own name"},
  };
  for (const std::string name : {"[", "[]", "[ ]", "[a", "[a] b"})
    texts.emplace_back(name + "\n", "1 '" + name + "': not a preset's name in brackets; write [name]");
  for (const auto& [text, wrong] : texts)
    CHECK(presetFault(text) == "--load-preset 'mine.conf': line " + wrong);
  for (const char* text : {"", "# nothing\n"})
    CHECK(presetFault(text) ==
          "--load-preset 'mine.conf': holds no preset; write [name] and lines key = value");
}

TEST_CASE("what is written is what was set, in the words of the player") {
  Controls controls;
  controls.set(kColor, "2");
  controls.set(kTone, "0.1");
  controls.set(kMode, "1");
  controls.set(kOnOff, "off");
  controls.set(kPedalPos, "0.3333333333333333");
  CHECK(presetText("mine", controls) == "[mine]\ncolor = octave-up\ntone = 0.1\nmode = bass\non = off\n"
                                        "pedal = 0.3333333333333333\n");
  const auto presets = read(presetText("mine", controls));
  REQUIRE(presets.size() == 1);
  for (int index = 0; index < kParameterCount; ++index) {
    const auto parameter = static_cast<Parameter>(index);
    CHECK(presets[0].controls.valueAt(parameter, 0.0) == controls.valueAt(parameter, 0.0));
  }
}

TEST_CASE("a pedal that moves is left out, another parameter that moves is refused, as is nothing") {
  const auto faultOfControls = [](const Controls& controls) -> std::string {
    try {
      presetText("mine", controls);
    } catch (const Fault& fault) {
      CHECK(fault.status() == ExitStatus::wrongCall);
      return fault.what();
    }
    return "accepted";
  };
  Controls controls;
  CHECK(faultOfControls(controls).find("--save-preset: there is nothing to save; ") == 0);
  controls.set(kPedalPos, "0:0,1:1");
  CHECK(faultOfControls(controls).find("--save-preset: there is nothing to save; ") == 0);
  controls.set(kColor, "0:2,1:2");
  CHECK(presetText("mine", controls) == "[mine]\ncolor = octave-up\n");
  controls.set(kTone, "0:0,1:1");
  CHECK(faultOfControls(controls) == "--save-preset: --tone moves; a preset holds single values; only the "
                                     "pedal may move, and is left out");
}
