// The tone filter: two one-pole branches, low and high, whose poles and gains follow Tone.
#pragma once

#include "engine/ParamCurve.h"
#include "engine/RealTime.h"

#include <cstdint>

struct Block;
struct Slice;

// By name, in the order k1 to k4 of the curves.
struct ToneCoefficients {
  double lowPole = 0.0, highPole = 0.0;
  double lowGain = 0.0, highGain = 0.0; // linear
};

// What the branches remember, and their step.
struct ToneBranches {
  double toneLowState = 0.0, toneHighState = 0.0;

  // half: half the shifted sound. The high branch adds its state: it keeps what alternates.
  [[gnu::always_inline]] void step(double half, double lowPole, double highPole) noexcept {
    toneLowState = half + lowPole * (toneLowState - half);
    toneHighState = half + highPole * (toneHighState + half);
  }
};

class ToneFilter {
public:
  ToneFilter() = default;
  ~ToneFilter();
  ToneFilter(const ToneFilter&) = delete;
  ToneFilter& operator=(const ToneFilter&) = delete;

  // Makes the curves for a sample rate in Hz, truncated, with silent branches and all coefficients 0.
  // Allocates; throws std::bad_alloc. [host, processing stopped]
  void build(int32_t rateHzInt);
  // Frees the curves. [host, processing stopped]
  void release() noexcept;

  // Sets the coefficients' way along the block to those of its Tone. perSample: the inverse of the samples
  // from the first to the last. [audio] This and all below allocates nothing.
  void begin(Block& block, double perSample) noexcept TREADSHIFT_REALTIME;

  // Filters slice.shifted, halved, into slice.toned.
  void run(const Block& block, Slice& slice) noexcept TREADSHIFT_REALTIME;

  // Remembers where the block's ramps led.
  void end(const Block& block) noexcept TREADSHIFT_REALTIME;

  // For fast/, which runs several recursions in one loop: the coefficients at the block's start, and the
  // branches, to step them as run() does.
  const ToneCoefficients& start() const noexcept { return prevToneCoef; }
  ToneBranches& lendBranches() noexcept { return branches; }

  bool isFinite() const noexcept;

private:
  static constexpr int kCurves = 4;

  void chooseBounds(int32_t rateHzInt) noexcept;
  ToneCoefficients coefficientsAt(const Block& block, int32_t sample) const noexcept TREADSHIFT_REALTIME;

  ParamCurve* toneCurves[kCurves] = {}; // owned, null until built: Tone to each coefficient
  double toneCurveSeed1 = 0.0, toneCurveSeed2 = 0.0, toneCurveSeed3 = 0.0,
         toneCurveSeed4 = 0.0;   // their bounds
  float lastTone = kNoTone;      // of the block before
  ToneCoefficients toneCoef;     // at this block's end
  ToneCoefficients prevToneCoef; // at the end of the block before
  ToneBranches branches;

  static constexpr float kNoTone = -1.0f; // no Tone value: forces new coefficients
};
