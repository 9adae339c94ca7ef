// A pitch shifter on the LADSPA interface.
#pragma once

#include "peers/Peer.h"

#include <ladspa.h>
#include <memory>
#include <vector>

class LadspaPeer : public Peer {
public:
  // Loads a plug-in from Debian's directory. file: the library's name in it. label: the plug-in's. rateHz:
  // above 0. controls: those that shall not have their default. Result: null when it is not installed. Throws
  // as a peer does. The library stays loaded. Allocates.
  static std::unique_ptr<LadspaPeer> open(const std::string& file, const std::string& label, double rateHz,
                                          const PeerControls& controls);

  ~LadspaPeer() override;

  void run(const float* input, float* output, int32_t samples) override;
  void setControl(const std::string& name, float value) override;

private:
  LadspaPeer(const LADSPA_Descriptor* descriptor, double rateHz, const PeerControls& controls);

  void connect(unsigned long port, const PeerControls& wanted);

  const LADSPA_Descriptor* descriptor;
  LADSPA_Handle handle;
  std::vector<float> controls; // by port
  unsigned long inputPort = 0;
  unsigned long outputPort = 0;
};
