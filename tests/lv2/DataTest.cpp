// The bundle's data is right, and the check that says so finds every fault that is put into it.
#include "BundleText.h"
#include "Commands.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& file) {
  std::ifstream stream(file);
  REQUIRE(stream.good());
  return {std::istreambuf_iterator<char>(stream), {}};
}

// One fault: a text of a file, exchanged where it first stands.
struct Fault {
  std::string what, file;
  std::string text, replacement;
};

const char kPlugin[] = "treadshift.ttl", kManifest[] = "manifest.ttl", kPresets[] = "presets.ttl";

// What is compared word by word needs no row for each word.
const std::vector<Fault> kFaults = {
    {"syntax error", kPlugin, "lv2:index 3 ;", "lv2:index 3 ; ]"},
    {"manifest points nowhere", kManifest, "<treadshift.ttl>", "<treadshifted.ttl>"},
    {"binary missing", kManifest, "<treadshift.so>", "<other.so>"},
    {"another name", kManifest, "<urn:treadshift:pedal>\n\ta", "<urn:treadshift:petal>\n\ta"},
    {"no stereo", kManifest, "<urn:treadshift:pedal-stereo>\n\ta", "<urn:treadshift:pedal-surround>\n\ta"},
    {"no maintainer's name", kPlugin, "foaf:name \"QUON Corporation\"", "foaf:nick \"QUON\""},
    {"required feature", kPlugin, "lv2:optionalFeature lv2:hardRT", "lv2:requiredFeature lv2:hardRT"},
    {"in place refused", kPlugin, "lv2:hardRTCapable ,", "lv2:hardRTCapable , lv2:inPlaceBroken ,"},
    {"no comment", kPlugin, "rdfs:comment \"One instrument", "rdfs:label \"One instrument"},
    {"choice without label", kPlugin, "rdfs:label \"Bass\" ;", ""},
    {"pedal not automatable", kPlugin, "lv2:symbol \"pedal\" ;",
     "lv2:symbol \"pedal\" ; lv2:portProperty pprops:causesArtifacts ;"},
    {"latency reported", kPlugin, "lv2:symbol \"out\" ;",
     "lv2:symbol \"out\" ; lv2:portProperty lv2:reportsLatency ;"},
    {"preset without name", kPresets, "rdfs:label \"Octave climb\" ;", ""},
    {"two presets of a name", kPresets, "\"Bass drop\"", "\"Octave climb\""},
    {"preset for another", kManifest, "lv2:appliesTo <urn:treadshift:pedal> ,",
     "lv2:appliesTo <urn:other> ,"},
    {"preset file missing", kManifest, "<presets.ttl>", "<other.ttl>"},
    {"preset of an unknown port", kPresets, "lv2:symbol \"tone\"", "lv2:symbol \"treble\""},
    {"preset out of range", kPresets, "pset:value 0.8", "pset:value 8"},
    {"preset value as text", kPresets, "pset:value 0.8", "pset:value \"0.8\""},
    {"preset between two choices", kPresets, "pset:value 2.0", "pset:value 2.5"},
    {"preset moves the pedal", kPresets, "lv2:symbol \"tone\"", "lv2:symbol \"pedal\""},
    {"preset sets a port twice", kPresets, "lv2:symbol \"tone\"", "lv2:symbol \"color\""},
};

// A copy of the bundle with one fault in it.
void seed(const Fault& fault, const fs::path& copy) {
  fs::copy(TREADSHIFT_BUNDLE, copy);
  std::string text = contentsOf(copy / fault.file);
  const std::size_t place = text.find(fault.text);
  REQUIRE(place != std::string::npos);
  text.replace(place, fault.text.size(), fault.replacement);
  std::ofstream(copy / fault.file) << text;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines)
    all += line + "\n";
  return all;
}

// What hosts have to find: the symbols are those that their sessions have stored, the pedal carries nothing
// that keeps a host from automating it, and no port reports a latency.
std::string expectedPlugin(const std::string& rest) {
  return rest + " comment=prose documentation=prose license=isc name='Treadshift' name='QUON Corporation'"
                " minorVersion=" TREADSHIFT_LV2_MINOR " microVersion=" TREADSHIFT_LV2_MICRO
                " optionalFeature=boundedBlockLength,hardRTCapable,map,options";
}

std::string expectedAudio(const std::string& index, const std::string& symbol, const std::string& type,
                          const std::string& name, const std::string& group = "") {
  return "port index=" + index + " symbol='" + symbol + "' type=AudioPort," + type + " name='" + name +
         "' comment=prose" + group + "\n";
}

const std::string kExpectedControls =
    "port index=2 symbol='enabled' type=ControlPort,InputPort name='Enabled' comment=prose "
    "designation=enabled"
    " portProperty=integer,toggled minimum=0 maximum=1 default=1 displayPriority=50\n"
    "port index=3 symbol='mode' type=ControlPort,InputPort name='Mode' comment=prose"
    " portProperty=enumeration,integer minimum=0 maximum=1 default=0 displayPriority=10 0:'Guitar' 1:'Bass'\n"
    "port index=4 symbol='color' type=ControlPort,InputPort name='Color' comment=prose"
    " portProperty=enumeration,integer minimum=0 maximum=7 default=4 displayPriority=80"
    " 0:'0 Semitone down (-1 to 0)' 1:'1 Quarter tone up (0 to +0.5)' 2:'2 Octave up (0 to +12)'"
    " 3:'3 Two octaves down (0 to -24)' 4:'4 Octave down to up (-12 to +12)'"
    " 5:'5 Fifth down to fourth up (-7 to +5)' 6:'6 Five octaves down (-60 to +12)'"
    " 7:'7 Five octaves down with dry (-60 to +12)'\n"
    "port index=5 symbol='tone' type=ControlPort,InputPort name='Tone' comment=prose minimum=0.0 maximum=1.0"
    " default=0.8 unit=coef displayPriority=60\n"
    "port index=6 symbol='pedal' type=ControlPort,InputPort name='Pedal' comment=prose minimum=0.0 "
    "maximum=1.0"
    " default=0.0 unit=coef displayPriority=100 controllerNumber=11\n";

const std::string kExpected =
    expectedPlugin("pedal type=PitchPlugin,Plugin,Project name='Treadshift' shortdesc=prose") + " binary\n" +
    expectedAudio("0", "in", "InputPort", "In") + expectedAudio("1", "out", "OutputPort", "Out") +
    kExpectedControls +
    expectedPlugin("pedal-stereo type=PitchPlugin,Plugin,Project name='Treadshift Stereo' shortdesc=prose") +
    " mainInput=inputs mainOutput=outputs binary\n" +
    expectedAudio("0", "in_left", "InputPort", "In left", " designation=left group=inputs") +
    expectedAudio("1", "out_left", "OutputPort", "Out left", " designation=left group=outputs") +
    kExpectedControls +
    expectedAudio("7", "in_right", "InputPort", "In right", " designation=right group=inputs") +
    expectedAudio("8", "out_right", "OutputPort", "Out right", " designation=right group=outputs") +
    "inputs type=InputGroup,StereoGroup symbol='inputs' name='Inputs'\n"
    "outputs type=OutputGroup,StereoGroup symbol='outputs' name='Outputs' source=inputs\n";

// A preset is for both plug-ins, in range, a fraction in each value, as some hosts want it, and leaves the
// pedal to the player.
bool isGoodPreset(const std::string& line) {
  static const std::string kFor = "' for pedal,pedal-stereo in presets.ttl";
  static const std::map<std::string, double> kHighest = {
      {"'color'", 7.0}, {"'enabled'", 1.0}, {"'mode'", 1.0}, {"'tone'", 1.0}};
  const std::size_t end = line.find(kFor, 1);
  if (!line.starts_with('\'') || end == std::string::npos || end == 1) return false;
  std::istringstream settings(line.substr(end + kFor.size()));
  std::string before;
  for (std::string setting; settings >> setting;) {
    const std::string symbol = setting.substr(0, setting.find('='));
    const auto port = kHighest.find(symbol);
    if (port == kHighest.end() || symbol <= before) return false; // each once, as the reader sorts them
    const std::string number = setting.substr(symbol.size() + 1);
    if (number.find_first_not_of("0123456789.") != std::string::npos) return false;
    const bool isFraction = number.find('.') != std::string::npos;
    if (!isFraction || std::stod(number) > port->second) return false;
    if (symbol != "'tone'" && !number.ends_with(".0")) return false;
    before = symbol;
  }
  return true;
}

bool isGood(const std::string& bundle) {
  const auto presets = presetLines(bundle);
  std::set<std::string> labels;
  for (const std::string& line : presets)
    labels.insert(line.substr(0, line.find(" for ")));
  return joined(pluginLines(bundle)) == kExpected && presets.size() == 12 && labels.size() == 12 &&
         std::ranges::all_of(presets, isGoodPreset);
}

// Without a word but on the home page, which does not exist.
bool validatorIsContent(const std::string& bundle) {
  const auto result = runCommand("lv2_validate '" + bundle + "'/*.ttl");
  INFO(result.text);
  CHECK(result.text.find(" errors among ") != std::string::npos);
  return result.text.find("Found 0 errors") != std::string::npos &&
         result.text.find("warning") == std::string::npos;
}

} // namespace

TEST_CASE("hosts read of the plug-ins, their ports and presets what they need") {
  CHECK(joined(pluginLines(TREADSHIFT_BUNDLE)) == kExpected);
  INFO(joined(presetLines(TREADSHIFT_BUNDLE)));
  CHECK(isGood(TREADSHIFT_BUNDLE));
}

TEST_CASE("the validator finds nothing") { CHECK(validatorIsContent(TREADSHIFT_BUNDLE)); }

TEST_CASE("the check finds every fault that is put into the data") {
  for (const Fault& fault : kFaults) {
    CAPTURE(fault.what);
    const TemporaryDirectory work;
    seed(fault, work.path("treadshift.lv2"));
    CHECK_FALSE(isGood(work.path("treadshift.lv2")));
  }
}

TEST_CASE("a misspelt term, which readers skip, is the validator's to find") {
  for (const Fault& fault : {Fault{"property", kPlugin, "lv2:portProperty lv2:toggled , lv2:integer",
                                   "lv2:portProprty lv2:toggled"},
                             Fault{"value", kPlugin, "lv2:toggled , lv2:integer", "lv2:togled"}}) {
    CAPTURE(fault.what);
    const TemporaryDirectory work;
    seed(fault, work.path("treadshift.lv2"));
    CHECK_FALSE(validatorIsContent(work.path("treadshift.lv2")));
  }
}
