// A pitch pedal for one channel: bends the pitch of a sound by an interval that follows a pedal while it
// plays.
//
// Two taps read a delay line into which the input is written. A tap whose delay shrinks by a constant number
// of samples per sample plays faster, one whose delay grows plays slower: the pitch is bent by pitchRatio
// when the delay changes by 1 - pitchRatio samples per sample. Since a delay can neither shrink nor grow for
// ever, each tap jumps back after 65 ms of way, while it is silent and the other one is heard; between the
// jumps the two are crossfaded with equal power (the rotating-head method of tape pitch shifters; Puckette,
// The Theory and Technique of Electronic Music, chapter 7). The crossfade position is a triangle, the sweep:
// tap 1 is silent at 0 and jumps there, tap 2 at 1. Upwards, with time running to the right:
//
//   delay of tap 1   71 ms |\      |\      |\      |
//                          |  \    |  \    |  \    |     it jumps back at |, where its weight is 0
//                     5 ms |    \  |    \  |    \  |
//   delay of tap 2   71 ms |   |\      |\      |\  |
//                          |\  |  \    |  \    |  \|     the same, half a way later
//                     5 ms |  \|    \  |    \  |   |
//   weight of tap 1      1 |   /\      /\      /\  |     sin(pi/2 position)
//                        0 | /    \  /    \  /    \|     tap 2: sin(pi/2 (1 - position))
//
// Downwards the delays climb from 5 ms instead. Behind the taps stand a low pass at a quarter of the sample
// rate, the tone filter, and the mix with the dry input, which is not delayed at all. The bent sound comes 5
// to 71 ms late, by an amount that moves all the time.
#pragma once

#include "dsp/IIRFilter.h"
#include "engine/Block.h"
#include "engine/DelayLine.h"
#include "engine/Fades.h"
#include "engine/PedalMotion.h"
#include "engine/Pitch.h"
#include "engine/RealTime.h"
#include "engine/TapPair.h"
#include "engine/ToneFilter.h"

#include <cstdint>

// Costs memory for two seconds of sound and some 0.5 MB beside; time per sample does not depend on the size
// of the blocks. One thread at a time.
class PitchPedal {
public:
  PitchPedal() = default;
  ~PitchPedal();
  PitchPedal(const PitchPedal&) = delete;
  PitchPedal& operator=(const PitchPedal&) = delete;

  // The sample rate that was set last in Hz, usable or not; -1 before the first.
  double rate() const noexcept { return rateHz; }

  // Builds everything for a sample rate and makes room for blocks of `samples` samples. The line is not
  // cleared yet. The first block ever starts steady at its settings; a later rate starts with the pedal at
  // the heel, no colour chosen and silent filters, and takes the colour up where its fade is silent. rate:
  // Hz, any number; one that cannot be run, or for which memory cannot be had, leaves the pedal not ready.
  // Allocates. [host, processing stopped]
  void setRate(double rate, const PedalSettings& settings, int32_t samples) noexcept;
  static bool canRun(double rate) noexcept;
  // Whether run() may be called. [audio; host, processing stopped]
  bool isReady() const noexcept { return fades.isBuilt(); }

  // Makes room for blocks of that many samples. Allocates unless there is; false when memory is short, with
  // the room that was there. Call it when ready. [audio; host, processing stopped]
  bool reserve(int32_t samples) noexcept;

  // Silences the delay line; filters, fades and the sweep go on from where they were. [host, processing
  // stopped]
  void clear() noexcept { line.clear(); }

  // Whether every recursion has a finite number: one that took in something else never comes back by
  // itself. Call it when ready. [host, processing stopped]
  bool isFinite() const noexcept;

  // One block: bends `samples` samples of input into output, which may be the same array. samples: 0 or more.
  // Call it when ready and with room for the block. Subnormal results are flushed to zero; the control
  // register is put back. Allocates nothing, waits for nothing. [audio]
  void run(const double* input, double* output, int32_t samples,
           const PedalSettings& settings) noexcept TREADSHIFT_REALTIME;

  // Takes the colour of the settings and the gains at their pedal position. [host, processing stopped]
  void chooseColor(const PedalSettings& settings) noexcept TREADSHIFT_REALTIME;
  // Takes the pitch at a pedal position of 0..1. [host, processing stopped]
  void choosePitch(float pedalPos) noexcept TREADSHIFT_REALTIME;

private:
  void build();
  void release() noexcept;
  Block beginBlock(int32_t samples, const PedalSettings& settings) noexcept TREADSHIFT_REALTIME;
  void settle(const PedalSettings& settings) noexcept TREADSHIFT_REALTIME;
  void endBlock(const Block& block) noexcept TREADSHIFT_REALTIME;
  void beginSlice(int32_t first, const Block& block, Slice& slice) const noexcept TREADSHIFT_REALTIME;
  void changeColor(Block& block) noexcept TREADSHIFT_REALTIME;
  void filter(const Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;
  void lowPass(Slice& slice) noexcept TREADSHIFT_REALTIME;
  void mix(const Block& block, const Slice& slice, bool isSteady,
           double* output) const noexcept TREADSHIFT_REALTIME;

  // In fast/, same bits as the steps of run() that they take the place of.
  bool isSteady(const Block& block) const noexcept TREADSHIFT_REALTIME;
  void shiftSteadily(const Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;
  void filterJointly(const Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;
  void mixQuickly(const Block& block, const Slice& slice, bool isSteady,
                  double* output) const noexcept TREADSHIFT_REALTIME;

  double rateHz = -1.0;      // Hz; -1 until the first rate
  int32_t rateHzInt = 44100; // Hz, truncated; 44100 until the first rate
  PedalMotion pedal;
  Pitch pitch;
  TapPair taps;
  DelayLine line;
  IIRFilter* shiftFilter = nullptr; // owned, null until built: low pass behind the taps
  ToneFilter tone;
  Fades fades;
  bool firstBlock = true;    // until a block has run; a new rate does not set it again
  int32_t lastBlockSize = 0; // samples; 0 after a new rate
};
