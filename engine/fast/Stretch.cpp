#include "engine/fast/Stretch.h"

#include "dsp/ExactArithmetic.h"
#include "engine/ReadTap.h"
#include "engine/TapSteps.h"

#include <algorithm>
#if defined(__i386__) || defined(__x86_64__)
#include <emmintrin.h>
#else
#include <bit>
#endif

namespace {

constexpr double kLeastStretchPhase = 0x1p-40; // far above the phases that crossfadeAt rounds to 0

// The power of two at or below a positive number: inside [2^e, 2^(e+1)] all doubles are equally spaced. On
// x86 in a vector register, because 32 bits would take the number apart and wait for its halves to come
// together.
double binadeFloor(double x) {
#if defined(__i386__) || defined(__x86_64__)
  const __m128d exponent = _mm_castsi128_pd(_mm_set1_epi64x(0x7FF0000000000000));
  return _mm_cvtsd_f64(_mm_and_pd(_mm_set_sd(x), exponent));
#else
  return std::bit_cast<double>(std::bit_cast<uint64_t>(x) & 0x7FF0000000000000);
#endif
}

// A slice's way at this ratio is below the 2048 samples that a tap's fixed-point position can tell.
// Within the pedal's range the ratio is 2 at most.
constexpr double kFastestRatio = 7.0;

constexpr double kDivisionSlack = 0x1p-20; // steps: far more than a quotient of some hundred steps is off

// How many times, up to `most`, a quantity at x can make a step with every value strictly between low and
// high; rather one too few than one too many. 0 for anything that is not a number.
int32_t repeats(double x, double step, double low, double high, int32_t most) {
  if (step == 0.0) return most;
  const double last = x + most * step;
  if (x < high && low < last && last < high) return most; // nearly always, and divisions take long
  const double times = (step > 0.0 ? high - x : low - x) / step - kDivisionSlack;
  if (!(times >= 1.0) || !(x < high)) return 0;
  return times < most ? static_cast<int32_t>(times) : most;
}

} // namespace

// Inside one binade every rounded step is the same multiple of the spacing there, apart from ties, which go
// to the even neighbour: two equal steps show that there is none or that all go the same way. So
// start + j * move is exact and has the bits of j single steps.
Stretch SteadyTaps::stretch(int32_t most) const noexcept {
  const auto& [phase, falling, delay1, delay2] = now;
  TapState once = now;
  advance(once);
  TapState twice = once;
  advance(twice);
  Stretch stretch{0, phase, once.phase - phase, delay1, once.delay1 - delay1, delay2, once.delay2 - delay2};
  const bool isEqual = twice.falling == falling && twice.phase - once.phase == stretch.phaseMove &&
                       twice.delay1 - once.delay1 == stretch.move1 &&
                       twice.delay2 - once.delay2 == stretch.move2;
  if (!isEqual || pitchRatio > kFastestRatio || jumpsSoon(stretch) || !(std::min(delay1, delay2) >= 1.0))
    return stretch;

  const double phaseFloor = binadeFloor(phase);
  const double floor1 = binadeFloor(delay1);
  const double floor2 = binadeFloor(delay2);
  int32_t moves = most - 1;
  moves = repeats(phase, stretch.phaseMove, phaseFloor, 2.0 * phaseFloor, moves);
  // A delay passes through delay + 1, which has to lie in the same binade.
  moves = repeats(delay1, stretch.move1, std::max(floor1, minDelay), 2.0 * floor1 - 1.0, moves);
  moves = repeats(delay2, stretch.move2, std::max(floor2, minDelay), 2.0 * floor2 - 1.0, moves);
  stretch.samples = moves + 1;
  return stretch;
}

// True when a tap jumps at the stretch's first sample or could at a later one. At a turn that lasts, where
// the silent tap jumps before every sample, it is enough that it already stands where it jumps to.
bool SteadyTaps::jumpsSoon(const Stretch& stretch) const noexcept {
  const double position = crossfadeAt(now.phase);
  if (position == 0.0) return stretch.phaseMove != 0.0 || stretch.move1 != 0.0 || now.delay1 != jumpDelay;
  if (position == 1.0) return stretch.phaseMove != 0.0 || stretch.move2 != 0.0 || now.delay2 != jumpDelay;
  return now.phase < kLeastStretchPhase;
}

// The last sample's own step may lead anywhere.
void SteadyTaps::pass(const Stretch& stretch) noexcept {
  const int32_t moves = stretch.samples - 1;
  now.phase += moves * stretch.phaseMove;
  now.delay1 += moves * stretch.move1;
  now.delay2 += moves * stretch.move2;
  advance(now);
}

void SteadyTaps::advance(TapState& taps) const noexcept { taps.advance(phaseStep, pitchRatio, minDelay); }

const double* LineView::neighbour(int32_t i, double delay) const noexcept {
  const int32_t index = writeIndex + i - wholeSamples(delay);
  return line + (index > 0 ? index : index + length);
}

Stretch LineView::beforeSeam(int32_t i, Stretch stretch) const noexcept {
  stretch.samples = samplesToSeam(i, stretch.delay1, stretch.move1, stretch.samples);
  stretch.samples = samplesToSeam(i, stretch.delay2, stretch.move2, stretch.samples) & ~3;
  return stretch;
}

// Of `samples` samples from i on, how many a tap reads before it passes the line's end, its delay changing by
// `move` each; rather a few too few. 0 while it passes, and for one that has outgrown the line.
int32_t LineView::samplesToSeam(int32_t i, double delay, double move, int32_t samples) const noexcept {
  const int32_t index = writeIndex + i - wholeSamples(delay);
  if (index > 0) return samples;
  if (index > -2 || index < 2 - length) return 0;
  const double closing = 1.0 - move;
  if (!(closing > 0.0)) return samples; // 0 may be -0, and a little less, as the host has it rounded
  const double times = (-1 - index) / closing;
  return times < samples ? static_cast<int32_t>(times) : samples;
}
