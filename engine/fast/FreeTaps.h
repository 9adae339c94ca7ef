// Same bits as TapPair::follow, faster: jumps and bounds leave the loop instead of lengthening every sample,
// and where the pedal moves at every sample no glide is played beyond its first step.
#pragma once

#include "engine/RealTime.h"
#include "engine/TapPair.h"

#include <cstdint>

// Follows both taps from sample i of the slice on for as long as none jumps or is held at minDelay (samples).
// Result: the sample where one is. [audio] Allocates nothing.
int32_t followFreely(int32_t i, double minDelay, TapState& taps, Slice& slice) noexcept TREADSHIFT_REALTIME;

// Fills slice.phaseStep when the pedal moves at every sample, but for the last sample, which has to begin its
// glide, and leaves the sweep where that one finds it. Result: how many samples it filled, or 0. [audio]
// Allocates nothing.
int32_t glideAtEverySample(lfoTriangle& sweep, Slice& slice) noexcept TREADSHIFT_REALTIME;
