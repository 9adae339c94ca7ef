// The loop of a steady pedal: taps along an even stretch, and the filters behind them.
#pragma once

#include "effect/Chunk.h"
#include "effect/FilterRun.h"
#include "effect/TapReader.h"
#include "effect/TapSweep.h"

#include <cstdint>

// Fills chunk.shifted and the states of the tone branches along a stretch that begins at sample `begin` of
// the chunk, and moves the filters on. stretch: from DelayLineView::beforeSeam. Works on four samples at a
// time where the processor has AVX2, elsewhere on two, with the same bits. [audio] Allocates nothing.
void shiftEvenly(const DelayLineView& view, const EvenStretch& stretch, int32_t begin, FilterRun& filters,
                 Chunk& chunk) noexcept;
