// The bundle's door: LV2's entries, each handing over to the instance. No exception leaves it.
#include "lv2/HostOptions.h"
#include "lv2/PedalInstance.h"

#include <lv2/core/lv2.h>

namespace {

PedalInstance& instanceOf(LV2_Handle handle) { return *static_cast<PedalInstance*>(handle); }

LV2_Handle instantiate(const LV2_Descriptor*, double rateHz, const char*,
                       const LV2_Feature* const* features) noexcept try {
  return new PedalInstance(rateHz, announcedLargestBlock(features));
} catch (...) {
  return nullptr;
}

void connectPort(LV2_Handle handle, uint32_t port, void* data) { instanceOf(handle).connect(port, data); }

void activate(LV2_Handle handle) { instanceOf(handle).activate(); }

void run(LV2_Handle handle, uint32_t samples) { instanceOf(handle).run(samples); }

void cleanup(LV2_Handle handle) { delete &instanceOf(handle); }

const LV2_Descriptor kDescriptor = {
    "urn:treadshift:pedal", instantiate, connectPort, activate, run, nullptr, cleanup, nullptr,
};

} // namespace

// The one plug-in of the bundle. index: 0, any other has none and gets null.
LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  return index == 0 ? &kDescriptor : nullptr;
}
