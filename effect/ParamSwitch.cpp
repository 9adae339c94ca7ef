#include "effect/ParamSwitch.h"

#include "dsp/ExactArithmetic.h"
#include "effect/WholeSamples.h"

#include <cmath>
#include <memory>

namespace {

constexpr double kFadeSeconds = 0.016;
constexpr double kColorIdleGain = 1.0;

} // namespace

int32_t ParamSwitch::fadeLength(double rateHz) noexcept {
  return truncatedToInt32(std::floor(kFadeSeconds * rateHz));
}

ParamSwitch::ParamSwitch(double rateHz, float value)
    : length(fadeLength(rateHz)), lengthExact(length), fadeTime(kFadeSeconds), sampleRate(rateHz),
      steadyGain(1.0), fadeInTable(nullptr), fadeOutTable(nullptr), position(0), lastBlockSize(0),
      lastValue(value), valueBuffer(nullptr), state(kIdle) {
  auto in = std::make_unique<double[]>(length);
  auto out = std::make_unique<double[]>(length);
  const double perSample = 1.0 / lengthExact;
  for (int32_t k = 0; k < length; ++k) {
    in[k] = k * perSample;
    out[k] = (length - k) * perSample;
  }
  fadeInTable = in.release();
  fadeOutTable = out.release();
}

ParamSwitch::~ParamSwitch() {
  delete[] fadeInTable;
  delete[] fadeOutTable;
  delete[] valueBuffer;
}

void ParamSwitch::prepareValueBuffer(int32_t samples) {
  const bool held = valueBuffer || samples == 0;
  if (held && samples == lastBlockSize) return;
  delete[] valueBuffer;
  valueBuffer = nullptr;
  valueBuffer = new float[samples];
  lastBlockSize = samples;
}

void ParamSwitch::playOnOff(float value, int32_t samples, double* gains) noexcept {
  if (value != lastValue) state = kFadingOut; // position stays: no restart of a running fade
  play(value, samples, steadyGain, gains, valueBuffer);
}

void ParamSwitch::playColor(float value, int32_t samples, double* gains) noexcept {
  if (value != lastValue && state == kIdle) state = kFadingOut;
  play(value, samples, kColorIdleGain, gains, nullptr);
}

void ParamSwitch::play(float value, int32_t samples, double idleGain, double* gains, float* values) noexcept {
  const float oldValue = value == 1.0f ? 0.0f : 1.0f; // a switch has two values
  for (int32_t i = 0; i < samples; ++i) {
    if (values) values[i] = state == kFadingOut ? oldValue : value;
    gains[i] = nextGain(idleGain);
  }
  lastValue = value;
  lastBlockSize = samples;
}

double ParamSwitch::nextGain(double idleGain) noexcept {
  switch (state) {
  case kFadingOut:
    return stepThrough(fadeOutTable, kFadingIn);
  case kFadingIn:
    return stepThrough(fadeInTable, kIdle);
  default:
    return idleGain;
  }
}

double ParamSwitch::stepThrough(const double* table, State next) noexcept {
  const double gain = table[position++];
  if (position == length) {
    position = 0;
    state = next;
  }
  return gain;
}
