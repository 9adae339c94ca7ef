#include "bench/PeerCases.h"

#include "bench/Signal.h"

#ifdef BENCH_PEERS
#include "peers/LadspaPeer.h"
#include "peers/Lv2Peer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>

namespace {

constexpr float kAudible = 0.01f; // peak; the signal's is near 1

struct LadspaName {
  const char* shownAs;
  const char* file;
  const char* label;
  PeerControls controls;
};

const LadspaName kLadspa[] = {
    {"swh amPitchshift", "am_pitchshift_1433.so", "amPitchshift", {{"Pitch shift", 1.5f}}},
    {"swh pitchScale", "pitch_scale_1193.so", "pitchScale", {{"Pitch co-efficient", 1.5f}}},
    {"swh pitchScaleHQ", "pitch_scale_1194.so", "pitchScaleHQ", {{"Pitch co-efficient", 1.5f}}},
    {"TAP pitch", "tap_pitch.so", "tap_pitch", {{"Semitone Shift", 7.0f}}},
    {"rubberband R2", "ladspa-rubberband.so", "rubberband-pitchshifter-mono", {{"Semitones", 7.0f}}},
    {"rubberband R3", "ladspa-rubberband.so", "rubberband-r3-pitchshifter-mono", {{"Semitones", 7.0f}}},
};

struct Lv2Name {
  const char* shownAs;
  const char* uri;
  PeerControls controls;
};

const Lv2Name kLv2[] = {
    {"mda Detune (stereo)", "http://drobilla.net/plugins/mda/Detune", {{"detune", 0.5f}}},
    {"guitarix detune", "http://guitarix.sourceforge.net/plugins/gx_detune_#_detune_", {{"DETUNE", 7.0f}}},
};

// A peer with room for what it says.
class HeardPeer {
public:
  explicit HeardPeer(std::unique_ptr<Peer> heard) : peer(std::move(heard)) {}

  void playSignal() {
    for (int32_t done = 0; done < kBenchSamples; done += kPeerBlock)
      peer->run(benchSignalFloat() + done, output.data(), kPeerBlock);
  }

  // Peak of the last block after some two seconds: by then every latency is over.
  float peakAfterWarmUp() {
    for (int k = 0; k < 8; ++k)
      playSignal();
    float peak = 0.0f;
    for (const float sample : output)
      peak = std::max(peak, std::abs(sample));
    return peak;
  }

private:
  std::unique_ptr<Peer> peer;
  std::array<float, kPeerBlock> output{};
};

// Adds nothing when the peer is not installed.
void addPeer(std::vector<Case>& cases, const std::string& shownAs,
             const std::function<std::unique_ptr<Peer>()>& open) {
  try {
    std::unique_ptr<Peer> opened = open();
    if (!opened) return;
    const auto peer = std::make_shared<HeardPeer>(std::move(opened));
    if (!(peer->peakAfterWarmUp() > kAudible)) throw std::runtime_error("is silent");
    cases.push_back({"peer", shownAs, kPeerBlock, kBenchSamples, {}, [peer] { peer->playSignal(); }});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-bench: %s %s\n", shownAs.c_str(), error.what());
  }
}

} // namespace

std::vector<Case> peerCases() {
  std::vector<Case> cases;
  for (const LadspaName& name : kLadspa)
    addPeer(cases, name.shownAs,
            [&] { return LadspaPeer::open(name.file, name.label, kBenchRateHz, name.controls); });
  for (const Lv2Name& name : kLv2)
    addPeer(cases, name.shownAs,
            [&] { return Lv2Peer::open(name.uri, kBenchRateHz, kPeerBlock, name.controls); });
  return cases;
}

#else

std::vector<Case> peerCases() { return {}; }

#endif
