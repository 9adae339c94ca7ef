// The fades around a change of On/Off or Color, as gains of a block.
#include "engine/Fades.h"
#include "Blocks.h"
#include "engine/fast/Fence.h"
#include "tests/support/Allocations.h"

#include <cmath>
#include <doctest/doctest.h>
#include <new>
#include <string>
#include <vector>

namespace {

struct BuiltFades : Fades {
  BuiltFades(float onOff, float color) {
    build(kFiveSamples, onOff, color);
    REQUIRE(reserve(64));
  }

  // What a block leaves of an effect's sound of 1 and an input of -1, in 25ths: a text that a reader can
  // check. silent: the block's silent sample.
  std::string played(float onOff, float color, int32_t samples, int32_t* silent = nullptr,
                     int32_t longest = 3) {
    Block block = blockOf(samples, {onOff, 0.8f, color, 0.0f});
    begin(block);
    if (silent) *silent = block.silentSample;
    if (!block.fades) return "idle";
    std::string text;
    forEachSlice(samples, longest, [&](Slice& slice) {
      const std::vector<double> input(slice.samples, -1.0);
      slice.input = input.data();
      std::vector<double> output(slice.samples, 1.0);
      apply(slice, output.data());
      if constexpr (kFast) {
        std::vector<double> quick(slice.samples, 1.0);
        applyQuickly(slice, quick.data());
        CHECK(quick == output);
      }
      for (const double sample : output)
        text += std::to_string(std::lround(sample * 25.0)) + " ";
    });
    return text;
  }
};

const char* const kIdle = kFast ? "idle" : "25 25 25 25 ";

} // namespace

TEST_CASE("fades by hand") {
  struct Row {
    const char* what;
    float onOff, color; // before
    float nextOnOff, nextColor;
    int32_t silent;
    const char* sound; // in 25ths: above 0 the effect's, below 0 the input
  };
  for (const Row& row : {
           Row{"turned off", 1, 0.5f, 0, 0.5f, 12, "25 20 15 10 5 0 -5 -10 -15 -20 -25 -25 "},
           Row{"turned on", 0, 0.5f, 1, 0.5f, 12, "-25 -20 -15 -10 -5 0 5 10 15 20 25 25 "},
           Row{"turned off, to a value that is neither", 1, 0.5f, 0.99999994f, 0.5f, 12,
               "25 20 15 10 5 0 -5 -10 -15 -20 -25 -25 "},
           Row{"another colour", 1, 0.5f, 1, 0.6f, 5, "25 20 15 10 5 0 5 10 15 20 25 25 "},
           Row{"another colour while off", 0, 0.5f, 0, 0.6f, 5,
               "-25 -25 -25 -25 -25 -25 -25 -25 -25 -25 -25 -25 "},
           Row{"both at once", 1, 0.5f, 0, 0.6f, 5, "25 16 9 4 1 0 -5 -10 -15 -20 -25 -25 "},
       }) {
    for (const int32_t longest : {1, 2, 5, 12}) {
      INFO(row.what);
      BuiltFades fades(row.onOff, row.color);
      int32_t silent = -1;
      CHECK(fades.played(row.nextOnOff, row.nextColor, 12, &silent, longest) == row.sound);
      CHECK(silent == row.silent);
      CHECK(fades.played(row.nextOnOff, row.nextColor, 4, &silent) ==
            (row.nextOnOff == 1.0f || kFast ? kIdle : "-25 -25 -25 -25 "));
      CHECK(silent == 4);
    }
  }
}

TEST_CASE("the Color fade multiplies the effect alone, wherever it stands when On/Off changes") {
  BuiltFades fades(1.0f, 0.5f);
  CHECK(fades.played(1.0f, 0.6f, 2) == "25 20 ");
  CHECK(fades.played(0.0f, 0.6f, 8) == "15 8 3 0 1 0 -5 -10 ");
}

TEST_CASE("toggling back while fading in plays the fade-out from the same place") {
  BuiltFades fades(1.0f, 0.5f);
  CHECK(fades.played(0.0f, 0.5f, 7) == "25 20 15 10 5 0 -5 ");
  CHECK(fades.played(1.0f, 0.5f, 10) == "-15 -10 -5 0 5 10 15 20 25 25 ");
}

TEST_CASE("values taken as they are play no fade") {
  BuiltFades fades(1.0f, 0.5f);
  fades.settleAt(1.0f, 0.9f);
  CHECK(fades.played(1.0f, 0.9f, 4) == kIdle);
  fades.settleAt(0.0f, 0.9f);
  CHECK(fades.played(0.0f, 0.9f, 4) == (kFast ? "idle" : "-25 -25 -25 -25 "));
  CHECK(fades.played(0.0f, 0.9f, 0) == (kFast ? "idle" : ""));
  CHECK(fades.idleGain() == 1.0);
}

TEST_CASE("room for gains is two arrays of doubles and one of floats, made when there is less") {
  const long before = allocations::live();
  {
    BuiltFades fades(1.0f, 0.5f);
    const auto taken = [&](int32_t samples) {
      const long were = allocations::taken();
      CHECK(fades.reserve(samples));
      return allocations::taken() - were;
    };
    CHECK(fades.reserved() == 64);
    for (const int32_t samples : {64, 1, 0, -3})
      CHECK(taken(samples) == 0);
    CHECK(taken(65) == 3);
    CHECK(fades.reserved() == 65);
    fades.build(kFiveSamples, 1.0f, 0.5f); // new switches: the gains stay, the values do not
    CHECK(fades.reserved() == 0);
    CHECK(taken(65) == 1);
    fades.release();
    CHECK_FALSE(fades.isBuilt());
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("room that cannot be had leaves the room there was, and is asked for again") {
  const long before = allocations::live();
  for (const long failing : {1, 2, 3}) {
    BuiltFades fades(1.0f, 0.5f);
    fades.played(0.0f, 0.5f, 2);
    {
      const allocations::FailNth failure(failing);
      CHECK_FALSE(fades.reserve(100));
    }
    CHECK(fades.reserved() == 64);
    CHECK(fades.played(0.0f, 0.5f, 64).starts_with("15 10 5 0 -5 "));
    CHECK(fades.reserve(100));
    CHECK(fades.reserved() == 100);
  }
  for (long failing = 1; failing <= 6; ++failing) { // two switches of three
    Fades fades;
    const allocations::FailNth failure(failing);
    bool failed = false;
    try {
      fades.build(kFiveSamples, 1.0f, 0.5f);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    CHECK(failed);
    CHECK_FALSE(fades.isBuilt());
  }
  CHECK(allocations::live() == before);
}
