#include "engine/ToneFilter.h"

#include "engine/Block.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

// Only exactly 48000 Hz has bounds of its own; every other rate, 96000 Hz included, takes those of 44100.
constexpr int32_t kRateWithOwnBounds = 48000;

} // namespace

ToneFilter::~ToneFilter() { release(); }

void ToneFilter::build(int32_t rateHzInt) {
  release();
  chooseBounds(rateHzInt);
  toneCurves[0] = new ParamCurve(ParamCurve::kPower, toneCurveSeed1, toneCurveSeed2, 1.0f, 0.0f, 0.0f, 3.0f);
  toneCurves[1] =
      new ParamCurve(ParamCurve::kArctangent, toneCurveSeed4, toneCurveSeed3, 2.5f, 0.5f, 0.0f, 0.0f);
  toneCurves[2] = new ParamCurve(ParamCurve::kPower, 0.8, 0.45, -8.0f, 0.35f, 1.0f, 3.0f);
  toneCurves[3] = new ParamCurve(ParamCurve::kPower, 6.0, 0.0, 1.0f, 0.0f, 0.0f, 3.0f);
}

void ToneFilter::chooseBounds(int32_t rateHzInt) noexcept {
  const bool ownBounds = rateHzInt == kRateWithOwnBounds;
  toneCurveSeed1 = 0.998;
  toneCurveSeed2 = ownBounds ? 0.767 : 0.749;
  toneCurveSeed3 = ownBounds ? 0.968 : 0.965;
  toneCurveSeed4 = 0.0;
}

void ToneFilter::release() noexcept {
  for (ParamCurve*& curve : toneCurves) {
    delete curve;
    curve = nullptr;
  }
  lastTone = kNoTone;
  toneCoef = prevToneCoef = ToneCoefficients();
  branches = ToneBranches();
}

void ToneFilter::begin(Block& block, double perSample) noexcept {
  const float tone = block.settings.tone;
  if (tone != lastTone)
    toneCoef = {toneCurves[0]->evaluate(tone), toneCurves[1]->evaluate(tone), toneCurves[2]->evaluate(tone),
                toneCurves[3]->evaluate(tone)};
  block.toneStep = {(toneCoef.lowPole - prevToneCoef.lowPole) * perSample,
                    (toneCoef.highPole - prevToneCoef.highPole) * perSample,
                    (toneCoef.lowGain - prevToneCoef.lowGain) * perSample,
                    (toneCoef.highGain - prevToneCoef.highGain) * perSample};
}

ToneCoefficients ToneFilter::coefficientsAt(const Block& block, int32_t sample) const noexcept {
  return {rampAt(prevToneCoef.lowPole, block.toneStep.lowPole, sample),
          rampAt(prevToneCoef.highPole, block.toneStep.highPole, sample),
          rampAt(prevToneCoef.lowGain, block.toneStep.lowGain, sample),
          rampAt(prevToneCoef.highGain, block.toneStep.highGain, sample)};
}

void ToneFilter::run(const Block& block, Slice& slice) noexcept {
  for (int32_t i = 0; i < slice.samples; ++i) {
    const ToneCoefficients k = coefficientsAt(block, slice.first + i);
    const ToneBranches before = branches;
    branches.step(slice.shifted[i] * 0.5, k.lowPole, k.highPole);
    slice.toned[i] = k.lowGain * (before.toneLowState + branches.toneLowState) +
                     k.highGain * (branches.toneHighState - before.toneHighState);
  }
}

void ToneFilter::end(const Block& block) noexcept {
  prevToneCoef = toneCoef;
  lastTone = block.settings.tone;
}

bool ToneFilter::isFinite() const noexcept {
  const double states[] = {branches.toneLowState, branches.toneHighState, prevToneCoef.lowPole,
                           prevToneCoef.highPole, prevToneCoef.lowGain,   prevToneCoef.highGain};
  return std::all_of(std::begin(states), std::end(states), [](double state) { return std::isfinite(state); });
}
