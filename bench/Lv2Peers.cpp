#include "bench/PeerCases.h"

#include "bench/Signal.h"

#include <cstring>
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>
#include <map>
#include <stdexcept>

namespace {

struct Lv2Peer {
  const char* shownAs;
  const char* uri;
  std::map<std::string, float> controls; // by the port's symbol; others get their default
};

const Lv2Peer kPeers[] = {
    {"mda Detune (stereo)", "http://drobilla.net/plugins/mda/Detune", {{"detune", 0.5f}}},
    {"guitarix detune", "http://guitarix.sourceforge.net/plugins/gx_detune_#_detune_", {{"DETUNE", 7.0f}}},
};

struct WorldCloser {
  void operator()(LilvWorld* world) const { lilv_world_free(world); }
};
struct NodeCloser {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
};
using Node = std::unique_ptr<LilvNode, NodeCloser>;

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  static std::map<std::string, LV2_URID> numbers;
  return numbers.try_emplace(uri, static_cast<LV2_URID>(numbers.size() + 1)).first->second;
}

// What a plug-in may ask of its host. Scheduled work is done at once, on the same thread, and so counts.
class HostServices {
public:
  HostServices()
      : map{nullptr, mapUri}, schedule{this, work}, options{option(LV2_BUF_SIZE__minBlockLength),
                                                            option(LV2_BUF_SIZE__maxBlockLength),
                                                            option(LV2_BUF_SIZE__nominalBlockLength),
                                                            {}},
        listed{{LV2_URID__map, &map},
               {LV2_WORKER__schedule, &schedule},
               {LV2_OPTIONS__options, options},
               {LV2_BUF_SIZE__boundedBlockLength, nullptr}},
        features{&listed[0], &listed[1], &listed[2], &listed[3], nullptr} {}

  const LV2_Feature* const* list() const { return features; }

  LilvInstance* instance = nullptr; // who the work is for

private:
  static LV2_Worker_Status respond(LV2_Worker_Respond_Handle self, uint32_t size, const void* data) {
    LilvInstance* instance = static_cast<HostServices*>(self)->instance;
    const LV2_Worker_Interface* worker = workerOf(instance);
    return worker->work_response(lilv_instance_get_handle(instance), size, data);
  }

  static LV2_Worker_Status work(LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data) {
    auto* self = static_cast<HostServices*>(handle);
    if (!self->instance) return LV2_WORKER_ERR_UNKNOWN;
    return workerOf(self->instance)
        ->work(lilv_instance_get_handle(self->instance), respond, self, size, data);
  }

  static const LV2_Worker_Interface* workerOf(LilvInstance* instance) {
    return static_cast<const LV2_Worker_Interface*>(
        lilv_instance_get_extension_data(instance, LV2_WORKER__interface));
  }

  LV2_Options_Option option(const char* key) {
    return {LV2_OPTIONS_INSTANCE,           0,           mapUri(nullptr, key), sizeof(int32_t),
            mapUri(nullptr, LV2_ATOM__Int), &blockLength};
  }

  int32_t blockLength = kPeerBlock;
  LV2_URID_Map map;
  LV2_Worker_Schedule schedule;
  LV2_Options_Option options[4];
  LV2_Feature listed[4];
  const LV2_Feature* features[5];
};

class Lv2Instance : public PeerInstance {
public:
  Lv2Instance(std::shared_ptr<LilvWorld> world, const LilvPlugin* plugin, const Lv2Peer& peer)
      : world(std::move(world)), instance(lilv_plugin_instantiate(plugin, kBenchRateHz, services.list())),
        controls(lilv_plugin_get_num_ports(plugin)) {
    if (!instance) throw std::runtime_error("cannot be instantiated");
    services.instance = instance;
    for (uint32_t port = 0; port < controls.size(); ++port)
      connect(plugin, port, peer);
    lilv_instance_activate(instance);
  }

  ~Lv2Instance() override {
    lilv_instance_deactivate(instance);
    lilv_instance_free(instance);
  }

  void runBlock(const float* input) override {
    for (const uint32_t port : inputPorts)
      lilv_instance_connect_port(instance, port, const_cast<float*>(input));
    lilv_instance_run(instance, kPeerBlock);
  }

private:
  bool is(const LilvPlugin* plugin, const LilvPort* port, const char* portClass) const {
    const Node node(lilv_new_uri(world.get(), portClass));
    return lilv_port_is_a(plugin, port, node.get());
  }

  void connect(const LilvPlugin* plugin, uint32_t index, const Lv2Peer& peer) {
    const LilvPort* port = lilv_plugin_get_port_by_index(plugin, index);
    if (!is(plugin, port, LILV_URI_AUDIO_PORT)) {
      connectControl(plugin, port, index, peer);
    } else if (is(plugin, port, LILV_URI_INPUT_PORT)) {
      inputPorts.push_back(index);
    } else {
      // Every channel out has room of its own; the first is the one that is listened to.
      extraOutputs.emplace_back(outputs++ == 0 ? 0 : kPeerBlock);
      float* place = extraOutputs.back().empty() ? output() : extraOutputs.back().data();
      lilv_instance_connect_port(instance, index, place);
    }
  }

  void connectControl(const LilvPlugin* plugin, const LilvPort* port, uint32_t index, const Lv2Peer& peer) {
    LilvNode* byDefault = nullptr;
    lilv_port_get_range(plugin, port, &byDefault, nullptr, nullptr);
    const Node owned(byDefault);
    const auto wanted = peer.controls.find(lilv_node_as_string(lilv_port_get_symbol(plugin, port)));
    if (wanted != peer.controls.end()) {
      controls[index] = wanted->second;
    } else if (byDefault) {
      controls[index] = lilv_node_as_float(byDefault);
    }
    lilv_instance_connect_port(instance, index, &controls[index]);
  }

  std::shared_ptr<LilvWorld> world; // the plug-in's description lives in it
  HostServices services;
  LilvInstance* instance;
  std::vector<float> controls; // by port
  std::vector<uint32_t> inputPorts;
  std::vector<std::vector<float>> extraOutputs;
  int outputs = 0;
};

} // namespace

std::vector<Case> lv2Cases() {
  const std::shared_ptr<LilvWorld> world(lilv_world_new(), WorldCloser());
  lilv_world_load_all(world.get());
  std::vector<Case> cases;
  for (const Lv2Peer& peer : kPeers) {
    const Node uri(lilv_new_uri(world.get(), peer.uri));
    const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), uri.get());
    if (plugin)
      addPeer(cases, peer.shownAs, [&] { return std::make_shared<Lv2Instance>(world, plugin, peer); });
  }
  return cases;
}
