// Same bits as DelayLine::read, faster: two samples at a time in vectors of two doubles.
#pragma once

#include "engine/DelayLine.h"
#include "engine/RealTime.h"

#include <cstdint>

// Fills slice.shifted from sample 0 on. isStraight: see DelayLine. Result: how many samples it filled, all or
// all but one; none on a processor without such vectors. [audio] Allocates nothing.
int32_t readPairs(const DelayLine& line, bool isStraight, Slice& slice) noexcept TREADSHIFT_REALTIME;
