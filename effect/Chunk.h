// A stretch of a block that one pass after another works on, short enough to stay in the nearest cache.
#pragma once

#include <cstdint>

// Values of each sample; every pass fills what the next ones read.
struct Chunk {
  static constexpr int32_t kLongest = 256; // samples

  int32_t first;       // samples into the block
  int32_t samples;     // 1..kLongest
  const double* input; // in the delay line
  double* sweep;       // crossfade position, 0..1; in the scratch of the block

  // While pitch or sweep change.
  bool moved[kLongest];                            // the smoothed pedal differs from the sample before
  alignas(16) double pedal[kLongest];              // 0..1: what pitch and gains are made from
  alignas(16) double pitchRatio[kLongest];         // see Treadshift
  alignas(16) double sweepRate[kLongest + 1];      // Hz; of the sample before in element i
  alignas(16) double phaseStep[kLongest];          // of the sweep, per sample
  alignas(16) double delay1[kLongest];             // samples: where the first tap reads
  alignas(16) double delay2[kLongest];             // samples: where the second tap reads
  alignas(16) double dry[kLongest], wet[kLongest]; // linear gains
  bool dryIsAmplified;                             // one of `dry` is beyond -1..1, or not a number

  alignas(16) double shifted[kLongest]; // both taps, crossfaded
  // States of the tone filter's branches: before sample i in element i, after it in element i + 1.
  alignas(16) double low[kLongest + 1], high[kLongest + 1];
};
