#include "BundleCheck.h"

#include <algorithm>
#include <cmath>
#include <dlfcn.h>
#include <filesystem>
#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/units/units.h>
#include <map>
#include <memory>
#include <set>

namespace {

namespace fs = std::filesystem;

#define DOAP "http://usefulinc.com/ns/doap#"
#define FOAF "http://xmlns.com/foaf/0.1/"
#define MIDI "http://lv2plug.in/ns/ext/midi#"
#define PPROPS "http://lv2plug.in/ns/ext/port-props#"
#define PG "http://lv2plug.in/ns/ext/port-groups#"
#define PSET "http://lv2plug.in/ns/ext/presets#"
#define RDF "http://www.w3.org/1999/02/22-rdf-syntax-ns#"
#define RDFS "http://www.w3.org/2000/01/rdf-schema#"

struct Freeing {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
  void operator()(LilvNodes* nodes) const { lilv_nodes_free(nodes); }
  void operator()(LilvWorld* world) const { lilv_world_free(world); }
};
using Node = std::shared_ptr<LilvNode>;

Node owned(LilvNode* node) { return Node(node, Freeing()); }

// What one control port lets a value be.
struct Range {
  double lowest, highest;
  bool whole;
};

class Check {
public:
  explicit Check(const std::string& directory);

  std::vector<std::string> faults;

private:
  void say(const std::string& subject, const std::string& wrong) { faults.push_back(subject + ": " + wrong); }

  Node uri(const std::string& text) { return owned(lilv_new_uri(world.get(), text.c_str())); }
  std::vector<Node> all(const Node& subject, const std::string& predicate);
  bool has(const Node& subject, const std::string& predicate, const std::string& object);
  // The one value; says so when there is none, more than one, or not of the kind.
  Node one(const std::string& name, const Node& subject, const std::string& predicate,
           bool (*isKind)(const LilvNode*), const std::string& kind);
  std::string text(const std::string& name, const Node& subject, const std::string& predicate);

  void checkPlugin(const LilvPlugin* plugin);
  void checkBinary(const LilvPlugin* plugin);
  void checkIdentity();
  void checkVersions();
  void checkFeatures();
  void checkPorts();
  std::string checkPort(const Node& port);
  void checkControl(const std::string& name, const Node& port);
  void checkChoices(const std::string& name, const Node& port, const Range& range);
  void checkPedal(const Node& port);
  void checkChannel(const std::string& name, const Node& port);
  void checkDesignations(const std::vector<Node>& ports);
  void checkPresets();
  void checkPreset(const Node& preset);
  void checkSetting(const std::string& name, const Node& setting, std::set<std::string>& seen);

  std::unique_ptr<LilvWorld, Freeing> world;
  std::set<std::string> plugins;         // those of the bundle
  Node plugin;                           // the one that is looked at
  bool isStereo = false;                 // whether it is
  std::map<std::string, Range> controls; // by symbol
  std::set<std::string> presetNames;
};

bool isNumber(const LilvNode* node) { return lilv_node_is_int(node) || lilv_node_is_float(node); }

double numberOf(const Node& node) { return lilv_node_as_float(node.get()); }

bool isFile(const Node& uri) {
  char* const path = lilv_file_uri_parse(lilv_node_as_uri(uri.get()), nullptr);
  const bool found = path && fs::is_regular_file(path);
  lilv_free(path);
  return found;
}

bool isWhole(double value) { return value == std::floor(value); }

Check::Check(const std::string& directory) : world(lilv_world_new()) {
  const std::string place = fs::absolute(directory) / "";
  lilv_world_load_bundle(world.get(), owned(lilv_new_file_uri(world.get(), nullptr, place.c_str())).get());
  const LilvPlugins* found = lilv_world_get_all_plugins(world.get());
  LILV_FOREACH(plugins, i, found) { checkPlugin(lilv_plugins_get(found, i)); }
  if (plugins != std::set<std::string>{"urn:treadshift:pedal", "urn:treadshift:pedal-stereo"})
    say("bundle", "does not hold the mono and the stereo plug-in alone");
  checkPresets();
}

std::vector<Node> Check::all(const Node& subject, const std::string& predicate) {
  std::unique_ptr<LilvNodes, Freeing> nodes(
      lilv_world_find_nodes(world.get(), subject.get(), uri(predicate).get(), nullptr));
  std::vector<Node> found;
  LILV_FOREACH(nodes, i, nodes.get())
  found.push_back(owned(lilv_node_duplicate(lilv_nodes_get(nodes.get(), i))));
  return found;
}

bool Check::has(const Node& subject, const std::string& predicate, const std::string& object) {
  return lilv_world_ask(world.get(), subject.get(), uri(predicate).get(), uri(object).get());
}

Node Check::one(const std::string& name, const Node& subject, const std::string& predicate,
                bool (*isKind)(const LilvNode*), const std::string& kind) {
  const auto values = all(subject, predicate);
  const std::string shortName = predicate.substr(predicate.find_last_of("#/") + 1);
  if (values.size() != 1) {
    say(name, std::to_string(values.size()) + " times " + shortName + "; it would be once");
    return nullptr;
  }
  if (!isKind(values[0].get())) {
    say(name, shortName + " is no " + kind);
    return nullptr;
  }
  return values[0];
}

std::string Check::text(const std::string& name, const Node& subject, const std::string& predicate) {
  const Node node = one(name, subject, predicate, lilv_node_is_string, "text");
  if (!node) return {};
  if (*lilv_node_as_string(node.get()) == '\0') say(name, predicate + " is empty");
  return lilv_node_as_string(node.get());
}

void Check::checkPlugin(const LilvPlugin* found) {
  plugin = owned(lilv_node_duplicate(lilv_plugin_get_uri(found)));
  plugins.insert(lilv_node_as_uri(plugin.get()));
  isStereo = std::string(lilv_node_as_uri(plugin.get())).ends_with("-stereo");
  lilv_plugin_get_num_ports(found); // has lilv read all that the manifest points to
  checkBinary(found);
  checkIdentity();
  checkVersions();
  checkFeatures();
  checkPorts();
}

void Check::checkBinary(const LilvPlugin* found) {
  const LilvNode* library = lilv_plugin_get_library_uri(found);
  char* const path = library ? lilv_file_uri_parse(lilv_node_as_uri(library), nullptr) : nullptr;
  void* const binary = path ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
  lilv_free(path);
  if (!binary) return say("binary", "cannot be loaded");
  const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
  const LV2_Descriptor* own = find ? find(isStereo ? 1 : 0) : nullptr;
  if (!own || std::string(own->URI) != lilv_node_as_uri(plugin.get()))
    say("binary", "answers to another name than the data's");
  dlclose(binary);
}

void Check::checkIdentity() {
  text("plug-in", plugin, DOAP "name");
  text("plug-in", plugin, DOAP "shortdesc");
  text("plug-in", plugin, RDFS "comment");
  text("plug-in", plugin, LV2_CORE__documentation);
  one("plug-in", plugin, DOAP "license", lilv_node_is_uri, "URI");
  if (!has(plugin, RDF "type", LV2_CORE__Plugin)) say("plug-in", "is not called a plug-in");
  if (!has(plugin, RDF "type", LV2_CORE__PitchPlugin))
    say("plug-in", "is not in the class of pitch plug-ins");
  const Node project = one("plug-in", plugin, LV2_CORE__project, lilv_node_is_uri, "URI");
  if (!project) return;
  text("project", project, DOAP "name");
  const auto maintainers = all(project, DOAP "maintainer");
  if (maintainers.size() != 1) return say("project", "has no maintainer, or several");
  text("maintainer", maintainers[0], FOAF "name");
}

void Check::checkVersions() {
  const Node minor = one("plug-in", plugin, LV2_CORE__minorVersion, lilv_node_is_int, "whole number");
  const Node micro = one("plug-in", plugin, LV2_CORE__microVersion, lilv_node_is_int, "whole number");
  if (minor && (lilv_node_as_int(minor.get()) <= 0 || lilv_node_as_int(minor.get()) % 2))
    say("plug-in", "minorVersion of a release is even and not 0");
  if (micro && (lilv_node_as_int(micro.get()) < 0 || lilv_node_as_int(micro.get()) % 2))
    say("plug-in", "microVersion of a release is even");
}

void Check::checkFeatures() {
  if (!all(plugin, LV2_CORE__requiredFeature).empty()) say("plug-in", "requires features");
  if (!all(plugin, LV2_CORE__extensionData).empty())
    say("plug-in", "promises extensions that it does not have");
  const std::set<std::string> known = {LV2_CORE__hardRTCapable, "http://lv2plug.in/ns/ext/urid#map",
                                       "http://lv2plug.in/ns/ext/options#options",
                                       "http://lv2plug.in/ns/ext/buf-size#boundedBlockLength"};
  std::set<std::string> features;
  for (const Node& feature : all(plugin, LV2_CORE__optionalFeature))
    features.insert(lilv_node_as_uri(feature.get()));
  if (!features.contains(LV2_CORE__hardRTCapable))
    say("plug-in", "does not say that it suits hard real time");
  for (const std::string& feature : features)
    if (!known.contains(feature)) say("plug-in", "does nothing with " + feature);
}

void Check::checkPorts() {
  const auto ports = all(plugin, LV2_CORE__port);
  std::set<int> indices;
  std::set<std::string> symbols;
  for (const Node& port : ports) {
    const Node index = one("port", port, LV2_CORE__index, lilv_node_is_int, "whole number");
    if (index && !indices.insert(lilv_node_as_int(index.get())).second) say("port", "an index twice");
    const std::string symbol = checkPort(port);
    if (!symbol.empty() && !symbols.insert(symbol).second) say(symbol, "a symbol twice");
  }
  if (!indices.empty() && (*indices.begin() != 0 || *indices.rbegin() != static_cast<int>(ports.size()) - 1))
    say("ports", "their indices leave a gap");
  std::set<std::string> stored = {"enabled", "mode", "color", "tone", "pedal"};
  if (isStereo)
    stored.insert({"in_left", "out_left", "in_right", "out_right"});
  else
    stored.insert({"in", "out"});
  if (symbols != stored) say("ports", "their symbols are no longer those that hosts have stored");
  checkDesignations(ports);
}

std::string Check::checkPort(const Node& port) {
  const std::string symbol = text("port", port, LV2_CORE__symbol);
  const std::string name = symbol.empty() ? "port" : symbol;
  if (!symbol.empty() && symbol.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") != std::string::npos)
    say(name, "its symbol is not in plain small letters");
  text(name, port, LV2_CORE__name);
  text(name, port, RDFS "comment");
  const bool input = has(port, RDF "type", LV2_CORE__InputPort);
  const bool audio = has(port, RDF "type", LV2_CORE__AudioPort);
  const bool control = has(port, RDF "type", LV2_CORE__ControlPort);
  if (input == has(port, RDF "type", LV2_CORE__OutputPort)) say(name, "is neither input nor output, or both");
  if (audio == control) say(name, "is neither audio nor control, or both");
  if (control && input) checkControl(name, port);
  if (symbol == "pedal") checkPedal(port);
  if (audio && isStereo) checkChannel(name, port);
  return symbol;
}

void Check::checkControl(const std::string& name, const Node& port) {
  const Node lowest = one(name, port, LV2_CORE__minimum, isNumber, "number");
  const Node highest = one(name, port, LV2_CORE__maximum, isNumber, "number");
  const Node usual = one(name, port, LV2_CORE__default, isNumber, "number");
  if (!lowest || !highest || !usual) return;
  const Range range = {numberOf(lowest), numberOf(highest),
                       has(port, LV2_CORE__portProperty, LV2_CORE__integer)};
  controls[name] = range;
  if (!(range.lowest < range.highest)) say(name, "its range is empty");
  if (numberOf(usual) < range.lowest || numberOf(usual) > range.highest)
    say(name, "its default is out of its range");
  if (range.whole && !isWhole(numberOf(usual))) say(name, "its default is no whole number");
  if (has(port, LV2_CORE__portProperty, LV2_CORE__toggled) && (range.lowest != 0.0 || range.highest != 1.0))
    say(name, "a switch runs from 0 to 1");
  one(name, port, PPROPS "displayPriority", lilv_node_is_int, "whole number");
  if (!range.whole) one(name, port, LV2_UNITS_PREFIX "unit", lilv_node_is_uri, "URI");
  checkChoices(name, port, range);
}

void Check::checkChoices(const std::string& name, const Node& port, const Range& range) {
  const auto points = all(port, LV2_CORE__scalePoint);
  std::set<double> values;
  std::set<std::string> labels;
  for (const Node& point : points) {
    labels.insert(text(name, point, RDFS "label"));
    if (const Node value = one(name, point, RDF "value", isNumber, "number")) values.insert(numberOf(value));
  }
  if (labels.size() != points.size()) say(name, "two choices have one label");
  if (values.size() != points.size()) say(name, "two choices have one value");
  for (const double value : values)
    if (value < range.lowest || value > range.highest) say(name, "a choice is out of its range");
  if (!has(port, LV2_CORE__portProperty, LV2_CORE__enumeration)) {
    if (!points.empty()) say(name, "has choices and is no enumeration");
    return;
  }
  if (!range.whole) say(name, "an enumeration of whole numbers says so");
  if (static_cast<double>(points.size()) != range.highest - range.lowest + 1.0)
    say(name, "does not name each of its choices");
}

// Hosts refuse to automate what carries any of these.
void Check::checkPedal(const Node& port) {
  for (const char* property : {"causesArtifacts", "expensive", "notAutomatic", "notOnGUI", "trigger"})
    if (has(port, LV2_CORE__portProperty, std::string(PPROPS) + property))
      say("pedal", std::string("carries ") + property);
  const auto bindings = all(port, MIDI "binding");
  if (bindings.size() != 1) return say("pedal", "is bound to no controller, or to several");
  const Node number = one("pedal", bindings[0], MIDI "controllerNumber", lilv_node_is_int, "whole number");
  if (number && lilv_node_as_int(number.get()) != 11) say("pedal", "is not bound to controller 11");
}

void Check::checkChannel(const std::string& name, const Node& port) {
  const std::string side = name.ends_with("_left") ? PG "left" : PG "right";
  const Node group = one(name, port, PG "group", lilv_node_is_uri, "URI");
  const bool isInput = has(port, RDF "type", LV2_CORE__InputPort);
  if (group && !has(group, RDF "type", isInput ? PG "InputGroup" : PG "OutputGroup"))
    say(name, "is in the wrong group");
  if (!has(port, LV2_CORE__designation, side)) say(name, "is not designated as its side");
}

void Check::checkDesignations(const std::vector<Node>& ports) {
  int switches = 0;
  for (const Node& port : ports) {
    if (has(port, LV2_CORE__designation, LV2_CORE__enabled)) {
      ++switches;
      const auto usual = all(port, LV2_CORE__default);
      if (usual.empty() || numberOf(usual[0]) != 1.0) say("enabled", "is not on by default");
      if (!has(port, LV2_CORE__portProperty, LV2_CORE__toggled)) say("enabled", "is no switch");
    }
    if (has(port, LV2_CORE__portProperty, LV2_CORE__reportsLatency) ||
        has(port, LV2_CORE__designation, LV2_CORE__latency))
      say("ports", "one reports a latency that there is not");
  }
  if (switches != 1) say("ports", std::to_string(switches) + " are designated enabled; it would be 1");
}

void Check::checkPresets() {
  std::unique_ptr<LilvNodes, Freeing> presets(
      lilv_world_find_nodes(world.get(), nullptr, uri(RDF "type").get(), uri(PSET "Preset").get()));
  if (lilv_nodes_size(presets.get()) == 0) say("presets", "there are none");
  LILV_FOREACH(nodes, i, presets.get())
  checkPreset(owned(lilv_node_duplicate(lilv_nodes_get(presets.get(), i))));
}

void Check::checkPreset(const Node& preset) {
  const std::string place = lilv_node_as_uri(preset.get());
  // A host loads one preset at a time, so each has to name its file, whichever others do.
  const Node file = one(place, preset, RDFS "seeAlso", lilv_node_is_uri, "URI");
  if (file && !isFile(file)) say(place, "its file is missing");
  lilv_world_load_resource(world.get(), preset.get());
  std::set<std::string> targets;
  for (const Node& target : all(preset, LV2_CORE__appliesTo))
    targets.insert(lilv_node_as_uri(target.get()));
  if (targets != plugins) say(place, "is not for both plug-ins");
  const std::string name = text(place, preset, RDFS "label");
  if (!presetNames.insert(name).second) say(place, "a second preset of its name");
  const auto settings = all(preset, LV2_CORE__port);
  if (settings.empty()) say(place, "sets nothing");
  std::set<std::string> seen;
  for (const Node& setting : settings)
    checkSetting(place, setting, seen);
}

void Check::checkSetting(const std::string& name, const Node& setting, std::set<std::string>& seen) {
  const std::string symbol = text(name, setting, LV2_CORE__symbol);
  const Node value = one(name, setting, PSET "value", lilv_node_is_float, "fraction, as some hosts want it,");
  if (!seen.insert(symbol).second) say(name, "sets " + symbol + " twice");
  if (symbol == "pedal") say(name, "moves the pedal, which is the player's");
  const auto control = controls.find(symbol);
  if (control == controls.end()) return say(name, "sets " + symbol + ", which is no control");
  if (!value) return;
  const Range& range = control->second;
  if (numberOf(value) < range.lowest || numberOf(value) > range.highest)
    say(name, symbol + " is out of its range");
  if (range.whole && !isWhole(numberOf(value))) say(name, symbol + " is no whole number");
}

} // namespace

std::vector<std::string> faultsOf(const std::string& bundleDirectory) {
  return Check(bundleDirectory).faults;
}
