#include "engine/Fades.h"

#include "engine/Block.h"
#include "engine/Slice.h"
#include "engine/fast/Fence.h"

#include <algorithm>
#include <memory>
#include <new>

Fades::~Fades() {
  release();
  delete[] onOffGain;
  delete[] colorGain;
}

void Fades::build(double rateHz, float onOff, float color) {
  release();
  onOffSwitch = new ParamSwitch(rateHz, onOff);
  colorSwitch = new ParamSwitch(rateHz, color);
}

void Fades::release() noexcept {
  delete onOffSwitch;
  onOffSwitch = nullptr;
  delete colorSwitch;
  colorSwitch = nullptr;
}

bool Fades::reserve(int32_t samples) noexcept try {
  onOffSwitch->prepareValueBuffer(samples);
  if (samples <= gainsLength) return true;
  auto onOffGains = std::make_unique_for_overwrite<double[]>(samples);
  auto colorGains = std::make_unique_for_overwrite<double[]>(samples);
  delete[] onOffGain;
  delete[] colorGain;
  onOffGain = onOffGains.release();
  colorGain = colorGains.release();
  gainsLength = samples;
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

int32_t Fades::reserved() const noexcept { return std::min(gainsLength, onOffSwitch->valueCapacity); }

void Fades::settleAt(float onOff, float color) noexcept {
  onOffSwitch->lastValue = onOff;
  colorSwitch->lastValue = color;
}

void Fades::begin(Block& block) noexcept {
  const PedalSettings& now = block.settings;
  block.silentSample = block.samples;
  block.fades = !kFast || !onOffSwitch->isSteady(now.onOff) || !colorSwitch->isSteady(now.color);
  if (!block.fades) return;
  onOffSwitch->playOnOff(now.onOff, block.samples, onOffGain);
  block.silentSample = colorSwitch->playColor(now.color, block.samples, colorGain);
}

void Fades::apply(const Slice& slice, double* output) const noexcept {
  for (int32_t i = 0; i < slice.samples; ++i) {
    const int32_t inBlock = slice.first + i;
    const bool isOn = onOffSwitch->valueBuffer[inBlock] == ParamSwitch::kOn;
    output[i] =
        isOn ? colorGain[inBlock] * onOffGain[inBlock] * output[i] : onOffGain[inBlock] * slice.input[i];
  }
}
