#include "engine/Pitch.h"

#include "dsp/PowersOfTwo.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>

void Pitch::prepare(double rate, int32_t sweepLength) noexcept {
  *this = Pitch();
  rateHz = rate;
  sweepLengthInv = 1.0 / sweepLength;
}

void Pitch::chooseColor(float color, float pedal) noexcept {
  const Color& range = kColorTable[colorOf(color)];
  centsAtHeel = range.centsAtHeel;
  centsAtToe = range.centsAtToe;
  mixMode = range.mixMode;
  chooseGains(pedal);
}

bool Pitch::choosePitch(float pedal) noexcept {
  pitchPedal = pedal;
  cents = centsAt(pedal);
  pitchRatio = std::pow(2.0, cents * centsToOctaves);
  sweepRate = rateFor(pitchRatio);
  chooseGains(pedal);
  const bool crossesZero = (lastCents > 0.0 && cents < 0.0) || (lastCents < 0.0 && cents > 0.0);
  lastCents = cents;
  return crossesZero;
}

// choosePitch for each sample. A change of sign turns nothing around here: the move that brings it also lets
// the sweep begin a glide, which takes up the direction from before.
void Pitch::follow(Slice& slice) noexcept {
  std::fill_n(slice.pitchRatio, slice.bend, pitchRatio);
  std::fill_n(slice.dryGain, slice.bend, dryGain);
  std::fill_n(slice.wetGain, slice.bend, wetGain);
  for (int32_t i = slice.bend; i < slice.samples; ++i)
    slice.pitchRatio[i] = centsAt(slice.pedal[i]) * centsToOctaves;
  powersOfTwo(slice.pitchRatio + slice.bend, slice.samples - slice.bend);
  for (int32_t i = 0; i < slice.samples; ++i)
    slice.sweepRate[i + 1] = rateFor(slice.pitchRatio[i]);
  for (int32_t i = slice.bend; i < slice.samples; ++i) {
    const MixGains gains = mixGains(mixMode, slice.pedal[i]);
    slice.dryGain[i] = gains.dry;
    slice.wetGain[i] = gains.wet;
  }
  if (slice.bend < slice.samples) keepLast(slice);
}

void Pitch::keepLast(const Slice& slice) noexcept {
  const int32_t last = slice.samples - 1;
  pitchPedal = static_cast<float>(slice.pedal[last]);
  cents = lastCents = centsAt(pitchPedal);
  pitchRatio = slice.pitchRatio[last];
  sweepRate = slice.sweepRate[last + 1];
  dryGain = slice.dryGain[last];
  wetGain = slice.wetGain[last];
}

double Pitch::centsAt(double pedal) const noexcept {
  return centsAtHeel + (centsAtToe - centsAtHeel) * pedal;
}

// A period of the sweep is the time in which a tap travels from one jump to the next.
double Pitch::rateFor(double ratio) const noexcept { return std::abs(1.0 - ratio) * rateHz * sweepLengthInv; }

void Pitch::chooseGains(double pedal) noexcept {
  const MixGains gains = mixGains(mixMode, pedal);
  dryGain = gains.dry;
  wetGain = gains.wet;
}

bool Pitch::isFinite() const noexcept { return std::isfinite(cents); }
