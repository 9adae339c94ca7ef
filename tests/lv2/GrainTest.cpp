// What a host's automation grain does to a pedal sweep: it comes later, and stays the same sweep.
#include "LoadedBundle.h"
#include "engine/Block.h"
#include "engine/PedalMotion.h"
#include "engine/Slice.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr double kRate = 48000.0;
constexpr double kPi = 3.14159265358979323846;
constexpr int kSmall = 64, kLarge = 1024; // samples: blocks of two hosts
constexpr int kSamples = 200 * kLarge;    // 4.3 s
constexpr int kFrom = 20 * kLarge,
              kUntil = 120 * kLarge; // the pedal goes up in 2.1 s, corners between blocks

double drawnPedal(int sample) {
  return std::clamp(static_cast<double>(sample - kFrom) / (kUntil - kFrom), 0.0, 1.0);
}

// A low guitar note with its first overtones, silent before 0.
double playedNote(int sample) {
  if (sample < 0) return 0.0;
  double sum = 0.0;
  for (int partial = 1; partial <= 6; ++partial)
    sum += 0.2 / partial * std::sin(2.0 * kPi * 110.0 * partial / kRate * sample);
  return sum;
}

// The note, which begins at sample `begin` with the host's transport, bent along the drawn line; the host's
// blocks lie on multiples of their length, and it tells the pedal at the start of each.
std::vector<float> sweep(int color, int block, int begin) {
  Instance instance(kRate);
  instance.knobs.color = static_cast<float>(color);
  std::vector<float> sound(kSamples);
  for (int i = 0; i < kSamples; ++i)
    sound[i] = static_cast<float>(playedNote(i - begin));
  for (int start = begin; start < kSamples;) {
    const int end = (start / block + 1) * block;
    instance.knobs.pedal = static_cast<float>(drawnPedal(start));
    instance.run(&sound[start], &sound[start], static_cast<uint32_t>(end - start));
    start = end;
  }
  return sound;
}

// How much of `a` is not in `b`, in dB; b begins `late` samples in.
double differenceDb(const std::vector<float>& a, const std::vector<float>& b, int late) {
  double power = 0.0, difference = 0.0;
  for (std::size_t i = 0; i + late < b.size(); ++i) {
    power += static_cast<double>(a[i]) * a[i];
    difference += std::pow(static_cast<double>(a[i]) - b[i + late], 2.0);
  }
  return 10.0 * std::log10(difference / power);
}

constexpr double kCentsPerSample = 1200.0 / kRate; // a sweep of an octave per second

// How far apart the pitch's least and its greatest distance to the drawn sweep are, in cents, when one of
// many blocks of a length is split and its second part has `rest` samples.
double strayCents(int block, int rest) {
  PedalMotion motion;
  motion.build(kRate);
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

// The pedal glides to the value told at a block's start and is there at its end, so it follows the drawn line
// one block late. A note that begins 960 samples later meets the larger blocks' pedal where the first note
// met the smaller blocks'; the sound must be the same then, down to what rounding of the pedal's way leaves.
TEST_CASE("a sweep in blocks of 1024 is the one in blocks of 64, 20 ms later") {
  constexpr int kLater = kLarge - kSmall;
  constexpr double kSameDb = -90.0; // the step of a 16-bit recording of full scale
  for (int color = 0; color < 8; ++color) {
    CAPTURE(color);
    const auto small = sweep(color, kSmall, 0);
    CHECK(differenceDb(small, sweep(color, kLarge, kLater), kLater) < kSameDb);
    CHECK(differenceDb(small, sweep(color, kLarge, 0), 0) > kSameDb);
  }
}

// The part that is left of a block ends its glide at once, so the ramp jumps ahead by the samples that are
// missing, and falls back along the next block. Of such a triangle a smoother of 5 Hz keeps the peak below.
TEST_CASE(
    "a sweep in blocks of 1024 of which one is split strays by 7 cents, in blocks of 256 by less than one") {
  for (const int block : {1024, 256, 64}) {
    CAPTURE(block);
    const double jump = (block - 21) * kCentsPerSample;
    const double smoother = kRate / (2.0 * kPi * 5.0) / block; // its time, in blocks
    const double peak = jump * (1.0 - smoother * std::log(1.0 + 1.0 / smoother));
    CHECK(strayCents(block, 21) == doctest::Approx(peak).epsilon(0.1));
  }
  CHECK(strayCents(1024, 21) < 7.0);
  CHECK(strayCents(256, 21) < 1.0);
}
