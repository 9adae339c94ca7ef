// The delay line: how far ahead it may be written, and what two taps read from it.
#include "engine/DelayLine.h"
#include "Blocks.h"
#include "engine/Crossfade.h"
#include "engine/ReadTap.h"
#include "tests/support/Bits.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

struct BuiltLine : DelayLine {
  explicit BuiltLine(int32_t samples) {
    build(samples);
    clear();
  }

  Slice written(const std::vector<double>& input) {
    Slice slice{};
    slice.samples = static_cast<int32_t>(input.size());
    write(input.data(), slice);
    return slice;
  }
  void pass(const std::vector<double>& input) { advance(written(input)); }
};

std::vector<double> ramp(int from, int samples) {
  std::vector<double> numbers(samples);
  for (int i = 0; i < samples; ++i)
    numbers[i] = from + i;
  return numbers;
}

// Of two taps that lengthen by a sample per sample, as fast as any does.
void setDelays(Slice& slice, double delay1, double delay2) {
  for (int32_t i = 0; i < slice.samples; ++i) {
    slice.delay1[i] = delay1 + i;
    slice.delay2[i] = delay2 + i;
    slice.sweepBuffer[i] = i % 3 * 0.5;
  }
}

} // namespace

TEST_CASE("a tap is read between its two neighbours, delay 0 being the sample just written") {
  const double line[8] = {0, 1, 4, 9, 16, 25, 36, 49};
  for (int write = 0; write < 8; ++write) {
    for (int delay = 0; delay < 20; ++delay) {
      const double near = line[((write - delay) % 8 + 8) % 8];
      const double far = line[((write - delay - 1) % 8 + 8) % 8];
      CHECK(readTap(line, 8, write, delay) == near);
      CHECK(readTap(line, 8, write, delay + 0.25) == near + (far - near) * 0.25);
    }
  }
}

TEST_CASE("any index wraps into the line, any delay into a whole number") {
  for (const int32_t index : {0, 7, 8, -1, -8, -9, 100, -100, std::numeric_limits<int32_t>::max(),
                              std::numeric_limits<int32_t>::min()}) {
    const int32_t wrapped = wrappedIndex(index, 8);
    CHECK(wrapped >= 0);
    CHECK(wrapped < 8);
    CHECK((static_cast<int64_t>(index) - wrapped) % 8 == 0);
  }
  CHECK(wholeSamples(0.0) == 0);
  CHECK(wholeSamples(3.9999999999999996) == 3);
  for (const double large : {1e300, std::numeric_limits<double>::infinity()})
    CHECK(wholeSamples(large) == std::numeric_limits<int32_t>::max());
}

TEST_CASE("the longest slice ends with the line, and before a lengthening tap reaches around into it") {
  BuiltLine line(100);
  CHECK(line.longestSlice(0.0) == 98);
  CHECK(line.longestSlice(90.0) == 8);
  CHECK(line.longestSlice(90.5) == 7);
  for (const double delay : {96.5, 97.0, 97.5, 98.0, 100.0, 1e300}) // one sample is written before it is read
    CHECK(line.longestSlice(delay) == 1);
  line.pass(ramp(0, 95));
  CHECK(line.longestSlice(0.0) == 5);
  CHECK(line.longestSlice(94.0) == 4);
  line.pass(ramp(0, 5));
  CHECK(line.longestSlice(0.0) == 98);
}

TEST_CASE("a slice is read to the bits of its single samples, anywhere in the line, also by outgrown taps") {
  std::mt19937_64 random(11);
  constexpr int kLength = 1000;
  BuiltLine line(kLength);
  std::vector<double> noise(kLength);
  for (double& x : noise)
    x = std::ldexp(static_cast<double>(random() >> 11), -53) - 0.5;
  int straight = 0, outgrown = 0, wrong = 0;
  for (int round = 0; round < 2000; ++round) {
    line.pass(
        {noise.begin(), noise.begin() + static_cast<int>(1 + random() % std::min(7, line.longestSlice(0)))});
    const double delay1 = 1.0 + static_cast<double>(random() % 90000) / 97.0;
    const double delay2 =
        random() % 4 == 0 ? 3.0 * kLength + 0.5 : 2.0 + static_cast<double>(random() % 900) / 7.0;
    const double longest = std::max(delay1, delay2);
    Slice slice = line.written({noise.begin(), noise.begin() + std::min(256, line.longestSlice(longest))});
    setDelays(slice, delay1, delay2);
    line.read(slice, longest);
    straight += line.isStraight(longest);
    outgrown += delay2 > kLength;
    for (int32_t i = 0; i < slice.samples; ++i) {
      const double read = slice.shifted[i];
      line.readSample(i, slice);
      wrong += bitsOf(slice.shifted[i]) != bitsOf(read);
    }
    line.advance(slice);
  }
  CHECK(straight > 100);
  CHECK(outgrown > 100);
  CHECK(wrong == 0);
}

TEST_CASE("a slice is straight if its farther neighbours are not before the line's start") {
  BuiltLine line(100);
  line.pass(ramp(0, 50));
  CHECK(line.isStraight(48.0));
  CHECK_FALSE(line.isStraight(48.5));
}

TEST_CASE("writing copies the input and lets the slice point at it, and the line begins anew at its end") {
  BuiltLine line(6);
  const std::vector<double> input = {1.0, 2.0, 3.0};
  Slice slice = line.written(input);
  CHECK(slice.input != input.data());
  CHECK(slice.input == line.samples());
  CHECK(std::equal(input.begin(), input.end(), slice.input));
  line.advance(slice);
  CHECK(line.writtenFrom() == 3);
  line.pass({4.0, 5.0});
  CHECK(line.writtenFrom() == 5);
  line.pass({6.0});
  CHECK(line.writtenFrom() == 0);
  line.pass({7.0});
  CHECK(line.samples()[0] == 7.0);
  CHECK(line.samples()[5] == 6.0);
}

TEST_CASE("clearing silences the whole line and leaves the place to write, building starts at the start") {
  DelayLine none;
  none.clear();
  BuiltLine line(6);
  line.pass({1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
  line.pass({7.0});
  line.clear();
  CHECK(std::all_of(line.samples(), line.samples() + 6, [](double x) { return bitsOf(x) == 0; }));
  CHECK(line.writtenFrom() == 1);
  line.build(8);
  CHECK(line.length() == 8);
  CHECK(line.writtenFrom() == 0);
  line.release();
  CHECK(line.samples() == nullptr);
}
