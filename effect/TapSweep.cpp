#include "effect/TapSweep.h"

#include "dsp/ExactArithmetic.h"
#include "dsp/lfoTriangle.h"

#include <algorithm>
#if defined(__i386__) || defined(__x86_64__)
#include <emmintrin.h>
#else
#include <bit>
#endif

namespace {

constexpr double kLeastEvenPhase = 0x1p-40; // far above the phases that sweepAt rounds to 0

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

// A chunk's way at this ratio stays below the 2048 samples that a tap's fixed-point position can tell. Within
// the pedal's range the ratio is 2 at most.
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

void TapSweep::follow(Chunk& chunk) noexcept {
  for (int32_t i = 0; i < chunk.samples; ++i) {
    i = followFreely(i, chunk);
    if (i < chunk.samples) followOne(i, chunk.phaseStep[i], chunk.pitchRatio[i], chunk);
  }
}

// followOne from sample i on for as long as no tap jumps or is held back. Result: the sample where one is. As
// ways out of the loop these cases cost a prediction; as choices inside they would lengthen every sample.
int32_t TapSweep::followFreely(int32_t i, Chunk& chunk) noexcept {
  TapSweep taps = *this;
  for (; i < chunk.samples; ++i) {
    const double sweep = sweepAt(taps.phase);
    if (sweep == 0.0 || sweep == 1.0) break;
    const double next1 = taps.delay1 + 1.0 - chunk.pitchRatio[i];
    const double next2 = taps.delay2 + 1.0 - chunk.pitchRatio[i];
    if (!(next1 >= minDelay) || !(next2 >= minDelay)) break;
    chunk.sweep[i] = sweep;
    chunk.delay1[i] = taps.delay1;
    chunk.delay2[i] = taps.delay2;
    taps.delay1 = next1;
    taps.delay2 = next2;
    lfoTriangle::advance(taps.phase, taps.falling, chunk.phaseStep[i]);
  }
  *this = taps;
  return i;
}

// A tap jumps only where its own weight is zero, so that the jump is not heard.
void TapSweep::followOne(int32_t i, double phaseStep, double pitchRatio, Chunk& chunk) noexcept {
  const double sweep = sweepAt(phase);
  if (sweep == 0.0) delay1 = restart;
  if (1.0 - sweep == 0.0) delay2 = restart;
  chunk.sweep[i] = sweep;
  chunk.delay1[i] = delay1;
  chunk.delay2[i] = delay2;
  advance(phaseStep, pitchRatio);
}

// A tap that would come closer than the shortest delay stays where it is; one that lengthens has no bound.
void TapSweep::advance(double phaseStep, double pitchRatio) noexcept {
  const double next1 = delay1 + 1.0 - pitchRatio;
  const double next2 = delay2 + 1.0 - pitchRatio;
  if (next1 >= minDelay) delay1 = next1;
  if (next2 >= minDelay) delay2 = next2;
  lfoTriangle::advance(phase, falling, phaseStep);
}

// Inside one binade every rounded step is the same multiple of the spacing there, apart from ties, which go
// to the even neighbour: two equal steps show that there is none or that all go the same way. So
// start + j * move is exact and has the bits of j single steps.
EvenStretch TapSweep::evenStretch(double phaseStep, double pitchRatio, int32_t most) const noexcept {
  TapSweep once = *this;
  once.advance(phaseStep, pitchRatio);
  TapSweep twice = once;
  twice.advance(phaseStep, pitchRatio);
  EvenStretch stretch{
      0, phase, once.phase - phase, delay1, once.delay1 - delay1, delay2, once.delay2 - delay2};
  const bool even = twice.falling == falling && twice.phase - once.phase == stretch.phaseMove &&
                    twice.delay1 - once.delay1 == stretch.move1 &&
                    twice.delay2 - once.delay2 == stretch.move2;
  if (!even || pitchRatio > kFastestRatio || jumpsSoon(stretch) || !(std::min(delay1, delay2) >= 1.0))
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
bool TapSweep::jumpsSoon(const EvenStretch& stretch) const noexcept {
  const double sweep = sweepAt(phase);
  if (sweep == 0.0) return stretch.phaseMove != 0.0 || stretch.move1 != 0.0 || delay1 != restart;
  if (sweep == 1.0) return stretch.phaseMove != 0.0 || stretch.move2 != 0.0 || delay2 != restart;
  return phase < kLeastEvenPhase;
}

// The last sample's own step may lead anywhere.
void TapSweep::pass(const EvenStretch& stretch, double phaseStep, double pitchRatio) noexcept {
  const int32_t moves = stretch.samples - 1;
  phase += moves * stretch.phaseMove;
  delay1 += moves * stretch.move1;
  delay2 += moves * stretch.move2;
  advance(phaseStep, pitchRatio);
}
