// The fades around a change of On/Off or Color: a gain for each sample of a block.
#pragma once

#include "engine/ParamSwitch.h"
#include "engine/RealTime.h"

#include <cstdint>

struct Block;
struct Slice;

class Fades {
public:
  Fades() = default;
  ~Fades();
  Fades(const Fades&) = delete;
  Fades& operator=(const Fades&) = delete;

  // Makes both switches for a sample rate in Hz (see ParamSwitch), idle at the values of onOff and color.
  // Allocates; throws std::bad_alloc. [host, processing stopped]
  void build(double rateHz, float onOff, float color);
  // Frees both switches, but not the gains' arrays. [host, processing stopped]
  void release() noexcept;
  bool isBuilt() const noexcept { return colorSwitch != nullptr; }

  // Makes room for the gains of blocks of that many samples. Allocates unless there is; false when memory is
  // short, with the room that was there. [audio; host, processing stopped]
  bool reserve(int32_t samples) noexcept;
  int32_t reserved() const noexcept; // samples

  // Takes both values as they are, without a fade. [audio] This and all below allocates nothing.
  void settleAt(float onOff, float color) noexcept TREADSHIFT_REALTIME;

  // Plays both switches along the block, whose samples are no more than reserved(): sets its `fades`, its
  // `silentSample` and, where it fades, the gains.
  void begin(Block& block) noexcept TREADSHIFT_REALTIME;

  // Fades a slice of a block. output: the mixed sound, of which On/Off leaves the input alone while it is
  // off.
  void apply(const Slice& slice, double* output) const noexcept TREADSHIFT_REALTIME;
  // The same, defined in fast/. [audio]
  void applyQuickly(const Slice& slice, double* output) const noexcept TREADSHIFT_REALTIME;

  // The gain of On/Off while it is idle, linear.
  double idleGain() const noexcept { return onOffSwitch->steadyGain; }

private:
  ParamSwitch* onOffSwitch = nullptr; // owned, null until built
  ParamSwitch* colorSwitch = nullptr; // owned, null until built
  double* onOffGain = nullptr;        // owned, null until reserved: linear, of each sample of the block
  double* colorGain = nullptr;        // owned, null until reserved: the same
  int32_t gainsLength = 0;            // samples: entries of each
};
