#include "effect/TapReader.h"

#include "dsp/ExactArithmetic.h"

#include <algorithm>
#include <bit>
#include <emmintrin.h>

namespace {

// Where a tap finds two neighbours in the line, as far and near: side by side, ...
struct StraightLine {
  const double* line;
  __m128d neighbours(int32_t index) const noexcept { return _mm_loadu_pd(line + index - 1); }
};

// ... or on any side of its ends.
struct RoundLine {
  const double* line;
  int32_t length;
  __m128d neighbours(int32_t index) const noexcept {
    return _mm_set_pd(line[wrappedIndex(index, length)], line[wrappedIndex(index - 1, length)]);
  }
};

// readTap for two samples at once, at the indices where the whole samples of their delays end.
template <typename Line>
__m128d readPair(const Line& line, int32_t index0, int32_t index1, __m128d fraction) {
  const __m128d neighbours0 = line.neighbours(index0);
  const __m128d neighbours1 = line.neighbours(index1);
  const __m128d near = _mm_unpackhi_pd(neighbours0, neighbours1);
  const __m128d far = _mm_unpacklo_pd(neighbours0, neighbours1);
  return near + (far - near) * fraction;
}

// A tap along an even stretch, two samples at a time. All its delays have the same exponent, so whole samples
// and fraction part at the same bit.
class EvenTap {
public:
  EvenTap(double delay, double move) noexcept
      : delays(_mm_set_pd(delay + move, delay)), moves(_mm_set1_pd(2.0 * move)),
        bits(std::bit_cast<uint64_t>(delay)), bitsMove(std::bit_cast<uint64_t>(delay + move) - bits) {
    const int exponent = static_cast<int>(bits >> kMantissaBits) - kExponentBias;
    fractionBits = kMantissaBits - exponent;
    wholeMask = _mm_castsi128_pd(_mm_set1_epi64x(-1LL << fractionBits));
    // What the shifted exponent adds to the whole samples, less their leading 1, which is not stored.
    offset = (kExponentBias - 1 + exponent) << exponent;
  }

  // The two samples written at writeIndex and behind it; then moves on.
  template <typename Line> __m128d read(const Line& line, int32_t writeIndex) noexcept {
    const __m128d fraction = delays - _mm_and_pd(delays, wholeMask);
    const WholePair whole = nextWhole();
    delays += moves;
    return readPair(line, writeIndex - whole.first, writeIndex + 1 - whole.second, fraction);
  }

private:
  static constexpr int kMantissaBits = 52;
  static constexpr int kExponentBias = 1023;

  struct WholePair {
    int32_t first, second;
  };

#if defined(__x86_64__)
  // The bits, taken as an integer, move evenly as well: integer units are free for this.
  WholePair nextWhole() noexcept {
    const uint64_t next = bits + bitsMove;
    const WholePair whole{static_cast<int32_t>(bits >> fractionBits) - offset,
                          static_cast<int32_t>(next >> fractionBits) - offset};
    bits = next + bitsMove;
    return whole;
  }
#else
  WholePair nextWhole() const noexcept {
    const __m128i whole = _mm_srl_epi64(_mm_castpd_si128(delays), _mm_cvtsi32_si128(fractionBits));
    return {_mm_cvtsi128_si32(whole) - offset, _mm_cvtsi128_si32(_mm_unpackhi_epi64(whole, whole)) - offset};
  }
#endif

  __m128d delays; // samples
  __m128d moves;
  __m128d wholeMask;
  uint64_t bits, bitsMove;
  int fractionBits;
  int32_t offset;
};

// Two samples at a time; for an odd number the last pair ends in an element that is written again or to
// spare.
template <typename Line>
void readEvenPairs(const Line& line, int32_t writeIndex, const EvenStretch& stretch, double* shifted) {
  const __m128d one = _mm_set1_pd(1.0);
  const __m128d phaseMoves = _mm_set1_pd(2.0 * stretch.phaseMove);
  __m128d phases = _mm_set_pd(stretch.phase + stretch.phaseMove, stretch.phase);
  EvenTap tap1(stretch.delay1, stretch.move1);
  EvenTap tap2(stretch.delay2, stretch.move2);
  for (int32_t j = 0; j < stretch.samples; j += 2) {
    const __m128d sweep = sweepAt(phases);
    phases += phaseMoves;
    _mm_storeu_pd(shifted + j, crossfadeWeight(sweep) * tap1.read(line, writeIndex + j) +
                                   crossfadeWeight(one - sweep) * tap2.read(line, writeIndex + j));
  }
}

// Two samples at a time from sample 0 on. Result: the samples read, all or all but one.
template <typename Line> int32_t readPairs(const Line& line, int32_t writeIndex, Chunk& chunk) {
  const __m128d one = _mm_set1_pd(1.0);
  int32_t i = 0;
  for (; i + 2 <= chunk.samples; i += 2) {
    const __m128d delay1 = _mm_load_pd(chunk.delay1 + i);
    const __m128d delay2 = _mm_load_pd(chunk.delay2 + i);
    const __m128i whole1 = _mm_cvttpd_epi32(delay1);
    const __m128i whole2 = _mm_cvttpd_epi32(delay2);
    alignas(16) int32_t whole[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(whole), _mm_unpacklo_epi64(whole1, whole2));
    const int32_t index = writeIndex + i;
    const __m128d tap1 =
        readPair(line, index - whole[0], index + 1 - whole[1], delay1 - _mm_cvtepi32_pd(whole1));
    const __m128d tap2 =
        readPair(line, index - whole[2], index + 1 - whole[3], delay2 - _mm_cvtepi32_pd(whole2));
    const __m128d sweep = _mm_loadu_pd(chunk.sweep + i);
    _mm_store_pd(chunk.shifted + i, crossfadeWeight(sweep) * tap1 + crossfadeWeight(one - sweep) * tap2);
  }
  return i;
}

} // namespace

int32_t writableAhead(double delay, int32_t lineLength) noexcept {
  const double free = lineLength - 2 - delay;
  return free < 1.0 ? 1 : static_cast<int32_t>(free);
}

void readSample(const DelayLineView& view, int32_t i, Chunk& chunk) noexcept {
  const int32_t index = view.writeIndex + i;
  const double tap1 = readTap(view.line, view.length, index, chunk.delay1[i]);
  const double tap2 = readTap(view.line, view.length, index, chunk.delay2[i]);
  const double sweep = chunk.sweep[i];
  chunk.shifted[i] = crossfadeWeight(sweep) * tap1 + crossfadeWeight(1.0 - sweep) * tap2;
}

void readTaps(const DelayLineView& view, Chunk& chunk) noexcept {
  const int32_t read = view.isStraight ? readPairs(StraightLine{view.line}, view.writeIndex, chunk)
                                       : readPairs(RoundLine{view.line, view.length}, view.writeIndex, chunk);
  if (read < chunk.samples) readSample(view, read, chunk);
}

void readEvenTaps(const DelayLineView& view, int32_t begin, const EvenStretch& stretch,
                  Chunk& chunk) noexcept {
  const int32_t index = view.writeIndex + begin;
  if (view.isStraight)
    readEvenPairs(StraightLine{view.line}, index, stretch, chunk.shifted + begin);
  else
    readEvenPairs(RoundLine{view.line, view.length}, index, stretch, chunk.shifted + begin);
}
