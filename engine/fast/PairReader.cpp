#include "engine/fast/PairReader.h"

#include "dsp/ExactArithmetic.h"
#include "engine/Crossfade.h"
#include "engine/ReadTap.h"
#include "engine/Slice.h"

#if defined(__i386__) || defined(__x86_64__)
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

template <typename Line> int32_t readPairsOf(const Line& line, int32_t writeIndex, Slice& slice) {
  int32_t i = 0;
  for (; i + 2 <= slice.samples; i += 2) {
    const __m128d delay1 = _mm_load_pd(slice.delay1 + i);
    const __m128d delay2 = _mm_load_pd(slice.delay2 + i);
    const __m128i whole1 = _mm_cvttpd_epi32(delay1);
    const __m128i whole2 = _mm_cvttpd_epi32(delay2);
    alignas(16) int32_t whole[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(whole), _mm_unpacklo_epi64(whole1, whole2));
    const int32_t index = writeIndex + i;
    const __m128d tap1 =
        readPair(line, index - whole[0], index + 1 - whole[1], delay1 - _mm_cvtepi32_pd(whole1));
    const __m128d tap2 =
        readPair(line, index - whole[2], index + 1 - whole[3], delay2 - _mm_cvtepi32_pd(whole2));
    _mm_store_pd(slice.shifted + i, crossfaded(_mm_load_pd(slice.sweepBuffer + i), tap1, tap2));
  }
  return i;
}

} // namespace

int32_t readPairs(const DelayLine& line, bool isStraight, Slice& slice) noexcept {
  return isStraight ? readPairsOf(StraightLine{line.samples()}, line.writtenFrom(), slice)
                    : readPairsOf(RoundLine{line.samples(), line.length()}, line.writtenFrom(), slice);
}
#else
int32_t readPairs(const DelayLine&, bool, Slice&) noexcept { return 0; }
#endif
