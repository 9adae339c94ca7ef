#include "BundleText.h"

#include <algorithm>
#include <charconv>
#include <dlfcn.h>
#include <filesystem>
#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>

namespace {

using Strings = std::vector<std::string>;

struct Freeing {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
  void operator()(LilvNodes* nodes) const { lilv_nodes_free(nodes); }
  void operator()(LilvWorld* world) const { lilv_world_free(world); }
};
using Node = std::shared_ptr<LilvNode>;

Node owned(LilvNode* node) { return Node(node, Freeing()); }

const std::map<std::string, std::string> kPrefixes = {{"doap", LILV_NS_DOAP},
                                                      {"foaf", LILV_NS_FOAF},
                                                      {"lv2", LILV_NS_LV2},
                                                      {"rdf", LILV_NS_RDF},
                                                      {"rdfs", LILV_NS_RDFS},
                                                      {"midi", "http://lv2plug.in/ns/ext/midi#"},
                                                      {"pg", "http://lv2plug.in/ns/ext/port-groups#"},
                                                      {"pprops", "http://lv2plug.in/ns/ext/port-props#"},
                                                      {"pset", "http://lv2plug.in/ns/ext/presets#"},
                                                      {"units", "http://lv2plug.in/ns/extensions/units#"}};

// What is told of a plug-in, a port and a group, in this order; a slash leads to a property of what a
// property points to.
const char kOfPlugin[] = "rdf:type doap:name doap:shortdesc rdfs:comment lv2:documentation doap:license "
                         "lv2:project/doap:name lv2:project/doap:maintainer/foaf:name lv2:minorVersion "
                         "lv2:microVersion lv2:requiredFeature lv2:optionalFeature lv2:extensionData "
                         "pg:mainInput pg:mainOutput";
const char kOfPort[] = "lv2:index lv2:symbol rdf:type lv2:name rdfs:comment lv2:designation pg:group "
                       "lv2:portProperty lv2:minimum lv2:maximum lv2:default units:unit "
                       "pprops:displayPriority midi:binding/midi:controllerNumber";
const char kOfGroup[] = "rdf:type lv2:symbol lv2:name pg:source";
const std::string kProse[] = {"comment", "documentation", "shortdesc"};

Strings split(const std::string& text, char mark) {
  Strings parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, mark);)
    parts.push_back(part);
  return parts;
}

std::string lastPart(const std::string& name) { return name.substr(name.find_last_of("#/:") + 1); }

std::string textOf(const LilvNode* node) {
  if (lilv_node_is_uri(node)) return lastPart(lilv_node_as_uri(node));
  if (lilv_node_is_int(node)) return std::to_string(lilv_node_as_int(node));
  if (lilv_node_is_float(node)) {
    char digits[32];
    std::string text(digits, std::to_chars(digits, digits + sizeof digits, lilv_node_as_float(node)).ptr);
    return text.find('.') == std::string::npos ? text + ".0" : text;
  }
  return "'" + std::string(lilv_node_as_string(node)) + "'";
}

class Bundle {
public:
  explicit Bundle(const std::string& directory) : world(lilv_world_new()) {
    const std::string place = std::filesystem::absolute(directory) / "";
    lilv_world_load_bundle(world.get(), owned(lilv_new_file_uri(world.get(), nullptr, place.c_str())).get());
  }

  Strings plugins() {
    Strings lines;
    const LilvPlugins* all = lilv_world_get_all_plugins(world.get());
    LILV_FOREACH(plugins, i, all) {
      const LilvPlugin* plugin = lilv_plugins_get(all, i);
      lilv_plugin_get_num_ports(plugin); // has lilv read all that the manifest points to
      const Node subject = owned(lilv_node_duplicate(lilv_plugin_get_uri(plugin)));
      lines.push_back(line(subject, kOfPlugin) + (isInBinary(plugin) ? " binary" : ""));
      Strings ports = linesOf(valuesOf({subject}, "lv2:port"), kOfPort);
      lines.insert(lines.end(), ports.begin(), ports.end());
    }
    const Strings groups = linesOf(subjectsOf("pg:StereoGroup"), kOfGroup);
    lines.insert(lines.end(), groups.begin(), groups.end());
    return lines;
  }

  Strings presets() {
    Strings lines;
    for (const Node& preset : subjectsOf("pset:Preset")) {
      lilv_world_load_resource(world.get(), preset.get());
      Strings settings;
      for (const Node& setting : valuesOf({preset}, "lv2:port"))
        settings.push_back(" " + joined({setting}, "lv2:symbol") + "=" + joined({setting}, "pset:value"));
      std::ranges::sort(settings);
      const std::string head = joined({preset}, "rdfs:label") + " for " + joined({preset}, "lv2:appliesTo") +
                               " in " + joined({preset}, "rdfs:seeAlso");
      lines.push_back(std::accumulate(settings.begin(), settings.end(), head));
    }
    std::ranges::sort(lines);
    return lines;
  }

private:
  Node uri(const std::string& shortened) {
    const Strings parts = split(shortened, ':');
    return owned(lilv_new_uri(world.get(), (kPrefixes.at(parts[0]) + parts[1]).c_str()));
  }

  std::vector<Node> copies(LilvNodes* found) {
    const std::unique_ptr<LilvNodes, Freeing> nodes(found);
    std::vector<Node> all;
    LILV_FOREACH(nodes, i, found) { all.push_back(owned(lilv_node_duplicate(lilv_nodes_get(found, i)))); }
    return all;
  }

  std::vector<Node> subjectsOf(const std::string& type) {
    return copies(lilv_world_find_nodes(world.get(), nullptr, uri("rdf:type").get(), uri(type).get()));
  }

  // What stands at the end of a path of properties.
  std::vector<Node> valuesOf(const std::vector<Node>& subjects, const std::string& path) {
    std::vector<Node> values = subjects;
    for (const std::string& property : split(path, '/')) {
      std::vector<Node> next;
      for (const Node& subject : values)
        for (const Node& value :
             copies(lilv_world_find_nodes(world.get(), subject.get(), uri(property).get(), nullptr)))
          next.push_back(value);
      values = next;
    }
    return values;
  }

  std::string joined(const std::vector<Node>& subjects, const std::string& path) {
    Strings texts;
    for (const Node& value : valuesOf(subjects, path))
      texts.push_back(textOf(value.get()));
    std::ranges::sort(texts);
    std::string all;
    for (const std::string& text : texts)
      all += (all.empty() ? "" : ",") + text;
    return all;
  }

  std::string line(const Node& subject, const std::string& paths) {
    std::string text = lilv_node_is_uri(subject.get()) ? lastPart(lilv_node_as_uri(subject.get())) : "port";
    for (const std::string& path : split(paths, ' ')) {
      const std::string values = joined({subject}, path), name = lastPart(path);
      const bool isProse = std::ranges::find(kProse, name) != std::end(kProse) && values.size() > 2;
      if (!values.empty()) text += " " + name + "=" + (isProse ? "prose" : values);
    }
    Strings choices;
    for (const Node& point : valuesOf({subject}, "lv2:scalePoint"))
      choices.push_back(" " + joined({point}, "rdf:value") + ":" + joined({point}, "rdfs:label"));
    std::ranges::sort(choices);
    return std::accumulate(choices.begin(), choices.end(), text);
  }

  Strings linesOf(const std::vector<Node>& subjects, const std::string& paths) {
    Strings lines;
    for (const Node& subject : subjects)
      lines.push_back(line(subject, paths));
    std::ranges::sort(lines);
    return lines;
  }

  // Whether the binary answers to the plug-in's name.
  static bool isInBinary(const LilvPlugin* plugin) {
    const LilvNode* library = lilv_plugin_get_library_uri(plugin);
    char* const path = library ? lilv_file_uri_parse(lilv_node_as_uri(library), nullptr) : nullptr;
    void* const binary = path ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
    lilv_free(path);
    if (!binary) return false;
    const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
    const std::string name = lilv_node_as_uri(lilv_plugin_get_uri(plugin));
    bool isFound = false;
    for (uint32_t k = 0; find && find(k); ++k)
      isFound |= name == find(k)->URI;
    dlclose(binary);
    return isFound;
  }

  std::unique_ptr<LilvWorld, Freeing> world;
};

} // namespace

Strings pluginLines(const std::string& bundleDirectory) { return Bundle(bundleDirectory).plugins(); }

Strings presetLines(const std::string& bundleDirectory) { return Bundle(bundleDirectory).presets(); }
