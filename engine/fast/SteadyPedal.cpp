// Same bits as following a pedal that moves no pitch sample by sample, faster: tells beforehand that none
// will.
#include "engine/Block.h"
#include "engine/PedalMotion.h"
#include "engine/Smoothed.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr double kNearPedal = 0x1p-36; // relative: between the spacings of float and double

template <typename Bits, typename Number> bool sameBits(Number a, Number b) {
  return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
}

bool narrowsTo(float wanted, double number) { return sameBits<uint32_t>(static_cast<float>(number), wanted); }

} // namespace

bool PedalMotion::isSteady(const Block& block) const noexcept {
  const double next = smoothed(*pedalSmoother, state(), rampValue(block, 0));
  return sameBits<uint64_t>(next, state()) && next == lastSmoothedPedal;
}

// Rounding keeps order and the pole is positive, so from between two states that do not move apart, the
// smoother never leads out.
bool PedalMotion::keepsPitch(float pitchPedal, const Block& block) const noexcept {
  const double pedal = rampValue(block, 0);
  const double next = smoothed(*pedalSmoother, state(), pedal);
  const double margin = std::abs(pedal) * kNearPedal;
  const double low = std::min(next, pedal - margin);
  const double high = std::max(next, pedal + margin);
  return pole() > 0.0 && smoothed(*pedalSmoother, low, pedal) >= low &&
         smoothed(*pedalSmoother, high, pedal) <= high && narrowsTo(pitchPedal, low) &&
         narrowsTo(pitchPedal, high);
}
