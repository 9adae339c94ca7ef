// The bundle's door: LV2's entries, each handing over to the instance. No exception leaves it.
#include "lv2/HostOptions.h"
#include "lv2/PedalInstance.h"

#include <iterator>
#include <lv2/core/lv2.h>

namespace {

PedalInstance& instanceOf(LV2_Handle handle) { return *static_cast<PedalInstance*>(handle); }

template <int channels>
LV2_Handle instantiate(const LV2_Descriptor*, double rateHz, const char*,
                       const LV2_Feature* const* features) noexcept try {
  return new PedalInstance(channels, rateHz, announcedLargestBlock(features));
} catch (...) {
  return nullptr;
}

void connectPort(LV2_Handle handle, uint32_t port, void* data) { instanceOf(handle).connect(port, data); }

void activate(LV2_Handle handle) { instanceOf(handle).activate(); }

void run(LV2_Handle handle, uint32_t samples) { instanceOf(handle).run(samples); }

void cleanup(LV2_Handle handle) { delete &instanceOf(handle); }

constexpr LV2_Descriptor kPlugins[] = {
    {"urn:treadshift:pedal", instantiate<1>, connectPort, activate, run, nullptr, cleanup, nullptr},
    {"urn:treadshift:pedal-stereo", instantiate<2>, connectPort, activate, run, nullptr, cleanup, nullptr},
};

} // namespace

// The bundle's plug-ins. index: 0 the mono one, 1 the stereo one, any other has none and gets null.
LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  return index < std::size(kPlugins) ? &kPlugins[index] : nullptr;
}
