// Envelope and instantaneous frequency of a sound that holds one tone.
//
// The analytic signal is the sound with its negative frequencies taken away (S. L. Marple, "Computing the
// discrete-time 'analytic' signal via FFT", IEEE Trans. Signal Processing 47, 1999). Its magnitude is the
// envelope, the turn of its phase from sample to sample the instantaneous frequency (B. Boashash, "Estimating
// and interpreting the instantaneous frequency of a signal", Proc. IEEE 80, 1992).
#pragma once

#include "quality/Sound.h"

class AnalyticSignal {
public:
  // sound: an even number of samples, more than twice kEdgeSamples. The transform takes its end for the time
  // before its start; what that spoils, kEdgeSamples at both ends, is left out of every answer. aroundHz: the
  // tone's frequency; what lies above twice that is left out as well, such as the images that an
  // interpolation between samples adds. Allocates.
  AnalyticSignal(const Sound& sound, double aroundHz);

  static constexpr int kEdgeSamples = 12000;

  // Amplitude by sample, linear.
  const Sound& envelope() const { return magnitudes; }

  // Median of the instantaneous frequency, Hz. Moments in which it is pulled, such as splices, do not move it
  // as long as they take up less than half of the time or pull both ways alike. Allocates.
  double medianHz() const;

  // How much the level moves: the envelope that is exceeded 1 % of the time over the one that is exceeded 99
  // % of it, dB; 0 for a steady tone, at most kMostRippleDb. Allocates.
  double rippleDb() const;

  static constexpr double kMostRippleDb = 60.0;

private:
  Sound magnitudes;
  Sound frequencies; // Hz, by sample
};
