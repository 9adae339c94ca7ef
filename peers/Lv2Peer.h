// A pitch shifter on the LV2 interface.
#pragma once

#include "peers/Lv2HostServices.h"
#include "peers/Peer.h"

#include <memory>
#include <vector>

class Lv2Peer : public Peer {
public:
  // Finds a plug-in among those that are installed. rateHz: above 0. blockSamples: of every block that will
  // come. controls: those that shall not have their default, by the port's symbol. Result: null when it is
  // not installed. Throws as a peer does. Reads every installed bundle the first time. Allocates.
  static std::unique_ptr<Lv2Peer> open(const std::string& uri, double rateHz, int32_t blockSamples,
                                       const PeerControls& controls);

  ~Lv2Peer() override;

  void run(const float* input, float* output, int32_t samples) override;
  void setControl(const std::string& name, float value) override;

private:
  Lv2Peer(std::shared_ptr<LilvWorld> world, const LilvPlugin* plugin, double rateHz, int32_t blockSamples,
          const PeerControls& controls);

  bool is(const LilvPort* port, const char* portClass) const;
  void connect(uint32_t index, const PeerControls& wanted);
  void connectControl(const LilvPort* port, uint32_t index, const PeerControls& wanted);
  std::string symbolOf(const LilvPort* port) const;

  std::shared_ptr<LilvWorld> world; // the plug-in's description lives in it
  const LilvPlugin* plugin;
  Lv2HostServices services;
  LilvInstance* instance;
  std::vector<float> controls; // by port
  std::vector<uint32_t> inputPorts;
  std::vector<uint32_t> outputPorts;
  std::vector<std::vector<float>> unheard; // the outputs' room, from the second on
};
