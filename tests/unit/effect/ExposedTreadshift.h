// The effect with its inside open to the tests of this directory, and blocks as tests write them.
#pragma once

#include "effect/Treadshift.h"

#include <cmath>
#include <cstdint>
#include <vector>

class ExposedTreadshift : public Treadshift {
public:
  explicit ExposedTreadshift(HostCallback host = nullptr) : Treadshift(host) {}
  // At a rate, with parameters set before it.
  ExposedTreadshift(float rateHz, float onOffValue, float toneValue, float colorValue, float pedal)
      : Treadshift(nullptr) {
    setParameter(kOnOff, onOffValue);
    setParameter(kTone, toneValue);
    setParameter(kColor, colorValue);
    setParameter(kPedalPos, pedal);
    setSampleRate(rateHz);
  }

  // One block through the record's entry.
  std::vector<double> block(const std::vector<double>& input) {
    std::vector<double> output(input.size(), 777.0);
    double* in[] = {const_cast<double*>(input.data())};
    double* out[] = {output.data()};
    AEffect* record = getAeffect();
    record->processDoubleReplacingEntry(record, in, out, static_cast<int32_t>(input.size()));
    return output;
  }

  double sample(double x) { return block({x})[0]; }

  // A block of `frames` that has no samples to read: 0 or negative.
  void emptyBlock(int frames) {
    double place = 0.0;
    double* channels[] = {&place};
    processDoubleReplacing(channels, channels, frames);
  }

  using Treadshift::BlockValues;

  using Treadshift::beginBlock;
  using Treadshift::isBuilt;
  using Treadshift::lock;
  using Treadshift::prepareBuffers;
  using Treadshift::setColor;
  using Treadshift::setPitch;
  using Treadshift::setToneTargets;

  using Treadshift::color;
  using Treadshift::mode;
  using Treadshift::onOff;
  using Treadshift::pedalPos;
  using Treadshift::tone;

  using Treadshift::baseTime;
  using Treadshift::blockSize;
  using Treadshift::currentProgram;
  using Treadshift::editor;
  using Treadshift::headerVersion;
  using Treadshift::hostCallback;
  using Treadshift::programs;

  using Treadshift::delayLength;
  using Treadshift::minDelay;
  using Treadshift::rateHz;
  using Treadshift::rateHzInt;
  using Treadshift::sweepLength;
  using Treadshift::sweepLengthInv;
  using Treadshift::toneCurveSeed1;
  using Treadshift::toneCurveSeed2;
  using Treadshift::toneCurveSeed3;
  using Treadshift::toneCurveSeed4;

  using Treadshift::colorSwitch;
  using Treadshift::delayLine;
  using Treadshift::onOffSwitch;
  using Treadshift::pedalSmoother;
  using Treadshift::shiftFilter;
  using Treadshift::sweepLfo;
  using Treadshift::toneCurves;

  using Treadshift::cents;
  using Treadshift::centsAtHeel;
  using Treadshift::centsAtToe;
  using Treadshift::dryGain;
  using Treadshift::lastCents;
  using Treadshift::mixMode;
  using Treadshift::pitchPedal;
  using Treadshift::pitchRatio;
  using Treadshift::sweepRate;
  using Treadshift::toneCoef;
  using Treadshift::wetGain;

  using Treadshift::firstBlock;
  using Treadshift::lastPedal;
  using Treadshift::lastSmoothedPedal;
  using Treadshift::lastTone;
  using Treadshift::prevToneCoef;

  using Treadshift::sweepStart;
  using Treadshift::tapPos1;
  using Treadshift::tapPos2;
  using Treadshift::toneHighState;
  using Treadshift::toneLowState;
  using Treadshift::turnPending;
  using Treadshift::writeIndex;

  using Treadshift::colorGain;
  using Treadshift::lastBlockSize;
  using Treadshift::onOffGain;
  using Treadshift::scratchLength;
  using Treadshift::sweepBuffer;

  using Treadshift::centsToOctaves;
  using Treadshift::halfPi;
  using Treadshift::spareLevel;
  using Treadshift::spareTime;
  using Treadshift::spareZero;
};

// The middle of a row's interval of Color values. row: 0..7.
inline float colorOfRow(int row) { return static_cast<float>(row) * 0.125f + 0.0625f; }

// A row in which the dry gain is 1 and the wet gain 0 at the toe, so that an effect that is on puts out
// gain times input: row 0 there.
constexpr float kDryOnlyColor = 0.0f;
constexpr float kDryOnlyPedal = 1.0f;

// Deterministic test sound of -1..1, never 0 and never the same for long.
inline std::vector<double> testSound(int samples, int from = 0) {
  std::vector<double> sound(samples);
  for (int i = 0; i < samples; ++i)
    sound[i] = 0.6 * std::sin(0.05 * (from + i)) + 0.3 * std::sin(0.31 * (from + i) + 1.0) + 0.01;
  return sound;
}

inline std::vector<double> part(const std::vector<double>& sound, int from, int samples) {
  return {sound.begin() + from, sound.begin() + from + samples};
}
