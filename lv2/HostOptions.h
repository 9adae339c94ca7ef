// What a host says about itself when it makes an instance.
#pragma once

#include <cstdint>
#include <lv2/core/lv2.h>

// The largest block in samples that the host announces through its options (bufsz:maxBlockLength); 0 when it
// announces none, or none that makes sense. features: null or null-terminated, as given to instantiate.
// [host] Allocates nothing.
int32_t announcedLargestBlock(const LV2_Feature* const* features);
