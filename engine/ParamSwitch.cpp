#include "engine/ParamSwitch.h"

#include "dsp/ExactArithmetic.h"
#include "engine/WholeSamples.h"

#include <algorithm>
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
      lastValue(value), valueBuffer(nullptr), state(kIdle), valueCapacity(0) {
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
  if (samples <= valueCapacity) return;
  float* larger = new float[samples];
  delete[] valueBuffer;
  valueBuffer = larger;
  valueCapacity = samples;
}

void ParamSwitch::playOnOff(float value, int32_t samples, double* gains) noexcept {
  if (value != lastValue) state = kFadingOut; // a running fade goes on from where it is
  play(value, samples, steadyGain, gains, valueBuffer);
}

int32_t ParamSwitch::playColor(float value, int32_t samples, double* gains) noexcept {
  if (value != lastValue && state == kIdle) state = kFadingOut;
  return play(value, samples, kColorIdleGain, gains, nullptr);
}

int32_t ParamSwitch::play(float value, int32_t samples, double idleGain, double* gains,
                          float* values) noexcept {
  const int32_t fadingOut = state == kFadingOut ? std::min(length - position, samples) : 0;
  if (values) {
    const float oldValue = value == kOn ? 0.0f : kOn; // a switch has two values
    std::fill_n(std::fill_n(values, fadingOut, oldValue), samples - fadingOut, value);
  }
  int32_t played = 0;
  if (state == kFadingOut) played += playTable(fadeOutTable, kFadingIn, samples, gains);
  const int32_t silent = state == kFadingIn && position == 0 ? played : samples;
  if (state == kFadingIn) played += playTable(fadeInTable, kIdle, samples - played, gains + played);
  std::fill_n(gains + played, samples - played, idleGain);
  lastValue = value;
  lastBlockSize = samples;
  return silent;
}

int32_t ParamSwitch::playTable(const double* table, State next, int32_t samples, double* gains) noexcept {
  const int32_t played = std::min(length - position, samples);
  std::copy_n(table + position, played, gains);
  position += played;
  if (position == length) {
    position = 0;
    state = next;
  }
  return played;
}
