// From the presets' data file to what hosts list, and what a bad file is told.
#include "Commands.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>
#include <fstream>
#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <map>
#include <memory>

namespace {

using Settings = std::map<std::string, float>;

using Node = std::unique_ptr<LilvNode, decltype(&lilv_node_free)>;
using Nodes = std::unique_ptr<LilvNodes, decltype(&lilv_nodes_free)>;

Node uri(LilvWorld* world, const char* text) { return Node(lilv_new_uri(world, text), lilv_node_free); }

// The one value of a property.
Node valueOf(LilvWorld* world, const LilvNode* subject, const char* predicate) {
  LilvNode* const value = lilv_world_get(world, subject, uri(world, predicate).get(), nullptr);
  REQUIRE(value);
  return Node(value, lilv_node_free);
}

Settings settingsOf(LilvWorld* world, const LilvNode* preset) {
  Settings settings;
  const Node port = uri(world, LV2_CORE__port);
  const Nodes ports(lilv_world_find_nodes(world, preset, port.get(), nullptr), lilv_nodes_free);
  LILV_FOREACH(nodes, i, ports.get()) {
    const LilvNode* const each = lilv_nodes_get(ports.get(), i);
    const Node symbol = valueOf(world, each, LV2_CORE__symbol);
    settings[lilv_node_as_string(symbol.get())] =
        lilv_node_as_float(valueOf(world, each, "http://lv2plug.in/ns/ext/presets#value").get());
  }
  return settings;
}

// The presets of a bundle as lilv reads them: name, then values by symbol.
std::map<std::string, Settings> presetsOf(const std::string& bundle) {
  std::map<std::string, Settings> presets;
  const std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> owner(lilv_world_new(), lilv_world_free);
  LilvWorld* const world = owner.get();
  const Node place(lilv_new_file_uri(world, nullptr, (bundle + "/").c_str()), lilv_node_free);
  lilv_world_load_bundle(world, place.get());
  const Node type = uri(world, LILV_NS_RDF "type");
  const Node kind = uri(world, "http://lv2plug.in/ns/ext/presets#Preset");
  const Nodes found(lilv_world_find_nodes(world, nullptr, type.get(), kind.get()), lilv_nodes_free);
  LILV_FOREACH(nodes, i, found.get()) {
    const LilvNode* const preset = lilv_nodes_get(found.get(), i);
    lilv_world_load_resource(world, preset);
    const Node label = valueOf(world, preset, LILV_NS_RDFS "label");
    presets[lilv_node_as_string(label.get())] = settingsOf(world, preset);
  }
  return presets;
}

CommandResult writeData(const std::string& presets, const TemporaryDirectory& work) {
  std::ofstream(work.path("presets.conf")) << presets;
  return runCommand("'" TREADSHIFT_WRITE_DATA "' '" + work.path("presets.conf") + "' '" + work.path("b.lv2") +
                    "' 2 0");
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
                "[Last]\ncolor = five-octaves-down-with-dry\ntone = 0",
                work);
  CHECK(written.text == "");
  CHECK(written.status == 0);
  const std::map<std::string, Settings> expected = {
      {"Plain", {{"color", 3.0f}, {"tone", 0.5f}}},
      {"With \"quotes\" and \\ \t", {{"color", 2.0f}, {"mode", 1.0f}, {"enabled", 0.0f}}},
      {"Blanks", {{"color", 0.0f}, {"mode", 0.0f}, {"enabled", 1.0f}, {"tone", 1.0f}}},
      {"Last", {{"color", 7.0f}, {"tone", 0.0f}}},
  };
  CHECK((presetsOf(work.path("b.lv2")) == expected));
}

TEST_CASE("every colour by its name") {
  const char* const names[] = {"semitone-down",     "quarter-tone-up",           "octave-up",
                               "two-octaves-down",  "octave-down-to-up",         "fifth-down-to-fourth-up",
                               "five-octaves-down", "five-octaves-down-with-dry"};
  for (int color = 0; color < 8; ++color) {
    const TemporaryDirectory work;
    writeData(std::string("[One]\ncolor = ") + names[color] + "\n", work);
    CHECK(presetsOf(work.path("b.lv2"))["One"]["color"] == static_cast<float>(color));
  }
}

TEST_CASE("a bad file is told its line, and leaves no data") {
  struct Row {
    const char *text, *told;
  };
  const Row rows[] = {
      {"[One]\ncolor = 8\n", ":2: color is '8'"},
      {"[One]\ncolor = -1\n", ":2: color is '-1'"},
      {"[One]\ncolor = 2.5\n", ":2: color is '2.5'"},
      {"[One]\ncolor = octave\n", ":2: color is 'octave'"},
      {"[One]\ncolor = bass\n", ":2: color is 'bass'"},
      {"[One]\ntone = 1.1\n", ":2: tone is '1.1'"},
      {"[One]\ntone = bright\n", ":2: tone is 'bright'"},
      {"[One]\ntone =\n", ":2: tone is ''"},
      {"[One]\nmode = drums\n", ":2: mode is 'drums'"},
      {"[One]\non = maybe\n", ":2: enabled is 'maybe'"},
      {"[One]\npedal = 0.5\n", ":2: no key 'pedal'"},
      {"[One]\nvolume = 0.5\n", ":2: no key 'volume'"},
      {"[One]\ntone = 0.5\ntone = 0.6\n", ":3: a second tone"},
      {"[One]\ntone = 0.5\n[ONE]\n", ":3: a second preset 'ONE'"},
      {"[]\n", ":1: a preset without a name"},
      {"tone = 0.5\n", ":1: 'tone = 0.5' is neither"},
      {"[One]\nloud\n", ":2: 'loud' is neither"},
      {"[One\ntone = 1\n", ":1: '[One' is neither"},
  };
  for (const Row& row : rows) {
    CAPTURE(row.text);
    const TemporaryDirectory work;
    const auto result = writeData(row.text, work);
    CHECK(result.status == 1);
    CHECK(result.text.find("presets.conf" + std::string(row.told)) != std::string::npos);
    CHECK(std::count(result.text.begin(), result.text.end(), '\n') == 1);
    CHECK(std::filesystem::is_empty(work.path("b.lv2")));
  }
}
