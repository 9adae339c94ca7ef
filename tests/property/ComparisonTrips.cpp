// The comparison itself is tested here: it finds what is wrong, where it is wrong, and nothing else.
#include "Scenario.h"

#include <bit>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

double withBitFlipped(double x, int bit) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) ^ (std::uint64_t{1} << bit));
}

// A plain pedal with one bit of one output sample changed.
class OneBitOff : public PlainSide {
public:
  OneBitOff(std::int64_t badSample, int badBit) : sample(badSample), bit(badBit) {}
  void process(const double* input, double* output, int n) override {
    PlainSide::process(input, output, n);
    if (sample >= 0 && sample < n) output[sample] = withBitFlipped(output[sample], bit);
    if (n > 0) sample -= n;
  }

private:
  std::int64_t sample; // counted from the next block's first
  int bit;
};

// A plain pedal that writes one sample too many.
class OneTooMany : public PlainSide {
public:
  void process(const double* input, double* output, int n) override {
    PlainSide::process(input, output, n);
    output[n] = 0.0;
  }
};

// A plain pedal that scribbles on its input.
class InputEater : public PlainSide {
public:
  void process(const double* input, double* output, int n) override {
    PlainSide::process(input, output, n);
    const_cast<double*>(input)[n - 1] = 0.0;
  }
};

// The length of a scenario, in which two plain pedals agree.
std::int64_t samplesOf(std::uint64_t number) {
  PlainSide one, other;
  PedalPair pair(one, other);
  playScenario(number, pair);
  REQUIRE_FALSE(pair.difference());
  return pair.samples();
}

} // namespace

TEST_CASE("comparison: a changed bit is reported at its scenario's sample") {
  for (std::uint64_t number : {0, 1, 2, 3, 4, 5, 7, 11}) {
    CAPTURE(number);
    const std::int64_t samples = samplesOf(number);
    REQUIRE(samples > 100);
    for (const std::int64_t bad : {std::int64_t{0}, std::int64_t{1}, samples / 2, samples - 1}) {
      for (const int bit : {0, 63}) {
        CAPTURE(bad);
        CAPTURE(bit);
        PlainSide right;
        OneBitOff wrong(bad, bit);
        PedalPair pair(right, wrong);
        playScenario(number, pair);
        REQUIRE(pair.difference());
        CHECK(pair.difference()->where == "output");
        CHECK(pair.difference()->sample == bad);
        CHECK(sameSample(pair.difference()->actual, withBitFlipped(pair.difference()->expected, bit)));
      }
    }
  }
}

TEST_CASE("comparison: the report names sample, block, index and both values") {
  PlainSide right;
  OneBitOff wrong(9, 63);
  PedalPair pair(right, wrong);
  const std::vector<double> input(8, 0.5); // no rate yet: the blocks pass through
  pair.process(input, 8, false);
  CHECK_FALSE(pair.difference());
  pair.setParameter(3, 0.25f);
  pair.process(input, 8, true);
  REQUIRE(pair.difference());
  CHECK(
      describe(*pair.difference()) ==
      "output differs at sample 9 (block 1, index 1): expected 3fe0000000000000 (0.5), got bfe0000000000000 "
      "(-0.5); last actions: block 8, parameter 3 0.25, block 8 in place");
}

TEST_CASE("comparison: writing behind the block and changing the input are reported") {
  const std::vector<double> input(8, 0.5);
  PlainSide right;
  OneTooMany tooMany;
  PedalPair pair(right, tooMany);
  pair.process(input, 8, false);
  REQUIRE(pair.difference());
  CHECK(pair.difference()->where == "behind the block");
  CHECK(pair.difference()->index == 8);

  PlainSide alsoRight;
  InputEater eater;
  PedalPair eaterPair(alsoRight, eater);
  eaterPair.process(input, 8, false);
  REQUIRE(eaterPair.difference());
  CHECK(eaterPair.difference()->where == "input");
  CHECK(eaterPair.difference()->index == 7);
}

TEST_CASE("comparison: a difference that comes first is kept") {
  PlainSide right;
  OneBitOff wrong(2, 0);
  PedalPair pair(right, wrong);
  const std::vector<double> input(8, 0.5);
  for (int k = 0; k < 3; ++k)
    pair.process(input, 8, false);
  REQUIRE(pair.difference());
  CHECK(pair.difference()->sample == 2);
  CHECK(pair.samples() == 8);
}

TEST_CASE("comparison: equal means equal bits, except among not-a-numbers") {
  CHECK(sameSample(0.5, 0.5));
  CHECK_FALSE(sameSample(0.5, std::nextafter(0.5, 1.0)));
  CHECK_FALSE(sameSample(0.0, -0.0));
  CHECK_FALSE(sameSample(0x1p-1074, 0.0));
  CHECK(sameSample(kNoNumber, -kNoNumber));
  CHECK(sameSample(kNoNumber, withBitFlipped(kNoNumber, 3)));
  CHECK_FALSE(sameSample(kNoNumber, 0.0));
  CHECK_FALSE(sameSample(1.0, kNoNumber));
  CHECK_FALSE(sameSample(std::numeric_limits<double>::infinity(), kNoNumber));
}

TEST_CASE("comparison: a scenario depends on its number alone") {
  CHECK(samplesOf(42) == samplesOf(42));
  CHECK(samplesOf(42) != samplesOf(43));
}

TEST_CASE("the compiler rounds doubles to single precision") {
  // 1 + k * 2^-30 lies between 1 and the next single, 1 + 2^-23 = 1 + 128 * 2^-30: up to half way (64, a tie
  // that goes to the even 1) it rounds down, above it up. A conversion that is left out keeps k.
  double widened[129];
  for (int k = 0; k <= 128; ++k)
    widened[k] = narrowed(1.0 + k * 0x1p-30);
  for (int k = 0; k <= 128; ++k) {
    CAPTURE(k);
    CHECK(widened[k] == (k <= 64 ? 1.0 : 1.0 + 0x1p-23));
  }
}
