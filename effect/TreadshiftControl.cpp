// From parameters to pitch, gains and tone: everything slower than a sample. [audio, set-up]
#include "effect/Treadshift.h"

#include "effect/ColorTable.h"
#include "effect/SharedField.h"

#include <cmath>

void Treadshift::setColor() {
  const ColorRange& range = colorRange(colorRow(loadShared(color)));
  centsAtHeel = range.centsAtHeel;
  centsAtToe = range.centsAtToe;
  mixMode = range.mixMode;
  setMixGains(loadShared(pedalPos));
}

void Treadshift::setPitch(float pedal) {
  const double p = pedal;
  cents = centsAtHeel + (centsAtToe - centsAtHeel) * p;
  // Turning around keeps the crossfade continuous while the taps change from shortening to lengthening.
  const bool crossesZero = (lastCents > 0.0 && cents < 0.0) || (lastCents < 0.0 && cents > 0.0);
  if (crossesZero && sweepLfo) sweepLfo->falling = sweepLfo->falling == 1 ? 0 : 1;
  pitchRatio = std::pow(2.0, cents * centsToOctaves);
  // A sweep's period is the time in which a tap travels sweepLength samples.
  sweepRate = std::abs(1.0 - pitchRatio) * rateHz * sweepLengthInv;
  setMixGains(p);
  lastCents = cents;
}

void Treadshift::setMixGains(double pedal) {
  const MixGains gains = mixGains(mixMode, pedal);
  dryGain = gains.dry;
  wetGain = gains.wet;
}

void Treadshift::setToneTargets(float toneValue) {
  for (int j = 0; j < kToneCoefficients; ++j)
    toneCoef[j] = toneCurves[j]->evaluate(toneValue);
}
