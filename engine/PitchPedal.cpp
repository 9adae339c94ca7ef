#include "engine/PitchPedal.h"

#include "dsp/FlushToZero.h"
#include "dsp/IIRFilter.h"
#include "engine/Slice.h"
#include "engine/WholeSamples.h"
#include "engine/fast/Fence.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace {

constexpr double kShiftFilterPerRate = 0.25; // of the sample rate

} // namespace

PitchPedal::~PitchPedal() { release(); }

void PitchPedal::run(const double* input, double* output, int32_t samples,
                     const PedalSettings& settings) noexcept {
  const FlushToZero flush;
  Block block = beginBlock(samples, settings);
  Slice slice;
  for (int32_t first = 0; first < samples; first += slice.samples) {
    beginSlice(first, block, slice);
    line.write(input + first, slice);
    if (first == block.silentSample) changeColor(block);
    const bool steady = kFast && isSteady(block);
    if (steady) {
      shiftSteadily(block, slice);
    } else {
      const double longestDelay = taps.longestDelay(block);
      pedal.follow(block, slice, pitch.pedal());
      pitch.follow(slice);
      taps.follow(block, slice);
      line.read(slice, longestDelay);
      filter(block, slice);
    }
    mix(block, slice, steady, output + first);
    line.advance(slice);
  }
  endBlock(block);
}

Block PitchPedal::beginBlock(int32_t samples, const PedalSettings& settings) noexcept {
  if (firstBlock) settle(settings);
  Block block;
  block.samples = samples;
  block.settings = settings;
  const double perSample = samples >= 2 ? 1.0 / (samples - 1) : 0.0; // a ramp ends at the last sample
  tone.begin(block, perSample);
  pedal.begin(block, perSample);
  fades.begin(block);
  taps.begin(block, pitch.rate(), pitch.isUpwards());
  return block;
}

// The first block starts steady: no fade, no ramp of the pedal, a smoother that has arrived.
void PitchPedal::settle(const PedalSettings& settings) noexcept {
  fades.settleAt(settings.onOff, settings.color);
  pitch.pretendPitch(settings.pedalPos);
  chooseColor(settings);
  choosePitch(settings.pedalPos);
  pedal.settleAt(settings.pedalPos);
  firstBlock = false;
}

void PitchPedal::endBlock(const Block& block) noexcept {
  taps.end(block);
  tone.end(block);
  pedal.end(block);
  lastBlockSize = block.samples;
}

// A slice also ends before the silent sample at which the colour changes.
void PitchPedal::beginSlice(int32_t first, const Block& block, Slice& slice) const noexcept {
  const int32_t left = (block.silentSample > first ? block.silentSample : block.samples) - first;
  slice.first = first;
  slice.samples = std::min({left, Slice::kLongest, line.longestSlice(taps.longestDelay(block))});
}

// A Color fade-in starts with a gain of 0: there the new colour comes in, at the pedal's raw position.
void PitchPedal::changeColor(Block& block) noexcept {
  chooseColor(block.settings);
  if (pitch.choosePitch(block.settings.pedalPos)) block.turns = !block.turns;
}

void PitchPedal::chooseColor(const PedalSettings& settings) noexcept {
  pitch.chooseColor(settings.color, settings.pedalPos);
}

void PitchPedal::choosePitch(float pedalPos) noexcept {
  if (pitch.choosePitch(pedalPos)) taps.turnAround();
}

void PitchPedal::filter(const Block& block, Slice& slice) noexcept {
  if constexpr (kFast) {
    filterJointly(block, slice);
  } else {
    lowPass(slice);
    tone.run(block, slice);
  }
}

void PitchPedal::lowPass(Slice& slice) noexcept {
  for (int32_t i = 0; i < slice.samples; ++i)
    shiftFilter->iirProcessing(slice.shifted + i);
}

void PitchPedal::mix(const Block& block, const Slice& slice, bool isSteady, double* output) const noexcept {
  if constexpr (kFast) {
    mixQuickly(block, slice, isSteady, output);
  } else {
    for (int32_t i = 0; i < slice.samples; ++i)
      output[i] = slice.dryGain[i] * slice.input[i] + slice.wetGain[i] * slice.toned[i];
    fades.apply(slice, output);
  }
}

void PitchPedal::setRate(double rate, const PedalSettings& settings, int32_t samples) noexcept {
  rateHz = rate;
  rateHzInt = truncatedToInt32(rate);
  lastBlockSize = 0;
  pitch.prepare(rate, TapPair::travelLength(rate));
  release();
  if (canRun(rate)) {
    try {
      build();
      fades.build(rate, settings.onOff, settings.color);
      reserve(samples);
    } catch (const std::bad_alloc&) {
      release();
    }
  }
  chooseColor(settings);
  choosePitch(settings.pedalPos);
}

// A rate is usable when every length that follows from it has at least one sample; a rate beyond 32 bits
// has none.
bool PitchPedal::canRun(double rate) noexcept {
  return doubled(truncatedToInt32(rate)) >= 1 && TapPair::travelLength(rate) >= 1 &&
         ParamSwitch::fadeLength(rate) >= 1;
}

void PitchPedal::build() {
  line.build(doubled(rateHzInt));
  taps.build(rateHz);
  tone.build(rateHzInt);
  pedal.build(rateHz);
  filterPrm_tag request = {kLowPass1, kShiftFilterPerRate * rateHz, 0.0, 0.0, 1.0, 0.0, rateHz};
  shiftFilter = new IIRFilter(&request);
}

void PitchPedal::release() noexcept {
  line.release();
  taps.release();
  tone.release();
  pedal.release();
  delete shiftFilter;
  shiftFilter = nullptr;
  fades.release();
}

bool PitchPedal::reserve(int32_t samples) noexcept {
  return samples <= fades.reserved() || fades.reserve(samples);
}

bool PitchPedal::isFinite() const noexcept {
  return pedal.isFinite() && pitch.isFinite() && taps.isFinite() && tone.isFinite() &&
         std::isfinite(shiftFilter->state1);
}
