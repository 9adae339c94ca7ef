// The eight colours and their mixes.
#include "engine/PedalNumbers.h"
#include "tests/support/Bits.h"
#include "tests/support/NonFinite.h"

#include <cmath>
#include <doctest/doctest.h>
#include <initializer_list>
#include <limits>

namespace {} // namespace

TEST_CASE("a colour's interval holds its lower bound and not its upper one") {
  for (int bound = 1; bound < 8; ++bound) {
    const float value = 0.125f * static_cast<float>(bound);
    CAPTURE(value);
    CHECK(colorOf(value) == bound);
    CHECK(colorOf(std::nextafter(value, 0.0f)) == bound - 1);
    CHECK(colorOf(std::nextafter(value, 1.0f)) == bound);
    CHECK(colorOf(value + 0.0625f) == bound);
    CHECK(colorParameter(bound) == value + 0.0625f);
    CHECK(kColorTable[bound].number == bound);
  }
}

TEST_CASE("values outside 0..1 take the outer colours, a not-a-number the last") {
  for (float low : {0.0f, -0.0f, -1.0f, -kInfinity, std::numeric_limits<float>::denorm_min()})
    CHECK(colorOf(low) == 0);
  for (float high : {1.0f, 2.0f, 1e30f, kInfinity, kNaN, -kNaN})
    CHECK(colorOf(high) == 7);
}
