#include "tests/soak/OutputBound.h"

#include "tests/property/Scenario.h"

#include <algorithm>
#include <numbers>

double outputBound(double largestInput) {
  constexpr double kCrossfade = std::numbers::sqrt2 + 1e-5;
  constexpr double kMostK2 = 0.968, kMostK4 = 6.0;
  constexpr double kMostK3 = 0.45 + 0.35 * (1.0 + 8.0 * 0.35 * 0.35 * 0.35);
  constexpr double kRounding = 1e-6;

  const double y = largestInput * kCrossfade / 2.0;
  const double low = y;
  const double high = (1.0 + kMostK2) / (1.0 - kMostK2) * y;
  const double toned = kMostK3 * 2.0 * low + kMostK4 * (y + high);
  const double gain = std::max(kHighestPedal, 1.0 - kLowestPedal);
  return gain * (largestInput + toned) * (1.0 + kRounding);
}
