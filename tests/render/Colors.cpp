// The colours in a player's words.
#include "render/course/Colors.h"

#include "render/course/Controls.h"
#include "render/course/Intervals.h"

#include <cmath>
#include <doctest/doctest.h>
#include <set>

TEST_CASE("each mix has its words") {
  constexpr const char* kWords[] = {"bent fades into dry", "bent beside dry", "bent alone",
                                    "bent alone",          "bent beside dry", "bent beside dry",
                                    "bent, dry fades out", "bent beside dry"};
  for (const Color& color : kColorTable)
    CHECK(mixText(color.mixMode) == kWords[color.number]);
}

TEST_CASE("the pitch lies on the line between heel and toe, and each has one pedal") {
  struct Row {
    int color;
    double pedal, cents;
  };
  for (const Row& row : {Row{2, 0.0, 0.0},
                         {2, 0.25, 300.0},
                         {3, 0.25, -600.0},
                         {3, 0.5, -1200.0},
                         {4, 0.5, 0.0},
                         {5, 1.0, 500.0},
                         {6, 0.0, -6000.0},
                         {6, 1.0, 1200.0},
                         {0, 0.0, -100.0},
                         {0, 0.75, -25.0}}) {
    CAPTURE(row.color);
    CHECK(centsAt(row.color, row.pedal) == row.cents);
    CHECK(pedalFor(row.color, row.cents) == row.pedal);
  }
  CHECK(1.0 / pedalFor(3, 0.0) > 0.0); // no negative zero
}

TEST_CASE("every colour has a name of its own that means its number") {
  std::set<std::string_view> names;
  for (const Color& color : kColorTable) {
    names.insert(color.name);
    Controls byName, byNumber;
    byName.set(kColor, std::string(color.name));
    byNumber.set(kColor, std::to_string(color.number));
    CHECK(byName.valueAt(kColor, 0.0) == byNumber.valueAt(kColor, 0.0));
  }
  CHECK(names.size() == 8);
}

TEST_CASE("names and numbers mix in stepped points, capitals do not count") {
  Controls controls;
  controls.set(kColor, "0:Octave-Up,1:3,2:five-octaves-down-with-dry");
  CHECK(controls.valueAt(kColor, 0.5).value() == 0.3125f); // row 2: 5/16
  CHECK(controls.valueAt(kColor, 1.0).value() == 0.4375f); // row 3: 7/16
  CHECK(controls.valueAt(kColor, 2.0).value() == 0.9375f); // row 7: 15/16
}

TEST_CASE("a name that no colour has is told where the names are") {
  CHECK_THROWS_WITH(
      Controls().set(kColor, "octave-sideways"),
      "--color 'octave-sideways': no such value; give a colour's name (--list-colors tells them), a "
      "whole number from 0 to 7, or seconds:value points");
}

TEST_CASE("the list tells number, name, cents at heel and toe, and mix") {
  CHECK(colorList() == "colour  name                          heel     toe  mix\n"
                       "0       semitone-down                -100c      0c  bent fades into dry\n"
                       "1       quarter-tone-up                 0c    +50c  bent beside dry\n"
                       "2       octave-up                       0c  +1200c  bent alone\n"
                       "3       two-octaves-down                0c  -2400c  bent alone\n"
                       "4       octave-down-to-up           -1200c  +1200c  bent beside dry\n"
                       "5       fifth-down-to-fourth-up      -700c   +500c  bent beside dry\n"
                       "6       five-octaves-down           -6000c  +1200c  bent, dry fades out\n"
                       "7       five-octaves-down-with-dry  -6000c  +1200c  bent beside dry\n");
}

TEST_CASE("the best colour sounds without dry sound if it can, then has the smallest range") {
  CHECK(bestColor(700.0, 700.0) == 2);   // colours 4, 6 and 7 mix
  CHECK(bestColor(-500.0, -500.0) == 3); // though colour 5 has the smaller range
  CHECK(bestColor(0.0, 0.0) == 2);       // 1200 cents, not 2400
  CHECK(bestColor(20.0, 40.0) == 2);     // though colour 1 has 50 cents
  CHECK(bestColor(-1.0, 1.0) == 5);      // 1200 cents, not 2400 or 7200
  CHECK(bestColor(-700.0, 500.0) == 5);  // its very ends
  CHECK(bestColor(-701.0, 500.0) == 4);
  CHECK(bestColor(-1201.0, 1.0) == 6); // as wide as colour 7, and before it
  CHECK(bestColor(-6000.0, 1200.0) == 6);
  CHECK_FALSE(bestColor(-6001.0, 0.0).has_value());
  CHECK_FALSE(bestColor(0.0, 1201.0).has_value());
}

TEST_CASE("the pedal follows an interval along the same line") {
  Controls controls;
  controls.followInterval(Course::parse("--interval", "0:0,1:+7st,1:-700C,3:-3 semitones", intervalRule({})));
  CHECK(controls.foundColor() == 4);
  CHECK(controls.valueAt(kColor, 0.0).value() == 0.5625f); // row 4: 9/16
  const Course& pedal = *controls.course(kPedalPos);
  struct Row {
    double seconds, cents;
  };
  for (const Row& row : {Row{0.0, 0.0}, {0.5, 350.0}, {1.0, -700.0}, {2.0, -500.0}, {9.0, -300.0}}) {
    CAPTURE(row.seconds);
    CHECK(centsAt(4, pedal.valueAt(row.seconds)) == doctest::Approx(row.cents).epsilon(1e-12));
  }
}

TEST_CASE("a colour that drives already takes the interval, and a shape keeps its own") {
  Controls controls;
  controls.set(kColor, "5");
  controls.followInterval(Course::parse("--interval", "sine:0.5:-1st-+1st", intervalRule(5)));
  CHECK_FALSE(controls.foundColor().has_value());
  CHECK(controls.course(kPedalPos)->valueAt(0.0) == 0.5);           // 600 of 1200 cents
  CHECK(controls.course(kPedalPos)->valueAt(0.25) == 800.0 / 1200); // half a period later
}

TEST_CASE("an interval that means nothing or that no pedal reaches is told what does") {
  const auto fault = [](const char* text, std::optional<int> color) -> std::string {
    try {
      Course::parse("--interval", text, intervalRule(color));
    } catch (const Fault& refused) {
      CHECK(refused.status() == ExitStatus::wrongCall);
      return refused.what();
    }
    return "accepted";
  };
  const std::string all = "give cents (c) or semitones (st) from -6000c to +1200c, or seconds:value points";
  CHECK(fault("7", {}) == "--interval '7': a number without a unit; write 7c for cents or 7st for semitones");
  CHECK(fault("0:0,1:+7", {}) ==
        "--interval '1:+7': a number without a unit; write +7c for cents or +7st for semitones");
  for (const char* text : {"fifth", "7 steps", "st", "+-7st", "++7st", "7s t", "0x7st", "infst", ""})
    CHECK(fault(text, {}) == "--interval '" + std::string(text) + "': no such value; " + all);
  CHECK(fault("+13st", {}) == "--interval '+13st': the value is out of range; " + all);
  CHECK(fault("0:0,1:+7st", 0) ==
        "--interval '1:+7st': the value is out of range; give cents (c) or semitones "
        "(st) from -100c to 0c, or --color octave-up, which takes it");
  CHECK(fault("1200.5c", 2).find("; give cents (c) or semitones (st) from 0c to +1200c, or sec") !=
        std::string::npos);
  CHECK(fault("sine:4", 3) ==
        "--interval 'sine:4': a shape without its values; write sine:4:0--2400c for a period of 4 s");
  for (const char* text : {"0", "-0", "0c", "+7.5st", "-.5ST", "1e2c", "100 Cents"})
    CHECK(fault(text, {}) == "accepted");
}
