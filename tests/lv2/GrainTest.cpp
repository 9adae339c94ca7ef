// What a host's automation grain does to a pedal sweep, which reaches a told position with its block's end.
#include "engine/Block.h"
#include "engine/PedalMotion.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <vector>

namespace {

constexpr double kRateHz = 48000.0;
constexpr double kPi = 3.14159265358979323846;
constexpr double kCentsPerSample = 1200.0 / kRateHz; // a sweep of an octave per second

// How far apart the pitch's least and its greatest distance to the drawn sweep are, in cents, when one of
// many blocks of a length is split and its second part has `rest` samples.
double strayCents(int block, int rest) {
  PedalMotion motion;
  motion.build(kRateHz);
  motion.settleAt(0.0f);
  std::vector<int> lengths(80 * 1024 / block, block);
  lengths[lengths.size() / 2] = block - rest;
  lengths.insert(lengths.begin() + lengths.size() / 2 + 1, rest);
  double least = 1e9, greatest = 0.0;
  int start = 0;
  for (const int length : lengths) {
    Block now = {};
    now.samples = length;
    now.settings.pedalPos = static_cast<float>(start * kCentsPerSample / 2400.0);
    motion.begin(now, length > 1 ? 1.0 / (length - 1) : 0.0);
    for (int first = 0; first < length; first += 16) {
      Slice slice;
      slice.first = first;
      slice.samples = std::min(16, length - first);
      motion.follow(now, slice, 0.0f);
      const double behind = (start + first + slice.samples) * kCentsPerSample - motion.state() * 2400.0;
      if (start < 30 * 1024) continue; // until the smoother is as far behind as it will be
      least = std::min(least, behind);
      greatest = std::max(greatest, behind);
    }
    motion.end(now);
    start += length;
  }
  return greatest - least;
}

} // namespace

// The part that is left of a block ends its glide at once, so the ramp jumps ahead by the samples that are
// missing, and falls back along the next block. Of such a triangle a smoother of 5 Hz keeps the peak below.
TEST_CASE(
    "a sweep in blocks of 1024 of which one is split strays by 7 cents, in blocks of 256 by less than one") {
  for (const int block : {1024, 256, 64}) {
    CAPTURE(block);
    const double jump = (block - 21) * kCentsPerSample;
    const double smoother = kRateHz / (2.0 * kPi * 5.0) / block; // its time, in blocks
    const double peak = jump * (1.0 - smoother * std::log(1.0 + 1.0 / smoother));
    CHECK(strayCents(block, 21) == doctest::Approx(peak).epsilon(0.1));
  }
  CHECK(strayCents(1024, 21) < 7.0);
  CHECK(strayCents(256, 21) < 1.0);
}
