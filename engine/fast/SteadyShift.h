// Same bits as following the pedal, moving and reading the taps and filtering sample by sample, faster: where
// nothing moves the pitch, along stretches, with several taps read while the filters wait for
// themselves.
#pragma once

#include "engine/RealTime.h"
#include "engine/fast/JointFilters.h"
#include "engine/fast/Stretch.h"

#include <cstdint>

// Fills slice.shifted and the states of the tone filter's branches along a stretch that begins at sample
// `begin` of the slice, and moves the filters on. stretch: from LineView::beforeSeam. Works on four samples
// at a time where the processor has AVX2, elsewhere on two, with the same bits. [audio] Allocates nothing.
void shiftStretch(const LineView& line, const Stretch& stretch, int32_t begin, JointFilters& filters,
                  SmootherRun& pedal, Slice& slice) noexcept TREADSHIFT_REALTIME;
