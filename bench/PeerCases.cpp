#include "bench/PeerCases.h"

#include "bench/Signal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr float kAudible = 0.01f; // peak; the signal's is near 1

void playSignal(PeerInstance& peer) {
  for (int32_t done = 0; done < kBenchSamples; done += kPeerBlock)
    peer.runBlock(benchSignalFloat() + done);
}

// Peak of the last block after some two seconds: by then every latency is over.
float peakAfterWarmUp(PeerInstance& peer) {
  for (int k = 0; k < 8; ++k)
    playSignal(peer);
  float peak = 0.0f;
  for (int32_t i = 0; i < kPeerBlock; ++i)
    peak = std::max(peak, std::abs(peer.output()[i]));
  return peak;
}

} // namespace

void addPeer(std::vector<Case>& cases, const std::string& shownAs,
             const std::function<std::shared_ptr<PeerInstance>()>& make) {
  try {
    const std::shared_ptr<PeerInstance> peer = make();
    if (!(peakAfterWarmUp(*peer) > kAudible)) throw std::runtime_error("is silent");
    const auto run = [peer] { playSignal(*peer); };
    cases.push_back({"peer", shownAs, kPeerBlock, kBenchSamples, {}, run});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-bench: %s %s\n", shownAs.c_str(), error.what());
  }
}

std::vector<Case> peerCases() {
  std::vector<Case> peers;
#ifdef BENCH_LADSPA
  for (Case& c : ladspaCases())
    peers.push_back(std::move(c));
#endif
#ifdef BENCH_LV2
  for (Case& c : lv2Cases())
    peers.push_back(std::move(c));
#endif
  return peers;
}
