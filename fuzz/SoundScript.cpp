#include "fuzz/SoundScript.h"

#include <algorithm>

namespace {

enum Kind { kSilence, kLevel, kRamp, kNoise, kImpulses, kDenormals, kKinds };

double sampleOf(int kind, double size, int i, std::uint32_t& random) {
  random = random * 1664525u + 1013904223u;
  const double noise = static_cast<double>(static_cast<std::int32_t>(random)) / 2147483648.0;
  switch (kind) {
  case kLevel:
    return size;
  case kRamp:
    return size * 0.01 * (i % 200 - 100);
  case kNoise:
    return size * noise;
  case kImpulses:
    return i % 37 == 0 ? size : -0.0;
  case kDenormals:
    return noise * 1e-310;
  default:
    return 0.0;
  }
}

} // namespace

void fillSound(ScriptBytes& script, double* samples, int count) {
  const int choice = script.byte();
  const double size = (choice & 0x40) != 0 ? script.float64() : 1.0;
  std::uint32_t random = static_cast<std::uint32_t>(choice);
  for (int i = 0; i < count; ++i)
    samples[i] = sampleOf(choice % 8 % kKinds, size, i, random);
  if ((choice & 0x80) != 0 && count > 0) samples[script.below(count)] = script.float64();
}
