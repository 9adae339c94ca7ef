// From a colour and a pedal position to pitch, sweep rate and gains.
#pragma once

#include "engine/PedalNumbers.h"
#include "engine/RealTime.h"

#include <cstdint>

struct Slice;

// Choose a colour before a pitch: the range comes first. [audio; host, processing stopped] Allocates nothing.
class Pitch {
public:
  // Starts from nothing chosen: no range, ratio 1, gains 0. rate: Hz. sweepLength: samples that a tap travels
  // between two jumps, not 0. [host, processing stopped]
  void prepare(double rate, int32_t sweepLength) noexcept;

  // Takes the colour's range and mix, and the gains at a pedal position. color, pedal: 0..1.
  void chooseColor(float color, float pedal) noexcept TREADSHIFT_REALTIME;

  // Turns a pedal position of 0..1 into cents, pitch ratio, sweep rate and gains. True: the pitch changed its
  // sign, so that the taps have to change from shortening to lengthening or back.
  bool choosePitch(float pedal) noexcept TREADSHIFT_REALTIME;

  // Takes the pitch at a pedal position for the one before the next, and chooses nothing else.
  void pretendPitch(float pedal) noexcept { lastCents = centsAt(pedal); }

  // Pitch ratio, sweep rate and gains of each sample of a slice whose pedal is known. From slice.bend on each
  // sample has the pitch of its pedal, before it the one that was chosen last. What the last sample has
  // is kept.
  void follow(Slice& slice) noexcept TREADSHIFT_REALTIME;

  float pedal() const noexcept { return pitchPedal; }
  double ratio() const noexcept { return pitchRatio; }
  double rate() const noexcept { return sweepRate; } // Hz, of the sweep
  MixGains gains() const noexcept { return {dryGain, wetGain}; }
  bool isUpwards() const noexcept { return cents > 0.0; }
  bool isFinite() const noexcept;

private:
  double centsAt(double pedal) const noexcept TREADSHIFT_REALTIME;
  double rateFor(double ratio) const noexcept TREADSHIFT_REALTIME;
  void chooseGains(double pedal) noexcept TREADSHIFT_REALTIME;
  void keepLast(const Slice& slice) noexcept TREADSHIFT_REALTIME;

  double rateHz = -1.0;                          // Hz: the sample rate
  double sweepLengthInv = 0.0;                   // per sample
  double centsToOctaves = 0.0008333333333333334; // octaves per cent
  double centsAtHeel = 0.0, centsAtToe = 0.0;    // cents
  int32_t mixMode = 0;                           // see MixMode
  float pitchPedal = 0.0f;                       // 0..1: the pedal that the pitch was made from
  double cents = 0.0, lastCents = 0.0;           // cents, now and before the latest choice
  double pitchRatio = 1.0;                       // 2^(cents / 1200)
  double sweepRate = 0.0;                        // Hz
  double dryGain = 0.0, wetGain = 0.0;           // linear
};
