#include "peers/Lv2Peer.h"

#include <stdexcept>

namespace {

struct NodeCloser {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
};
using Node = std::unique_ptr<LilvNode, NodeCloser>;

// Every installed bundle's description, read once.
std::shared_ptr<LilvWorld> sharedWorld() {
  static const std::shared_ptr<LilvWorld> world = [] {
    std::shared_ptr<LilvWorld> made(lilv_world_new(), lilv_world_free);
    lilv_world_load_all(made.get());
    return made;
  }();
  return world;
}

} // namespace

std::unique_ptr<Lv2Peer> Lv2Peer::open(const std::string& uri, double rateHz, int32_t blockSamples,
                                       const PeerControls& controls) {
  std::shared_ptr<LilvWorld> world = sharedWorld();
  const Node node(lilv_new_uri(world.get(), uri.c_str()));
  const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), node.get());
  if (!plugin) return nullptr;
  return std::unique_ptr<Lv2Peer>(new Lv2Peer(std::move(world), plugin, rateHz, blockSamples, controls));
}

Lv2Peer::Lv2Peer(std::shared_ptr<LilvWorld> descriptions, const LilvPlugin* description, double rateHz,
                 int32_t blockSamples, const PeerControls& wanted)
    : world(std::move(descriptions)), plugin(description), services(blockSamples),
      instance(lilv_plugin_instantiate(plugin, rateHz, services.list())),
      controls(lilv_plugin_get_num_ports(plugin)) {
  if (!instance) throw std::runtime_error("cannot be instantiated");
  services.instance = instance;
  for (uint32_t port = 0; port < controls.size(); ++port)
    connect(port, wanted);
  if (!outputPorts.empty())
    unheard.assign(outputPorts.size() - 1, std::vector<float>(static_cast<std::size_t>(blockSamples)));
  for (std::size_t k = 0; k < unheard.size(); ++k)
    lilv_instance_connect_port(instance, outputPorts[k + 1], unheard[k].data());
  lilv_instance_activate(instance);
}

Lv2Peer::~Lv2Peer() {
  lilv_instance_deactivate(instance);
  lilv_instance_free(instance);
}

bool Lv2Peer::is(const LilvPort* port, const char* portClass) const {
  const Node node(lilv_new_uri(world.get(), portClass));
  return lilv_port_is_a(plugin, port, node.get());
}

std::string Lv2Peer::symbolOf(const LilvPort* port) const {
  return lilv_node_as_string(lilv_port_get_symbol(plugin, port));
}

void Lv2Peer::connect(uint32_t index, const PeerControls& wanted) {
  const LilvPort* port = lilv_plugin_get_port_by_index(plugin, index);
  if (!is(port, LILV_URI_AUDIO_PORT)) {
    connectControl(port, index, wanted);
  } else {
    (is(port, LILV_URI_INPUT_PORT) ? inputPorts : outputPorts).push_back(index);
  }
}

void Lv2Peer::connectControl(const LilvPort* port, uint32_t index, const PeerControls& wanted) {
  LilvNode* byDefault = nullptr;
  lilv_port_get_range(plugin, port, &byDefault, nullptr, nullptr);
  const Node owned(byDefault);
  const auto found = wanted.find(symbolOf(port));
  if (found != wanted.end()) {
    controls[index] = found->second;
  } else if (byDefault) {
    controls[index] = lilv_node_as_float(byDefault);
  }
  lilv_instance_connect_port(instance, index, &controls[index]);
}

void Lv2Peer::run(const float* input, float* output, int32_t samples) {
  for (const uint32_t port : inputPorts)
    lilv_instance_connect_port(instance, port, const_cast<float*>(input));
  if (!outputPorts.empty()) lilv_instance_connect_port(instance, outputPorts.front(), output);
  lilv_instance_run(instance, static_cast<uint32_t>(samples));
}

void Lv2Peer::setControl(const std::string& name, float value) {
  for (uint32_t index = 0; index < controls.size(); ++index)
    if (symbolOf(lilv_plugin_get_port_by_index(plugin, index)) == name) controls[index] = value;
}
