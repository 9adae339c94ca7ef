#include "peers/LadspaPeer.h"

#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

namespace {

constexpr char kDirectory[] = "/usr/lib/ladspa/";

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

const LADSPA_Descriptor* findDescriptor(const std::string& file, const std::string& label) {
  void* library = dlopen((kDirectory + file).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return nullptr;
  const auto list = reinterpret_cast<LADSPA_Descriptor_Function>(dlsym(library, "ladspa_descriptor"));
  for (unsigned long k = 0; list; ++k) {
    const LADSPA_Descriptor* descriptor = list(k);
    if (!descriptor || label == descriptor->Label) return descriptor;
  }
  return nullptr;
}

} // namespace

std::unique_ptr<LadspaPeer> LadspaPeer::open(const std::string& file, const std::string& label, double rateHz,
                                             const PeerControls& controls) {
  const LADSPA_Descriptor* descriptor = findDescriptor(file, label);
  if (!descriptor) return nullptr;
  return std::unique_ptr<LadspaPeer>(new LadspaPeer(descriptor, rateHz, controls));
}

LadspaPeer::LadspaPeer(const LADSPA_Descriptor* plugin, double rateHz, const PeerControls& wanted)
    : descriptor(plugin), handle(plugin->instantiate(plugin, static_cast<unsigned long>(rateHz))),
      controls(plugin->PortCount) {
  if (!handle) throw std::runtime_error("cannot be instantiated");
  for (unsigned long port = 0; port < descriptor->PortCount; ++port)
    connect(port, wanted);
  if (descriptor->activate) descriptor->activate(handle);
}

LadspaPeer::~LadspaPeer() {
  if (descriptor->deactivate) descriptor->deactivate(handle);
  descriptor->cleanup(handle);
}

void LadspaPeer::connect(unsigned long port, const PeerControls& wanted) {
  const LADSPA_PortDescriptor kind = descriptor->PortDescriptors[port];
  if (LADSPA_IS_PORT_AUDIO(kind)) {
    (LADSPA_IS_PORT_INPUT(kind) ? inputPort : outputPort) = port;
    return;
  }
  const auto found = wanted.find(descriptor->PortNames[port]);
  controls[port] = found == wanted.end() ? defaultOf(descriptor->PortRangeHints[port]) : found->second;
  descriptor->connect_port(handle, port, &controls[port]);
}

void LadspaPeer::run(const float* input, float* output, int32_t samples) {
  descriptor->connect_port(handle, inputPort, const_cast<float*>(input));
  descriptor->connect_port(handle, outputPort, output);
  descriptor->run(handle, static_cast<unsigned long>(samples));
}

void LadspaPeer::setControl(const std::string& name, float value) {
  for (unsigned long port = 0; port < descriptor->PortCount; ++port)
    if (name == descriptor->PortNames[port]) controls[port] = value;
}
