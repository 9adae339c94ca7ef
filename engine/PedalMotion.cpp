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

// By its bits, since a host may have comparisons take such numbers for zero.
bool isDenormal(float number) {
  const uint32_t magnitude = std::bit_cast<uint32_t>(number) & 0x7FFFFFFF;
  return magnitude != 0 && magnitude < 0x00800000;
}

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

// A host may have denormal numbers count as zero in blocks and not while it sets the effect up: then the
// first move makes another pitch from the same float.
void PedalMotion::begin(Block& block, double perSample, float pitchPedal) const noexcept {
  block.pedalStep = (block.settings.pedalPos - lastPedal) * perSample;
  block.remakesPitch = isDenormal(pitchPedal);
}

void PedalMotion::follow(Block& block, Slice& slice, float pitchPedal) noexcept {
  slice.bend = slice.samples;
  double position = pedalSmoother->state1;
  for (int32_t i = 0; i < slice.samples; ++i) {
    position = smoothed(*pedalSmoother, position, rampValue(block, slice.first + i));
    const float narrowed = static_cast<float>(position);
    slice.moved[i] = position != lastSmoothedPedal;
    if (slice.moved[i] && (block.remakesPitch || !sameBits(narrowed, pitchPedal))) {
      pitchPedal = narrowed;
      block.remakesPitch = false;
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
