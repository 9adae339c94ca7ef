// Other pitch shifters, as Debian packages them: single precision, a constant shift, blocks of 256.
#pragma once

#include "bench/Case.h"

#include <array>
#include <functional>
#include <memory>
#include <vector>

inline constexpr int32_t kPeerBlock = 256; // samples

// A plug-in that runs.
class PeerInstance {
public:
  virtual ~PeerInstance() = default;

  // One block of kPeerBlock samples from `input` to `output`; every channel in hears the same.
  virtual void runBlock(const float* input) = 0;

  float* output() { return outputSamples.data(); }

private:
  std::array<float, kPeerBlock> outputSamples{};
};

// Makes a peer, listens to it for some seconds, and adds it as a case. One that cannot be made or stays
// silent is left out with a line on stderr: its time would say nothing.
void addPeer(std::vector<Case>& cases, const std::string& shownAs,
             const std::function<std::shared_ptr<PeerInstance>()>& make);

// The peers of one kind that are installed. Loads their libraries.
std::vector<Case> ladspaCases();
std::vector<Case> lv2Cases();

// Those of both kinds, as far as this program was built with their interfaces.
std::vector<Case> peerCases();
