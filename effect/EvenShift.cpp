#include "effect/EvenShift.h"

#include "effect/EvenTaps.h"

#include <algorithm>

namespace {

// Samples of which first the taps are read, then the filters run. The filters leave much of the processor
// idle while they wait for themselves; groups this short let it read the next taps meanwhile. Whole vectors,
// their number found by trial.
template <int kLanes> constexpr int32_t kGroup = kLanes == 2 ? 12 : 16;

template <int kLanes, bool kToneStays, bool kPedalStays>
[[gnu::always_inline]] inline void shiftGroups(const DelayLineView& view, const EvenStretch& stretch,
                                               int32_t begin, FilterRun& filters, Chunk& chunk) noexcept {
  EvenTaps<kLanes> taps(view, begin, stretch);
  const int32_t end = begin + stretch.samples;
  for (int32_t i = begin; i < end; i += kGroup<kLanes>) {
    const int32_t groupEnd = std::min(end, i + kGroup<kLanes>);
    taps.read(chunk.shifted + i, groupEnd - i);
    filters.run<kToneStays, kPedalStays>(chunk, i, groupEnd);
  }
}

template <int kLanes>
[[gnu::always_inline]] inline void shiftIn(const DelayLineView& view, const EvenStretch& stretch,
                                           int32_t begin, FilterRun& filters, Chunk& chunk) noexcept {
  if (!filters.toneStays())
    shiftGroups<kLanes, false, false>(view, stretch, begin, filters, chunk);
  else if (!filters.pedalStays())
    shiftGroups<kLanes, true, false>(view, stretch, begin, filters, chunk);
  else
    shiftGroups<kLanes, true, true>(view, stretch, begin, filters, chunk);
}

#if defined(__i386__) || defined(__x86_64__)
#define TREADSHIFT_FOR_AVX2 [[gnu::target("avx2")]]
#define TREADSHIFT_HAS_AVX2 __builtin_cpu_supports("avx2")
#else // pairs are as wide as vectors of doubles are
#define TREADSHIFT_FOR_AVX2
#define TREADSHIFT_HAS_AVX2 false
#endif

TREADSHIFT_FOR_AVX2 void shiftInFours(const DelayLineView& view, const EvenStretch& stretch, int32_t begin,
                                      FilterRun& filters, Chunk& chunk) noexcept {
  shiftIn<4>(view, stretch, begin, filters, chunk);
}

#ifdef TREADSHIFT_NARROW_VECTORS
constexpr bool kWorksInFours = false;
#else
const bool kWorksInFours = TREADSHIFT_HAS_AVX2;
#endif

} // namespace

void shiftEvenly(const DelayLineView& view, const EvenStretch& stretch, int32_t begin, FilterRun& filters,
                 Chunk& chunk) noexcept {
  if (kWorksInFours)
    shiftInFours(view, stretch, begin, filters, chunk);
  else
    shiftIn<2>(view, stretch, begin, filters, chunk);
}
