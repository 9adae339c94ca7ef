#include "tests/soak/PlayedSound.h"

#include <cmath>

namespace {

constexpr double kFaint = 1e-9;              // a string that has become so soft is plucked anew
constexpr double kDenormalScale = 0x1p-1023; // below the smallest normal number

} // namespace

void PlayedSound::change() {
  kind = static_cast<Kind>(random.below(kKinds));
  if (random.chance(50)) kind = kString;
  pluck();
}

void PlayedSound::pluck() {
  const double angle = 0.002 + 0.2 * random.unit();
  const double damping = 1.0 - 0.002 * random.unit();
  turnCos = damping * std::cos(angle);
  turnSin = damping * std::sin(angle);
  now = 0.0;
  aside = 0.2 + 0.7 * random.unit();
}

double PlayedSound::string() {
  const double moved = now * turnCos + aside * turnSin;
  aside = aside * turnCos - now * turnSin;
  now = moved;
  if (std::fabs(now) + std::fabs(aside) < kFaint) pluck();
  return now;
}

double PlayedSound::next() {
  switch (kind) {
  case kString:
    return string();
  case kLoudString:
    return kLargestInput * string();
  case kNoise:
    return 2.0 * random.unit() - 1.0;
  case kClicks:
    return random.below(200) == 0 ? kLargestInput * (2.0 * random.unit() - 1.0) : 0.0;
  case kDenormals:
    return (2.0 * random.unit() - 1.0) * kDenormalScale;
  case kBoth:
    return random.chance(50) ? string() : 0.6 * kDenormalScale;
  default:
    return 0.0;
  }
}

void PlayedSound::play(std::vector<double>& block) {
  for (double& x : block)
    x = next();
}
