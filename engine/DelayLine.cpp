#include "engine/DelayLine.h"

#include "engine/Crossfade.h"
#include "engine/ReadTap.h"
#include "engine/Slice.h"
#include "engine/fast/Fence.h"
#include "engine/fast/FetchLine.h"
#include "engine/fast/PairReader.h"

#include <algorithm>

DelayLine::~DelayLine() { release(); }

void DelayLine::build(int32_t samples) {
  release();
  delayLine = new double[samples];
  delayLength = samples;
}

void DelayLine::release() noexcept {
  delete[] delayLine;
  delayLine = nullptr;
  delayLength = writeIndex = 0;
}

void DelayLine::clear() noexcept { std::fill_n(delayLine, delayLength, 0.0); }

int32_t DelayLine::longestSlice(double delay) const noexcept {
  const double free = delayLength - 2 - delay;
  const int32_t ahead = free < 1.0 ? 1 : static_cast<int32_t>(free);
  return std::min(ahead, delayLength - writeIndex);
}

void DelayLine::write(const double* input, Slice& slice) noexcept {
  double* const place = delayLine + writeIndex;
  std::copy_n(input, slice.samples, place);
  slice.input = place;
  if constexpr (kFast) fetchLine(place + slice.samples, slice.samples);
}

void DelayLine::read(Slice& slice, double longestDelay) const noexcept {
  int32_t i = 0;
  if constexpr (kFast) i = readPairs(*this, isStraight(longestDelay), slice);
  for (; i < slice.samples; ++i)
    readSample(i, slice);
}

void DelayLine::readSample(int32_t i, Slice& slice) const noexcept {
  const double tap1 = readTap(delayLine, delayLength, writeIndex + i, slice.delay1[i]);
  const double tap2 = readTap(delayLine, delayLength, writeIndex + i, slice.delay2[i]);
  slice.shifted[i] = crossfaded(slice.sweepBuffer[i], tap1, tap2);
}

void DelayLine::advance(const Slice& slice) noexcept {
  writeIndex += slice.samples;
  if (writeIndex == delayLength) writeIndex = 0;
}
