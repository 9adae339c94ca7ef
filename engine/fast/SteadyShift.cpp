#include "engine/fast/SteadyShift.h"

#include "engine/PitchPedal.h"
#include "engine/TapSteps.h"
#include "engine/fast/StretchTaps.h"

#include <algorithm>

namespace {

constexpr int32_t kLeastStretch = 4; // a whole vector of any width

// Samples of which first the taps are read, then the filters run. The filters leave much of the processor
// idle while they wait for themselves; groups this short let it read the next taps meanwhile. Whole vectors,
// their number found by trial.
template <int kLanes> constexpr int32_t kGroup = kLanes == 2 ? 12 : 16;

template <int kLanes, bool kSteadyTone, bool kSteadyPedal>
[[gnu::always_inline]] inline void shiftGroups(const LineView& line, const Stretch& stretch, int32_t begin,
                                               JointFilters& filters, SmootherRun& pedal,
                                               Slice& slice) noexcept {
  StretchTaps<kLanes> taps(line, begin, stretch);
  const int32_t end = begin + stretch.samples;
  for (int32_t i = begin; i < end; i += kGroup<kLanes>) {
    const int32_t groupEnd = std::min(end, i + kGroup<kLanes>);
    taps.read(slice.shifted + i, groupEnd - i);
    filters.run<kSteadyTone, kSteadyPedal>(slice, i, groupEnd, pedal);
  }
}

template <int kLanes>
[[gnu::always_inline]] inline void shiftIn(const LineView& line, const Stretch& stretch, int32_t begin,
                                           JointFilters& filters, SmootherRun& pedal, Slice& slice) noexcept {
  if (!filters.isToneSteady())
    shiftGroups<kLanes, false, false>(line, stretch, begin, filters, pedal, slice);
  else if (!pedal.isSteady())
    shiftGroups<kLanes, true, false>(line, stretch, begin, filters, pedal, slice);
  else
    shiftGroups<kLanes, true, true>(line, stretch, begin, filters, pedal, slice);
}

#if defined(__i386__) || defined(__x86_64__)
#define TREADSHIFT_FOR_AVX2 [[gnu::target("avx2")]]
#define TREADSHIFT_HAS_AVX2 __builtin_cpu_supports("avx2")
// g++ 12 leaves this out of some 32-bit builds, and what follows in narrower vectors takes twice as long
// then.
#define TREADSHIFT_CLEAR_UPPER_HALVES __builtin_ia32_vzeroupper()
#else // pairs are as wide as vectors of doubles are
#define TREADSHIFT_FOR_AVX2
#define TREADSHIFT_HAS_AVX2 false
#define TREADSHIFT_CLEAR_UPPER_HALVES
#endif

TREADSHIFT_FOR_AVX2 void shiftInFours(const LineView& line, const Stretch& stretch, int32_t begin,
                                      JointFilters& filters, SmootherRun& pedal, Slice& slice) noexcept {
  shiftIn<4>(line, stretch, begin, filters, pedal, slice);
  TREADSHIFT_CLEAR_UPPER_HALVES;
}

#ifdef TREADSHIFT_NARROW_VECTORS
constexpr bool kWorksInFours = false;
#else
const bool kWorksInFours = TREADSHIFT_HAS_AVX2;
#endif

} // namespace

void shiftStretch(const LineView& line, const Stretch& stretch, int32_t begin, JointFilters& filters,
                  SmootherRun& pedal, Slice& slice) noexcept {
  if (kWorksInFours)
    shiftInFours(line, stretch, begin, filters, pedal, slice);
  else
    shiftIn<2>(line, stretch, begin, filters, pedal, slice);
}

// A new glide would make a difference, and so would a turn that waits for the end of the block.
bool PitchPedal::isSteady(const Block& block) const noexcept {
  if (block.pedalStep != 0.0 || !taps.isSteady()) return false;
  if (pedal.isSteady(block)) return true;
  return !block.turns && taps.isBoundFor(pitch.rate()) && pedal.keepsPitch(pitch.pedal(), block);
}

// Stretches as such, the samples between them one by one.
void PitchPedal::shiftSteadily(const Block& block, Slice& slice) noexcept {
  const LineView view(line);
  SteadyTaps moving{taps.state(), taps.steadyStep(), pitch.ratio(), taps.shortestDelay(), block.jumpDelay};
  SmootherRun smoother{pedal.pole(), pedal.input(block), pedal.state()};
  JointFilters filters(block, *shiftFilter, tone);
  filters.begin(slice);
  for (int32_t i = 0; i < slice.samples;) {
    Stretch stretch{};
    if (slice.samples - i >= kLeastStretch) stretch = view.beforeSeam(i, moving.stretch(slice.samples - i));
    if (stretch.samples > 0) {
      shiftStretch(view, stretch, i, filters, smoother, slice);
      moving.pass(stretch);
      i += stretch.samples;
    } else {
      followOne(i, moving.jumpDelay, moving.minDelay, moving.phaseStep, moving.pitchRatio, moving.now, slice);
      line.readSample(i, slice);
      filters.run<false, false>(slice, i, i + 1, smoother);
      ++i;
    }
  }
  taps.moveTo(moving.now);
  pedal.arriveAt(smoother.state);
}

// The pedal has moved already.
void PitchPedal::filterJointly(const Block& block, Slice& slice) noexcept {
  SmootherRun none{};
  JointFilters filters(block, *shiftFilter, tone);
  filters.begin(slice);
  if (filters.isToneSteady())
    filters.run<true, true>(slice, 0, slice.samples, none);
  else
    filters.run<false, true>(slice, 0, slice.samples, none);
}
