// Another pitch shifter, as Debian packages it: one channel, single precision, controls by name.
#pragma once

#include <cstdint>
#include <map>
#include <string>

// Values of controls, by the name of their port.
using PeerControls = std::map<std::string, float>;

// A plug-in that runs. Its constructors throw std::runtime_error, in words that go on from its name.
class Peer {
public:
  Peer() = default;
  virtual ~Peer() = default;
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  // Plays one block. input, output: `samples` samples each, not the same array; every channel in hears the
  // same, the first one out is listened to. [audio]
  virtual void run(const float* input, float* output, int32_t samples) = 0;

  // Sets a control from the next block on. name: of the port, as in the constructor; others are ignored.
  // value: in the unit and range of the port, unchecked. [audio]
  virtual void setControl(const std::string& name, float value) = 0;
};
