#include "quality/FadeShape.h"

#include "quality/PedalShifter.h"
#include "quality/TestSounds.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kBefore = 9600; // samples: by then the path is full and its filters rest
constexpr int kAfter = 4800;
constexpr double kArrived = 1e-4;

double msOf(int samples) { return 1000.0 * samples / kRateHz; }

} // namespace

FadeShape::FadeShape(const std::string& modulePath, const SwitchMove& move) {
  PedalShifter pedal(modulePath, {.color = kUnshifted, .pedal = 0.0}, Heard::all);
  pedal.setParameter(move.parameter, move.from);
  const double before = pedal.play(level(1.0, kBefore), kShortBlock).back();
  pedal.setParameter(move.parameter, move.to);
  gain = pedal.play(level(1.0, kAfter), kShortBlock);
  const double after = gain.back();
  const int turn = quietest();
  for (int n = 0; n < kAfter; ++n)
    gain[n] /= n < turn ? before : after;
}

int FadeShape::quietest() const { return static_cast<int>(std::ranges::min_element(gain) - gain.begin()); }

int FadeShape::arrival() const {
  int n = static_cast<int>(gain.size());
  while (n > 0 && std::abs(gain[n - 1] - 1.0) < kArrived)
    --n;
  return n;
}

double FadeShape::outMs() const { return msOf(quietest()); }

double FadeShape::inMs() const { return msOf(arrival() - quietest()); }

double FadeShape::lowest() const { return gain[quietest()]; }

double FadeShape::bend() const {
  const int turn = quietest(), end = arrival();
  double largest = 0.0;
  for (int n = 0; n < end; ++n) {
    const double line =
        n < turn ? 1.0 - static_cast<double>(n) / turn : static_cast<double>(n - turn) / (end - turn);
    largest = std::max(largest, std::abs(gain[n] - line));
  }
  return largest;
}
