// The passes over a chunk behind control: taps, filters, mix and fades. [audio]
#include "effect/Treadshift.h"

#include "effect/ColorTable.h"
#include "effect/EvenShift.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kOn = 1.0f;
constexpr int32_t kLeastEvenSamples = 4; // a whole vector of any width

// A zero that changes no number when it is added, in the rounding mode in force; the compiler, which takes
// the mode to be the usual one, must not see that. Under flush-to-zero the sum makes a denormal number a zero
// of its sign. A product with a gain between -1 and 1 leaves no more of it, but takes thirty times as long.
double neutralZero() noexcept {
  const volatile double zero = 0.0;
  const double z = zero;
  return -(z - z);
}

} // namespace

// Fills the chunk's tone states and moves sweep, taps and filters on.
void Treadshift::shiftChunk(Chunk& chunk, double longestDelay, bool steady, const BlockValues& block) {
  const DelayLineView view(delayLine, delayLength, writeIndex, longestDelay);
  TapSweep taps{sweepLfo->phase, sweepLfo->falling, tapPos1, tapPos2, minDelay, block.tapRestart};
  FilterRun filters = beginFilters(block);
  chunk.low[0] = filters.low;
  chunk.high[0] = filters.high;
  if (steady) {
    shiftSteadily(view, taps, filters, chunk);
    lastSmoothedPedal = pedalSmoother->state1 = filters.pedal;
  } else {
    taps.follow(chunk);
    readTaps(view, chunk);
    if (filters.toneStays()) // the pedal has moved already
      filters.run<true, true>(chunk, 0, chunk.samples);
    else
      filters.run<false, true>(chunk, 0, chunk.samples);
  }
  sweepLfo->phase = taps.phase;
  sweepLfo->falling = taps.falling;
  tapPos1 = taps.delay1;
  tapPos2 = taps.delay2;
  endFilters(filters);
}

// Even stretches as such, the samples between them one by one.
void Treadshift::shiftSteadily(const DelayLineView& view, TapSweep& taps, FilterRun& filters,
                               Chunk& chunk) const {
  const double phaseStep = sweepLfo->glideStep(0);
  for (int32_t i = 0; i < chunk.samples;) {
    EvenStretch stretch{};
    if (chunk.samples - i >= kLeastEvenSamples)
      stretch = view.beforeSeam(i, taps.evenStretch(phaseStep, pitchRatio, chunk.samples - i));
    if (stretch.samples > 0) {
      shiftEvenly(view, stretch, i, filters, chunk);
      taps.pass(stretch, phaseStep, pitchRatio);
      i += stretch.samples;
    } else {
      taps.followOne(i, phaseStep, pitchRatio, chunk);
      readSample(view, i, chunk);
      filters.run<false, false>(chunk, i, i + 1);
      ++i;
    }
  }
}

FilterRun Treadshift::beginFilters(const BlockValues& block) const {
  const IIRFilter& shift = *shiftFilter;
  const IIRFilter& smoother = *pedalSmoother;
  return {.ff0 = shift.ff0,
          .ff1 = shift.ff1,
          .ff2 = shift.ff2,
          .fb1 = shift.fb1,
          .fb2 = shift.fb2,
          .k1 = prevToneCoef[0],
          .k2 = prevToneCoef[1],
          .k1Step = block.toneStep[0],
          .k2Step = block.toneStep[1],
          .pedalPole = smoother.ff0,
          .pedalInput = smoother.fb1 * (lastPedal + 0.0 * block.pedalStep),
          .state1 = shift.state1,
          .state2 = shift.state2,
          .low = toneLowState,
          .high = toneHighState,
          .pedal = smoother.state1};
}

void Treadshift::endFilters(const FilterRun& filters) {
  shiftFilter->state1 = filters.state1;
  shiftFilter->state2 = filters.state2;
  toneLowState = filters.low;
  toneHighState = filters.high;
}

// Products with the gains of idle fades are left out where they would multiply a sum: it is flushed already,
// and 1 changes nothing else. Those that multiply the input stay, since it may be denormal.
void Treadshift::mixChunk(const Chunk& chunk, const BlockValues& block, bool steady, double* output) const {
  const auto held = [gains = MixGains{dryGain, wetGain}](int32_t) { return gains; };
  const auto followed = [&chunk](int32_t i) { return MixGains{chunk.dry[i], chunk.wet[i]}; };
  const auto flushed = [&chunk, zero = neutralZero()](int32_t i) { return chunk.input[i] + zero; };
  const auto unchanged = [&chunk](int32_t i) { return chunk.input[i]; };
  if (!block.fades && block.onOff != kOn)
    passInput(chunk, output);
  else if (steady && std::fabs(dryGain) <= 1.0)
    mixOn(chunk, block, held, flushed, output);
  else if (steady)
    mixOn(chunk, block, held, unchanged, output);
  else if (chunk.dryIsAmplified)
    mixOn(chunk, block, followed, unchanged, output);
  else
    mixOn(chunk, block, followed, flushed, output);
  if (block.fades) fadeChunk(chunk, output);
}

void Treadshift::passInput(const Chunk& chunk, double* output) const {
  const double gain = onOffSwitch->steadyGain;
  const double zero = neutralZero();
  std::transform(chunk.input, chunk.input + chunk.samples, output,
                 [gain, zero](double x) { return gain * (x + zero); });
}

// Dry and shifted sound; the gains of the tone filter's branches are on their ramps.
template <typename Gains, typename Input>
void Treadshift::mixOn(const Chunk& chunk, const BlockValues& block, Gains gainsAt, Input inputAt,
                       double* output) const {
  const double k3 = prevToneCoef[2], k4 = prevToneCoef[3];
  const double k3Step = block.toneStep[2], k4Step = block.toneStep[3];
  double* __restrict out = output;
  for (int32_t i = 0; i < chunk.samples; ++i) {
    const int32_t inBlock = chunk.first + i;
    const double toned = (k3 + inBlock * k3Step) * (chunk.low[i] + chunk.low[i + 1]) +
                         (k4 + inBlock * k4Step) * (chunk.high[i + 1] - chunk.high[i]);
    const MixGains gains = gainsAt(i);
    out[i] = gains.dry * inputAt(i) + gains.wet * toned;
  }
}

// The On/Off value in force changes at most once in a block: where a fade-out ends.
void Treadshift::fadeChunk(const Chunk& chunk, double* output) const {
  const double* __restrict onOffGains = onOffGain + chunk.first;
  const double* __restrict colorGains = colorGain + chunk.first;
  const double* __restrict input = chunk.input;
  const double zero = neutralZero();
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
        out[i] = onOffGains[i] * (input[i] + zero);
  }
}
