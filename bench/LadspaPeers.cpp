#include "bench/PeerCases.h"

#include "bench/Signal.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <ladspa.h>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

constexpr char kDirectory[] = "/usr/lib/ladspa/";

struct LadspaPeer {
  const char* shownAs;
  const char* file;
  const char* label;
  std::map<std::string, float> controls; // by the port's name; others get their default
};

const LadspaPeer kPeers[] = {
    {"swh amPitchshift", "am_pitchshift_1433.so", "amPitchshift", {{"Pitch shift", 1.5f}}},
    {"swh pitchScale", "pitch_scale_1193.so", "pitchScale", {{"Pitch co-efficient", 1.5f}}},
    {"swh pitchScaleHQ", "pitch_scale_1194.so", "pitchScaleHQ", {{"Pitch co-efficient", 1.5f}}},
    {"TAP pitch", "tap_pitch.so", "tap_pitch", {{"Semitone Shift", 7.0f}}},
    {"rubberband R2", "ladspa-rubberband.so", "rubberband-pitchshifter-mono", {{"Semitones", 7.0f}}},
    {"rubberband R3", "ladspa-rubberband.so", "rubberband-r3-pitchshifter-mono", {{"Semitones", 7.0f}}},
};

// The defaults that the peers' ports use.
float defaultOf(const LADSPA_PortRangeHint& hint) {
  switch (hint.HintDescriptor & LADSPA_HINT_DEFAULT_MASK) {
  case LADSPA_HINT_DEFAULT_MINIMUM:
    return hint.LowerBound;
  case LADSPA_HINT_DEFAULT_MAXIMUM:
    return hint.UpperBound;
  case LADSPA_HINT_DEFAULT_LOW:
    return 0.75f * hint.LowerBound + 0.25f * hint.UpperBound;
  case LADSPA_HINT_DEFAULT_MIDDLE:
    return 0.5f * (hint.LowerBound + hint.UpperBound);
  case LADSPA_HINT_DEFAULT_HIGH:
    return 0.25f * hint.LowerBound + 0.75f * hint.UpperBound;
  case LADSPA_HINT_DEFAULT_1:
    return 1.0f;
  default:
    return 0.0f;
  }
}

// One running plug-in with its ports. The library stays loaded.
class LadspaInstance : public PeerInstance {
public:
  LadspaInstance(const LADSPA_Descriptor* descriptor, const LadspaPeer& peer)
      : descriptor(descriptor),
        handle(descriptor->instantiate(descriptor, static_cast<unsigned long>(kBenchRateHz))),
        controls(descriptor->PortCount) {
    if (!handle) throw std::runtime_error("cannot be instantiated");
    for (unsigned long port = 0; port < descriptor->PortCount; ++port)
      connect(port, peer);
    if (descriptor->activate) descriptor->activate(handle);
  }

  ~LadspaInstance() override {
    if (descriptor->deactivate) descriptor->deactivate(handle);
    descriptor->cleanup(handle);
  }

  void runBlock(const float* input) override {
    descriptor->connect_port(handle, inputPort, const_cast<float*>(input));
    descriptor->run(handle, kPeerBlock);
  }

private:
  void connect(unsigned long port, const LadspaPeer& peer) {
    const LADSPA_PortDescriptor kind = descriptor->PortDescriptors[port];
    if (LADSPA_IS_PORT_AUDIO(kind)) {
      if (LADSPA_IS_PORT_INPUT(kind)) inputPort = port;
      if (LADSPA_IS_PORT_OUTPUT(kind)) descriptor->connect_port(handle, port, output());
      return;
    }
    const auto wanted = peer.controls.find(descriptor->PortNames[port]);
    controls[port] =
        wanted == peer.controls.end() ? defaultOf(descriptor->PortRangeHints[port]) : wanted->second;
    descriptor->connect_port(handle, port, &controls[port]);
  }

  const LADSPA_Descriptor* descriptor;
  LADSPA_Handle handle;
  std::vector<float> controls; // by port
  unsigned long inputPort = 0;
};

const LADSPA_Descriptor* findDescriptor(const LadspaPeer& peer) {
  void* library = dlopen((std::string(kDirectory) + peer.file).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return nullptr;
  const auto list = reinterpret_cast<LADSPA_Descriptor_Function>(dlsym(library, "ladspa_descriptor"));
  for (unsigned long k = 0; list; ++k) {
    const LADSPA_Descriptor* descriptor = list(k);
    if (!descriptor || std::strcmp(descriptor->Label, peer.label) == 0) return descriptor;
  }
  return nullptr;
}

} // namespace

std::vector<Case> ladspaCases() {
  std::vector<Case> cases;
  for (const LadspaPeer& peer : kPeers) {
    if (const LADSPA_Descriptor* descriptor = findDescriptor(peer))
      addPeer(cases, peer.shownAs, [&] { return std::make_shared<LadspaInstance>(descriptor, peer); });
  }
  return cases;
}
