// The bundle's data is right, and the check that says so finds every fault that is put into it.
#include "BundleCheck.h"
#include "Commands.h"

#include <doctest/doctest.h>
#include <filesystem>
#include <fstream>

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

const std::string kMinor = "lv2:minorVersion " TREADSHIFT_LV2_MINOR;
const std::string kMicro = "lv2:microVersion " TREADSHIFT_LV2_MICRO;

const std::vector<Fault> kFaults = {
    {"syntax error", kPlugin, "lv2:index 3 ;", "lv2:index 3 ; ]"},
    {"manifest points nowhere", kManifest, "<treadshift.ttl>", "<treadshifted.ttl>"},
    {"binary missing", kManifest, "<treadshift.so>", "<other.so>"},
    {"another name", kManifest, "<urn:treadshift:pedal>\n\ta", "<urn:treadshift:petal>\n\ta"},
    {"no stereo", kManifest, "<urn:treadshift:pedal-stereo>\n\ta", "<urn:treadshift:pedal-surround>\n\ta"},
    {"a channel in no group", kPlugin, "pg:group <urn:treadshift:outputs> ;\n\t\tlv2:designation pg:right ;",
     "lv2:designation pg:right ;"},
    {"a channel in the wrong group", kPlugin, "pg:group <urn:treadshift:outputs>",
     "pg:group <urn:treadshift:inputs>"},
    {"sides exchanged", kPlugin, "lv2:designation pg:left", "lv2:designation pg:right"},
    {"no unit", kPlugin, "units:unit units:coef ;", ""},
    {"no documentation", kPlugin, "lv2:documentation", "rdfs:label"},
    {"no name", kPlugin, "doap:name \"Treadshift\" ;\n\tdoap:shortdesc \"Bends", "doap:shortdesc \"Bends"},
    {"empty name", kPlugin, "doap:name \"Treadshift\" ;\n\tdoap:shortdesc \"Bends",
     "doap:name \"\" ;\n\tdoap:shortdesc \"Bends"},
    {"no licence", kPlugin, "doap:license <http://opensource.org/licenses/isc> ;", ""},
    {"licence as text", kPlugin, "<http://opensource.org/licenses/isc>", "\"ISC\""},
    {"no project", kPlugin, "lv2:project <urn:treadshift:project> ;", ""},
    {"no maintainer's name", kPlugin, "foaf:name \"QUON Corporation\"", "foaf:nick \"QUON\""},
    {"base class only", kPlugin, "lv2:Plugin , lv2:PitchPlugin ,", "lv2:Plugin ,"},
    {"unknown class", kPlugin, "lv2:PitchPlugin", "lv2:PichPlugin"},
    {"no minor version", kPlugin, kMinor + " ;", ""},
    {"odd minor version", kPlugin, kMinor, kMinor + "1"},
    {"odd micro version", kPlugin, kMicro, kMicro + "1"},
    {"required feature", kPlugin, "lv2:optionalFeature lv2:hardRT", "lv2:requiredFeature lv2:hardRT"},
    {"in place refused", kPlugin, "lv2:hardRTCapable ,", "lv2:hardRTCapable , lv2:inPlaceBroken ,"},
    {"no comment", kPlugin, "rdfs:comment \"One instrument", "rdfs:label \"One instrument"},
    {"no symbol", kPlugin, "lv2:symbol \"tone\" ;", ""},
    {"symbol twice", kPlugin, "lv2:symbol \"tone\"", "lv2:symbol \"color\""},
    {"bad symbol", kPlugin, "lv2:symbol \"tone\"", "lv2:symbol \"to ne\""},
    {"renamed symbol", kPlugin, "lv2:symbol \"tone\"", "lv2:symbol \"treble\""},
    {"no port name", kPlugin, "lv2:name \"Tone\" ;", ""},
    {"no index", kPlugin, "lv2:index 5 ;", ""},
    {"index twice", kPlugin, "lv2:index 5", "lv2:index 4"},
    {"index gap", kPlugin, "lv2:index 6", "lv2:index 7"},
    {"no direction", kPlugin, "a lv2:OutputPort , lv2:AudioPort", "a lv2:AudioPort"},
    {"two directions", kPlugin, "a lv2:OutputPort ,", "a lv2:OutputPort , lv2:InputPort ,"},
    {"no kind", kPlugin, "a lv2:OutputPort , lv2:AudioPort", "a lv2:OutputPort"},
    {"no default", kPlugin, "lv2:default 0.8 ;", ""},
    {"default out of range", kPlugin, "lv2:default 0.8", "lv2:default 1.8"},
    {"default as text", kPlugin, "lv2:default 0.8", "lv2:default \"0.8\""},
    {"default between two choices", kPlugin, "lv2:default 4", "lv2:default 4.5"},
    {"no minimum", kPlugin, "lv2:minimum 0.0 ;", ""},
    {"empty range", kPlugin, "lv2:maximum 1.0", "lv2:maximum 0.0"},
    {"two maxima", kPlugin, "lv2:maximum 7", "lv2:maximum 7 , 8"},
    {"switch beyond 1", kPlugin, "lv2:maximum 1 ;", "lv2:maximum 2 ;"},
    {"two enabled", kPlugin, "lv2:symbol \"tone\" ;", "lv2:symbol \"tone\" ; lv2:designation lv2:enabled ;"},
    {"no enabled", kPlugin, "lv2:designation lv2:enabled ;", ""},
    {"off by default", kPlugin, "lv2:default 1 ;", "lv2:default 0 ;"},
    {"choice missing", kPlugin, " , [\n\t\t\trdfs:label \"Bass\" ;\n\t\t\trdf:value 1\n\t\t]", ""},
    {"choice out of range", kPlugin, "rdf:value 7", "rdf:value 8"},
    {"choice without label", kPlugin, "rdfs:label \"Bass\" ;", ""},
    {"choice twice", kPlugin, "rdf:value 7", "rdf:value 6"},
    {"choices of no enumeration", kPlugin, "lv2:integer , lv2:enumeration", "lv2:integer"},
    {"pedal not automatable", kPlugin, "lv2:symbol \"pedal\" ;",
     "lv2:symbol \"pedal\" ; lv2:portProperty pprops:causesArtifacts ;"},
    {"another controller", kPlugin, "midi:controllerNumber 11", "midi:controllerNumber 4"},
    {"no controller", kPlugin, "midi:controllerNumber 11", ""},
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

// Without a word but on the home page, which does not exist.
bool validatorIsContent(const std::string& bundle) {
  const auto result = runCommand("lv2_validate '" + bundle + "'/*.ttl");
  INFO(result.text);
  CHECK(result.text.find(" errors among ") != std::string::npos);
  return result.text.find("Found 0 errors") != std::string::npos &&
         result.text.find("warning") == std::string::npos;
}

} // namespace

TEST_CASE("the bundle's data has no fault") { CHECK(joined(faultsOf(TREADSHIFT_BUNDLE)) == ""); }

TEST_CASE("the validator finds nothing") { CHECK(validatorIsContent(TREADSHIFT_BUNDLE)); }

TEST_CASE("the check finds every fault that is put into the data") {
  for (const Fault& fault : kFaults) {
    CAPTURE(fault.what);
    const TemporaryDirectory work;
    seed(fault, work.path("treadshift.lv2"));
    CHECK(joined(faultsOf(work.path("treadshift.lv2"))) != "");
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
