// The two taps: how far behind the input each reads, and which of them is heard.
#pragma once

#include "dsp/lfoTriangle.h"
#include "engine/RealTime.h"

#include <cstdint>

struct Block;
struct Slice;

// What moves from sample to sample while the taps do.
struct TapState {
  double phase;          // of the sweep, 0..1
  uint8_t falling;       // 1 while the sweep runs downward
  double delay1, delay2; // samples

  // Moves the sweep by a step and the delays by 1 - pitchRatio samples. A tap that would come closer than
  // minDelay samples keeps its delay; one that lengthens has no bound. [audio]
  [[gnu::always_inline]] void advance(double phaseStep, double pitchRatio,
                                      double minDelay) noexcept TREADSHIFT_REALTIME;
};

class TapPair {
public:
  TapPair() = default;
  ~TapPair();
  TapPair(const TapPair&) = delete;
  TapPair& operator=(const TapPair&) = delete;

  // Samples that a tap travels between two jumps, at a sample rate in Hz; below 1 the taps cannot run.
  // rateHz: any number.
  static int32_t travelLength(double rateHz) noexcept;

  // Makes the sweep for a sample rate in Hz and puts both taps at the shortest delay. Allocates; throws
  // std::bad_alloc. [host, processing stopped]
  void build(double rateHz);
  // Frees the sweep. [host, processing stopped]
  void release() noexcept;

  // Lets the sweep turn around, so that the crossfade goes on where it is while the taps change from
  // shortening to lengthening or back. [audio; host, processing stopped]
  void turnAround() noexcept TREADSHIFT_REALTIME;

  // Starts the block's first glide, to a sweep rate in Hz, and sets where its taps jump to. [audio] This and
  // all below allocates nothing.
  void begin(Block& block, double rate, bool isUpwards) noexcept TREADSHIFT_REALTIME;

  // The delays and the crossfade position of each sample of a slice, whose pitch is known.
  void follow(Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;

  // Lets a turn that waited for the end of the block happen.
  void end(const Block& block) noexcept TREADSHIFT_REALTIME;

  // The longest delay that a tap has now or would jump to in this block, in samples.
  double longestDelay(const Block& block) const noexcept TREADSHIFT_REALTIME;

  // For fast/, while every sample has the same pitch.
  // Whether the sweep's rate is steady, and which one it is bound for, in Hz.
  bool isSteady() const noexcept TREADSHIFT_REALTIME;
  bool isBoundFor(double rate) const noexcept TREADSHIFT_REALTIME;
  double steadyStep() const noexcept TREADSHIFT_REALTIME;    // of the phase, per sample
  double shortestDelay() const noexcept { return minDelay; } // samples
  TapState state() const noexcept TREADSHIFT_REALTIME;
  void moveTo(const TapState& state) noexcept TREADSHIFT_REALTIME;

  bool isFinite() const noexcept;

private:
  void followSweep(Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;
  double beginGlide(double rate, int32_t sample, Block& block) noexcept TREADSHIFT_REALTIME;

  lfoTriangle* sweepLfo = nullptr;     // owned, null until built
  int32_t sweepLength = 0;             // samples: a tap's way between two jumps
  double minDelay = 0.0;               // samples: 5 ms, the shortest delay of a tap
  double tapPos1 = 0.0, tapPos2 = 0.0; // samples of delay
};
