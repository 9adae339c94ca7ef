#include "quality/PeerShifter.h"

#include <algorithm>

PeerShifter::PeerShifter(std::unique_ptr<Peer> shifter, SteerPeer steering, double pedal, int blockSamples)
    : peer(std::move(shifter)), steer(std::move(steering)),
      narrowInput(static_cast<std::size_t>(blockSamples)), narrowOutput(narrowInput.size()) {
  setPedal(pedal);
}

void PeerShifter::setPedal(double position) { steer(*peer, 2400.0 * position - 1200.0); }

void PeerShifter::process(const double* input, double* output, int samples) {
  std::transform(input, input + samples, narrowInput.begin(), [](double x) { return static_cast<float>(x); });
  peer->run(narrowInput.data(), narrowOutput.data(), samples);
  std::copy_n(narrowOutput.begin(), samples, output);
}
