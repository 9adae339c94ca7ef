#include "engine/PedalMotion.h"

#include "engine/Block.h"
#include "engine/Slice.h"
#include "engine/Smoothed.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr double kSmootherHz = 5.0;

bool sameBits(float a, float b) { return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b); }

} // namespace

PedalMotion::~PedalMotion() { release(); }

void PedalMotion::build(double rateHz) {
  release();
  filterPrm_tag request = {kOnePoleSmoother, kSmootherHz, 0.0, 0.0, 1.0, 0.0, rateHz};
  pedalSmoother = new IIRFilter(&request);
}

void PedalMotion::release() noexcept {
  delete pedalSmoother;
  pedalSmoother = nullptr;
  lastPedal = lastSmoothedPedal = 0.0;
}

void PedalMotion::settleAt(float position) noexcept {
  lastPedal = position;
  pedalSmoother->settleAt(position);
}

void PedalMotion::begin(Block& block, double perSample) const noexcept {
  block.pedalStep = (block.settings.pedalPos - lastPedal) * perSample;
}

void PedalMotion::follow(const Block& block, Slice& slice, float pitchPedal) noexcept {
  slice.bend = slice.samples;
  double position = pedalSmoother->state1;
  for (int32_t i = 0; i < slice.samples; ++i) {
    position = smoothed(*pedalSmoother, position, rampValue(block, slice.first + i));
    const float narrowed = static_cast<float>(position);
    slice.moved[i] = position != lastSmoothedPedal;
    if (slice.moved[i] && !sameBits(narrowed, pitchPedal)) {
      pitchPedal = narrowed;
      slice.bend = std::min(slice.bend, i);
    }
    lastSmoothedPedal = position;
    slice.pedal[i] = pitchPedal;
  }
  pedalSmoother->state1 = position;
}

void PedalMotion::end(const Block& block) noexcept { lastPedal = block.settings.pedalPos; }

double PedalMotion::rampValue(const Block& block, int32_t sample) const noexcept {
  return rampAt(lastPedal, block.pedalStep, sample);
}

bool PedalMotion::isFinite() const noexcept {
  return std::isfinite(pedalSmoother->state1) && std::isfinite(lastPedal) && std::isfinite(lastSmoothedPedal);
}
