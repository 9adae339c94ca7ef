// Fades the sound out and in again around a change of a switched parameter.
#pragma once

#include "engine/RealTime.h"

#include <cstdint>

// Each block the switch turns a parameter value into a gain per sample: on a change it walks the fade-out
// table, then, from the silent sample between them on, the fade-in table. Neither table ends where the other
// begins: out stops at 1/length, in starts at 0 and never reaches 1.
struct ParamSwitch {
  static constexpr float kOn = 1.0f; // the value at which On/Off is on

  enum State : int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

  // Whole samples of a fade at a rate; below 1 no switch can be built. rateHz: any number.
  static int32_t fadeLength(double rateHz) noexcept;

  // rateHz: Hz, with a fade length of 1 or more. value: the parameter's value now. Allocates; throws
  // std::bad_alloc when memory cannot be had. [host, processing stopped]
  ParamSwitch(double rateHz, float value);
  ~ParamSwitch();

  ParamSwitch(const ParamSwitch&) = delete;
  ParamSwitch& operator=(const ParamSwitch&) = delete;

  // Makes room in valueBuffer for blocks of `samples` samples, any number. Allocates unless there is;
  // throws std::bad_alloc, with the buffer as it was, when memory cannot be had.
  // [audio; host, processing stopped]
  void prepareValueBuffer(int32_t samples);

  // True when a block with this value would get the idle gain at every sample and change nothing. [audio]
  bool isSteady(float value) const noexcept { return state == kIdle && value == lastValue; }

  // One block of the On/Off switch: gains and valueBuffer for `samples` samples, 0 up to valueCapacity, for
  // which prepareValueBuffer made room. A change during a fade plays the fade-out on from the position
  // reached. [audio]
  void playOnOff(float value, int32_t samples, double* gains) noexcept TREADSHIFT_REALTIME;

  // One block of the Color switch: gains for `samples` samples, 0 or more. A change during a fade is
  // forgotten: the fade goes on, and the value counts as seen. Result: the silent sample with which a fade-in
  // begins, or `samples` when none does. [audio]
  int32_t playColor(float value, int32_t samples, double* gains) noexcept TREADSHIFT_REALTIME;

  int32_t length;        // samples: entries of each table, whole samples in fadeTime
  double lengthExact;    // samples
  double fadeTime;       // s
  double sampleRate;     // Hz
  double steadyGain;     // linear: On/Off gain while idle
  double* fadeInTable;   // owned: k / length
  double* fadeOutTable;  // owned: (length - k) / length
  int32_t position;      // samples into the table being played
  int32_t lastBlockSize; // samples of the latest block that was played
  float lastValue;       // parameter value at the end of the block before
  float* valueBuffer;    // owned, null until a block: On/Off value in force at each sample
  int32_t state;         // State
  int32_t valueCapacity; // samples: entries of valueBuffer

private:
  int32_t play(float value, int32_t samples, double idleGain, double* gains,
               float* values) noexcept TREADSHIFT_REALTIME;
  int32_t playTable(const double* table, State next, int32_t samples,
                    double* gains) noexcept TREADSHIFT_REALTIME;
};
