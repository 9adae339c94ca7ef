// A packaged pitch shifter under measurement.
#pragma once

#include "peers/Peer.h"
#include "quality/Shifter.h"

// How a peer is asked for an interval.
using SteerPeer = std::function<void(Peer& peer, double cents)>;

class PeerShifter : public Shifter {
public:
  // peer: not null. pedal: where it starts. blockSamples: the longest block that will come. Allocates.
  PeerShifter(std::unique_ptr<Peer> peer, SteerPeer steer, double pedal, int blockSamples);

  // 0 an octave down .. 1 an octave up.
  void setPedal(double position) override;

protected:
  void process(const double* input, double* output, int samples) override;

private:
  std::unique_ptr<Peer> peer;
  SteerPeer steer;
  std::vector<float> narrowInput, narrowOutput; // one block
};
