// A stretch of a block that one step after another works on, short enough to stay in the nearest cache.
#pragma once

#include <cstdint>

// Values of each sample; every step fills what the next ones read.
struct Slice {
  static constexpr int32_t kLongest = 256; // samples

  int32_t first;       // samples into the block
  int32_t samples;     // 1..kLongest
  const double* input; // in the delay line

  bool moved[kLongest];                       // the smoothed pedal differs from the sample before
  int32_t bend;                               // the first sample whose pitch is made anew, or `samples`
  alignas(16) double pedal[kLongest];         // 0..1: what pitch and gains are made from, from `bend` on
  alignas(16) double pitchRatio[kLongest];    // 2^(cents / 1200)
  alignas(16) double sweepRate[kLongest + 1]; // Hz; of sample i in element i + 1
  alignas(16) double dryGain[kLongest];       // linear
  alignas(16) double wetGain[kLongest];       // linear
  alignas(16) double phaseStep[kLongest];     // of the sweep, per sample
  alignas(16) double sweepBuffer[kLongest];   // crossfade position, 0..1
  alignas(16) double delay1[kLongest];        // samples: where the first tap reads
  alignas(16) double delay2[kLongest];        // samples: where the second tap reads
  alignas(16) double toned[kLongest];         // behind the tone filter
  alignas(16) double shifted[kLongest];       // both taps, crossfaded

  // For fast/, in place of toned. States of the tone filter's branches: before sample i in element i, after
  // it in element i + 1.
  alignas(16) double low[kLongest + 1], high[kLongest + 1];
};
