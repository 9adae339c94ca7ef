// Same bits as PitchPedal::mix and Fades::apply, faster: steady gains in registers, those of idle
// fades are left out, and denormal input becomes zero before it is multiplied, which would take thirty times
// as long.
#include "engine/Block.h"
#include "engine/Fades.h"
#include "engine/PitchPedal.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>

namespace {

// A zero that changes no number when it is added, in the rounding mode in force; the compiler, which takes
// the mode to be the usual one, must not see that. Under flush-to-zero the sum makes a denormal number a zero
// of its sign. A product with a gain between -1 and 1 leaves no more of it.
double neutralZero() noexcept {
  const volatile double zero = 0.0;
  const double z = zero;
  return -(z - z);
}

bool isAmplified(double gain) { return !(std::fabs(gain) <= 1.0); } // NaN as well

// Gains and input of the slice's sample i come from gainsAt(i) and inputAt(i).
template <typename Gains, typename Input>
void mixOn(const Block& block, const Slice& slice, const ToneCoefficients& start, Gains gainsAt,
           Input inputAt, double* output) {
  const double lowGain = start.lowGain, lowStep = block.toneStep.lowGain;
  const double highGain = start.highGain, highStep = block.toneStep.highGain;
  double* __restrict out = output;
  for (int32_t i = 0; i < slice.samples; ++i) {
    const int32_t inBlock = slice.first + i;
    const double toned = rampAt(lowGain, lowStep, inBlock) * (slice.low[i] + slice.low[i + 1]) +
                         rampAt(highGain, highStep, inBlock) * (slice.high[i + 1] - slice.high[i]);
    const MixGains gains = gainsAt(i);
    out[i] = gains.dry * inputAt(i) + gains.wet * toned;
  }
}

} // namespace

// A sum is flushed already, and a gain of 1 changes nothing else; the idle gain that multiplies the input
// is not left out.
void PitchPedal::mixQuickly(const Block& block, const Slice& slice, bool isSteady,
                            double* output) const noexcept {
  const MixGains held = pitch.gains();
  const auto heldGains = [held](int32_t) { return held; };
  const auto ownGains = [&slice](int32_t i) { return MixGains{slice.dryGain[i], slice.wetGain[i]}; };
  const auto flushed = [&slice, zero = neutralZero()](int32_t i) { return slice.input[i] + zero; };
  const auto unchanged = [&slice](int32_t i) { return slice.input[i]; };
  if (!block.fades && block.settings.onOff != ParamSwitch::kOn)
    std::transform(slice.input, slice.input + slice.samples, output,
                   [gain = fades.idleGain(), zero = neutralZero()](double x) { return gain * (x + zero); });
  else if (isSteady && !isAmplified(held.dry))
    mixOn(block, slice, tone.start(), heldGains, flushed, output);
  else if (isSteady)
    mixOn(block, slice, tone.start(), heldGains, unchanged, output);
  else if (std::any_of(slice.dryGain, slice.dryGain + slice.samples, isAmplified))
    mixOn(block, slice, tone.start(), ownGains, unchanged, output);
  else
    mixOn(block, slice, tone.start(), ownGains, flushed, output);
  if (block.fades) fades.applyQuickly(slice, output);
}

// The On/Off value in force changes at most once in a block: where a fade-out ends.
void Fades::applyQuickly(const Slice& slice, double* output) const noexcept {
  const double* __restrict onOffGains = onOffGain + slice.first;
  const double* __restrict colorGains = colorGain + slice.first;
  const double* __restrict input = slice.input;
  const double zero = neutralZero();
  double* __restrict out = output;
  const float* values = onOffSwitch->valueBuffer + slice.first;
  for (int32_t i = 0; i < slice.samples;) {
    const auto differs = [on = values[i] == ParamSwitch::kOn](float value) {
      return (value == ParamSwitch::kOn) != on;
    };
    const bool changes = differs(values[slice.samples - 1]);
    const int32_t end =
        changes ? static_cast<int32_t>(std::find_if(values + i, values + slice.samples, differs) - values)
                : slice.samples;
    if (values[i] == ParamSwitch::kOn)
      for (; i < end; ++i)
        out[i] = colorGains[i] * onOffGains[i] * out[i];
    else
      for (; i < end; ++i)
        out[i] = onOffGains[i] * (input[i] + zero);
  }
}
