#include "effect/TapReader.h"

#include "dsp/ExactArithmetic.h"

#if defined(__i386__) || defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace {

#if defined(__i386__) || defined(__x86_64__)

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

int32_t readMost(const DelayLineView& view, Chunk& chunk) {
  return view.isStraight ? readPairs(StraightLine{view.line}, view.writeIndex, chunk)
                         : readPairs(RoundLine{view.line, view.length}, view.writeIndex, chunk);
}
#else // no pairs are read here: each sample is, to the same bits
int32_t readMost(const DelayLineView&, Chunk&) { return 0; }
#endif

} // namespace

void readSample(const DelayLineView& view, int32_t i, Chunk& chunk) noexcept {
  const int32_t index = view.writeIndex + i;
  const double tap1 = readTap(view.line, view.length, index, chunk.delay1[i]);
  const double tap2 = readTap(view.line, view.length, index, chunk.delay2[i]);
  const double sweep = chunk.sweep[i];
  chunk.shifted[i] = crossfadeWeight(sweep) * tap1 + crossfadeWeight(1.0 - sweep) * tap2;
}

void readTaps(const DelayLineView& view, Chunk& chunk) noexcept {
  for (int32_t i = readMost(view, chunk); i < chunk.samples; ++i)
    readSample(view, i, chunk);
}
