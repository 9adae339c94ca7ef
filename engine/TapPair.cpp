#include "engine/TapPair.h"

#include "dsp/lfoTriangle.h"
#include "engine/Block.h"
#include "engine/Crossfade.h"
#include "engine/Slice.h"
#include "engine/TapSteps.h"
#include "engine/WholeSamples.h"
#include "engine/fast/Fence.h"
#include "engine/fast/FreeTaps.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMinDelaySeconds = 0.005;
constexpr double kTravelSeconds = 0.065535; // kept because the length of the way is in the sound

} // namespace

TapPair::~TapPair() { release(); }

int32_t TapPair::travelLength(double rateHz) noexcept { return truncatedToInt32(kTravelSeconds * rateHz); }

void TapPair::build(double rateHz) {
  release();
  sweepLfo = new lfoTriangle(0.0, 0.0, rateHz);
  sweepLength = travelLength(rateHz);
  minDelay = tapPos1 = tapPos2 = kMinDelaySeconds * rateHz;
}

void TapPair::release() noexcept {
  delete sweepLfo;
  sweepLfo = nullptr;
}

void TapPair::turnAround() noexcept {
  if (sweepLfo) sweepLfo->turnAround();
}

// Upwards a tap starts long and shrinks, downwards it starts short and grows. The direction at the start of
// the block holds for all of it, even if the pitch changes sign inside.
void TapPair::begin(Block& block, double rate, bool isUpwards) noexcept {
  beginGlide(rate, 0, block);
  block.jumpDelay = minDelay + (isUpwards ? sweepLength : 0);
}

void TapPair::follow(Block& block, Slice& slice) noexcept {
  followSweep(block, slice);
  TapState taps = state();
  for (int32_t i = 0; i < slice.samples; ++i) {
    if constexpr (kFast) i = followFreely(i, minDelay, taps, slice);
    if (i < slice.samples)
      followOne(i, block.jumpDelay, minDelay, slice.phaseStep[i], slice.pitchRatio[i], taps, slice);
  }
  moveTo(taps);
}

// Every move of the pedal lets the sweep begin a new glide, to the end of the block.
void TapPair::followSweep(Block& block, Slice& slice) noexcept {
  int32_t i = 0;
  if constexpr (kFast) i = glideAtEverySample(*sweepLfo, slice);
  for (; i < slice.samples; ++i) {
    const int32_t inBlock = slice.first + i;
    slice.phaseStep[i] = slice.moved[i] ? beginGlide(slice.sweepRate[i + 1], inBlock, block)
                                        : sweepLfo->glideStep(inBlock - block.glideStart);
  }
}

// Result: the phase step at the glide's first sample.
double TapPair::beginGlide(double rate, int32_t sample, Block& block) noexcept {
  block.glideStart = sample;
  block.turns = false;
  return sweepLfo->startGlide(rate, block.samples - sample);
}

void TapPair::end(const Block& block) noexcept {
  if (block.turns) sweepLfo->turnAround();
}

double TapPair::longestDelay(const Block& block) const noexcept {
  return std::max({tapPos1, tapPos2, block.jumpDelay});
}

bool TapPair::isSteady() const noexcept { return sweepLfo->isLevel(); }

bool TapPair::isBoundFor(double rate) const noexcept { return sweepLfo->lastRate == rate; }

double TapPair::steadyStep() const noexcept { return sweepLfo->glideStep(0); }

TapState TapPair::state() const noexcept { return {sweepLfo->phase, sweepLfo->falling, tapPos1, tapPos2}; }

void TapPair::moveTo(const TapState& state) noexcept {
  sweepLfo->phase = state.phase;
  sweepLfo->falling = state.falling;
  tapPos1 = state.delay1;
  tapPos2 = state.delay2;
}

bool TapPair::isFinite() const noexcept { return std::isfinite(tapPos1) && std::isfinite(tapPos2); }
