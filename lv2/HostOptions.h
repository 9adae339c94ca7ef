// What a host says about itself when it makes an instance.
#pragma once

#include <cstdint>
#include <lv2/core/lv2.h>

// The largest block in samples that the host announces through its options (bufsz:maxBlockLength), unchecked;
// 0 when it announces none. features: null or null-terminated, as given to instantiate. [instantiation]
// Allocates nothing.
int32_t announcedLargestBlock(const LV2_Feature* const* features);
