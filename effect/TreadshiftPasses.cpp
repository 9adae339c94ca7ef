// The passes over a chunk behind control: taps, filters, mix and fades. [audio]
#include "effect/Treadshift.h"

#include "effect/ColorTable.h"
#include "effect/TapReader.h"

#include <algorithm>

namespace {

constexpr float kOn = 1.0f;
constexpr int32_t kLeastEvenSamples = 4; // to look for a stretch takes as long as so many single samples

} // namespace

// Fills chunk.shifted and moves sweep and taps on.
void Treadshift::sweepTaps(Chunk& chunk, double longestDelay, bool steady, const BlockValues& block) {
  const DelayLineView view(delayLine, delayLength, writeIndex, longestDelay);
  TapSweep taps{sweepLfo->phase, sweepLfo->falling, tapPos1, tapPos2, minDelay, block.tapRestart};
  if (steady)
    sweepSteadily(view, taps, chunk);
  else {
    taps.follow(chunk);
    readTaps(view, chunk);
  }
  sweepLfo->phase = taps.phase;
  sweepLfo->falling = taps.falling;
  tapPos1 = taps.delay1;
  tapPos2 = taps.delay2;
}

// Even stretches as such, the samples between them one by one.
void Treadshift::sweepSteadily(const DelayLineView& view, TapSweep& taps, Chunk& chunk) const {
  const double phaseStep = sweepLfo->glideStep(0);
  for (int32_t i = 0; i < chunk.samples;) {
    const int32_t left = chunk.samples - i;
    if (left >= kLeastEvenSamples) {
      const EvenStretch stretch = taps.evenStretch(phaseStep, pitchRatio, left);
      if (stretch.samples > 0) {
        readEvenTaps(view, i, stretch, chunk);
        taps.pass(stretch, phaseStep, pitchRatio);
        i += stretch.samples;
        continue;
      }
    }
    taps.followOne(i, phaseStep, pitchRatio, chunk);
    readSample(view, i++, chunk);
  }
}

// All recursions in one loop, with state in locals: each waits for its own sample before, and the others
// fill the time. The pedal smoother runs here while the pedal rests.
void Treadshift::filterChunk(Chunk& chunk, const BlockValues& block, bool smoothsPedal) {
  const IIRFilter& filter = *shiftFilter;
  const double ff0 = filter.ff0, ff1 = filter.ff1, ff2 = filter.ff2, fb1 = filter.fb1, fb2 = filter.fb2;
  double state1 = filter.state1, state2 = filter.state2;
  const double k1 = prevToneCoef[0], k2 = prevToneCoef[1];
  const double k1Step = block.toneStep[0], k2Step = block.toneStep[1];
  double low = toneLowState, high = toneHighState;
  const double pedalPole = pedalSmoother->ff0;
  const double pedalInput = pedalSmoother->fb1 * (lastPedal + 0.0 * block.pedalStep);
  double pedal = pedalSmoother->state1;

  chunk.low[0] = low;
  chunk.high[0] = high;
  for (int32_t i = 0; i < chunk.samples; ++i) {
    const double x = chunk.shifted[i];
    const double y = ff0 * x + state1;
    state1 = ff1 * x + state2 + fb1 * y;
    state2 = ff2 * x + fb2 * y;
    const double half = y * 0.5;
    const int32_t inBlock = chunk.first + i;
    low = half + (k1 + inBlock * k1Step) * (low - half);
    high = half + (k2 + inBlock * k2Step) * (high + half);
    chunk.low[i + 1] = low;
    chunk.high[i + 1] = high;
    pedal = pedalPole * pedal + pedalInput;
  }

  shiftFilter->state1 = state1;
  shiftFilter->state2 = state2;
  toneLowState = low;
  toneHighState = high;
  if (smoothsPedal) lastSmoothedPedal = pedalSmoother->state1 = pedal;
}

// Products with the gains of idle fades are left out where they would multiply a sum: it is flushed already,
// and 1 changes nothing else. Those that multiply the input stay, since it may be denormal.
void Treadshift::mixChunk(const Chunk& chunk, const BlockValues& block, bool steady, double* output) const {
  const auto held = [gains = MixGains{dryGain, wetGain}](int32_t) { return gains; };
  const auto followed = [&chunk](int32_t i) { return MixGains{chunk.dry[i], chunk.wet[i]}; };
  if (!block.fades && block.onOff != kOn)
    passInput(chunk, output);
  else if (steady)
    mixOn(chunk, block, held, output);
  else
    mixOn(chunk, block, followed, output);
  if (block.fades) fadeChunk(chunk, output);
}

void Treadshift::passInput(const Chunk& chunk, double* output) const {
  const double gain = onOffSwitch->steadyGain;
  std::transform(chunk.input, chunk.input + chunk.samples, output, [gain](double x) { return gain * x; });
}

// Dry and shifted sound; the gains of the tone filter's branches are on their ramps.
template <typename Gains>
void Treadshift::mixOn(const Chunk& chunk, const BlockValues& block, Gains gainsAt, double* output) const {
  const double k3 = prevToneCoef[2], k4 = prevToneCoef[3];
  const double k3Step = block.toneStep[2], k4Step = block.toneStep[3];
  const double* __restrict input = chunk.input;
  double* __restrict out = output;
  for (int32_t i = 0; i < chunk.samples; ++i) {
    const int32_t inBlock = chunk.first + i;
    const double toned = (k3 + inBlock * k3Step) * (chunk.low[i] + chunk.low[i + 1]) +
                         (k4 + inBlock * k4Step) * (chunk.high[i + 1] - chunk.high[i]);
    const MixGains gains = gainsAt(i);
    out[i] = gains.dry * input[i] + gains.wet * toned;
  }
}

// The On/Off value in force changes at most once in a block: where a fade-out ends.
void Treadshift::fadeChunk(const Chunk& chunk, double* output) const {
  const double* __restrict onOffGains = onOffGain + chunk.first;
  const double* __restrict colorGains = colorGain + chunk.first;
  const double* __restrict input = chunk.input;
  double* __restrict out = output;
  const float* values = onOffSwitch->valueBuffer + chunk.first;
  for (int32_t i = 0; i < chunk.samples;) {
    const auto differs = [on = values[i] == kOn](float value) { return (value == kOn) != on; };
    const bool changes = differs(values[chunk.samples - 1]);
    const int32_t end =
        changes ? static_cast<int32_t>(std::find_if(values + i, values + chunk.samples, differs) - values)
                : chunk.samples;
    if (values[i] == kOn)
      for (; i < end; ++i)
        out[i] = colorGains[i] * onOffGains[i] * out[i];
    else
      for (; i < end; ++i)
        out[i] = onOffGains[i] * input[i];
  }
}
