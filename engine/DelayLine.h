// The delay line: the last two seconds of the input, read between samples.
#pragma once

#include "engine/RealTime.h"

#include <cstdint>

struct Slice;

class DelayLine {
public:
  DelayLine() = default;
  ~DelayLine();
  DelayLine(const DelayLine&) = delete;
  DelayLine& operator=(const DelayLine&) = delete;

  // Makes a line of that many samples, 1 or more, not cleared yet, to be written from its
  // start. Allocates; throws std::bad_alloc. [host, processing stopped]
  void build(int32_t samples);
  // Frees the line. [host, processing stopped]
  void release() noexcept;

  // Silences the line, if there is one. [host, processing stopped]
  void clear() noexcept;

  // The longest slice that can be written before any of it is read: it ends at the end of the line, and
  // before a tap that starts it at `delay` samples or less, and grows by one sample per sample at most, would
  // reach around the line into it. At least 1: a single sample is always written before it is read. delay: 0
  // or more. [audio] This and all below allocates nothing.
  int32_t longestSlice(double delay) const noexcept TREADSHIFT_REALTIME;

  // Writes the slice's samples of the input, and lets slice.input point at them.
  void write(const double* input, Slice& slice) noexcept TREADSHIFT_REALTIME;

  // Fills slice.shifted: both taps at each sample's delays, crossfaded. longestDelay: of both taps at the
  // slice's first sample and of a jump, in samples.
  void read(Slice& slice, double longestDelay) const noexcept TREADSHIFT_REALTIME;
  // The same for sample i alone.
  void readSample(int32_t i, Slice& slice) const noexcept TREADSHIFT_REALTIME;

  // Moves on behind a slice.
  void advance(const Slice& slice) noexcept TREADSHIFT_REALTIME;

  // For fast/: where in the line the slice stands.
  const double* samples() const noexcept { return delayLine; }
  int32_t length() const noexcept { return delayLength; }     // samples
  int32_t writtenFrom() const noexcept { return writeIndex; } // 0..length() - 1: the slice's first sample
  // Whether no tap of the slice reads beyond the ends of the line. longestDelay: as read().
  bool isStraight(double longestDelay) const noexcept { return longestDelay + 2.0 <= writeIndex; }

private:
  double* delayLine = nullptr; // owned, null until built: circular
  int32_t delayLength = 0;     // samples: two seconds
  int32_t writeIndex = 0;      // samples into delayLine
};
