// The colours as the player is told of them are the colours of the effect.
#include "render/course/Colors.h"

#include "effect/ColorTable.h"
#include "render/course/Controls.h"

#include <cmath>
#include <doctest/doctest.h>
#include <set>

namespace {

const char* mixWords(int mixMode) {
  switch (mixMode) {
  case 0:
    return "bent alone";
  case 1:
    return "bent fades into dry";
  case 2:
    return "bent, dry fades out";
  default:
    return "bent beside dry";
  }
}

} // namespace

TEST_CASE("number, range and mix are the effect's") {
  for (int number = 0; number < 8; ++number) {
    CAPTURE(number);
    const Color& color = colors()[static_cast<std::size_t>(number)];
    const ColorRange& range = colorRange(colorRow(colorParameter(number)));
    CHECK(color.number == number);
    CHECK(color.heelCents == range.centsAtHeel);
    CHECK(color.toeCents == range.centsAtToe);
    CHECK(color.mix == mixWords(range.mixMode));
  }
}

TEST_CASE("the pitch lies on the line between heel and toe") {
  CHECK(centsAt(2, 0.0) == 0.0);
  CHECK(centsAt(2, 0.25) == 300.0);
  CHECK(centsAt(3, 0.5) == -1200.0);
  CHECK(centsAt(4, 0.5) == 0.0);
  CHECK(centsAt(5, 1.0) == 500.0);
  CHECK(centsAt(6, 0.0) == -6000.0);
  CHECK(centsAt(0, 0.75) == -25.0);
}

TEST_CASE("every colour has a name of its own that means its number") {
  std::set<std::string_view> names;
  for (const Color& color : colors()) {
    names.insert(color.name);
    Controls byName, byNumber;
    byName.set(kParameterColor, std::string(color.name));
    byNumber.set(kParameterColor, std::to_string(color.number));
    CHECK(byName.valueAt(kParameterColor, 0.0) == byNumber.valueAt(kParameterColor, 0.0));
  }
  CHECK(names.size() == 8);
}

TEST_CASE("names and numbers mix in stepped points, capitals do not count") {
  Controls controls;
  controls.set(kParameterColor, "0:Octave-Up,1:3,2:five-octaves-down-with-dry");
  CHECK(controls.valueAt(kParameterColor, 0.5).value() == 0.3125f); // row 2: 5/16
  CHECK(controls.valueAt(kParameterColor, 1.0).value() == 0.4375f); // row 3: 7/16
  CHECK(controls.valueAt(kParameterColor, 2.0).value() == 0.9375f); // row 7: 15/16
}

TEST_CASE("a name that no colour has is told where the names are") {
  Controls controls;
  std::string message;
  try {
    controls.set(kParameterColor, "octave-sideways");
  } catch (const Fault& fault) {
    message = fault.what();
  }
  CHECK(message == "--color 'octave-sideways': no such value; give a colour's name (--list-colors tells "
                   "them), a whole number from 0 to 7, or seconds:value points");
}

TEST_CASE("the list tells number, name, interval at heel and toe, and mix") {
  CHECK(colorList() ==
        "colour  name                        heel            toe              mix\n"
        "0       semitone-down               semitone down   in tune          bent fades into dry\n"
        "1       quarter-tone-up             in tune         quarter tone up  bent beside dry\n"
        "2       octave-up                   in tune         octave up        bent alone\n"
        "3       two-octaves-down            in tune         2 octaves down   bent alone\n"
        "4       octave-down-to-up           octave down     octave up        bent beside dry\n"
        "5       fifth-down-to-fourth-up     fifth down      fourth up        bent beside dry\n"
        "6       five-octaves-down           5 octaves down  octave up        bent, dry fades out\n"
        "7       five-octaves-down-with-dry  5 octaves down  octave up        bent beside dry\n");
}

TEST_CASE("a player's value becomes a parameter's in one way") {
  CHECK(parameterValue(kParameterColor, 4.0) == 0.5625f); // the middle of 0.5..0.625
  CHECK(parameterValue(kParameterPedal, 0.1) == 0.1f);
  CHECK(parameterValue(kParameterTone, 0.8) == 0.8f);
  CHECK(parameterValue(kParameterOn, 1.0) == 1.0f);
  CHECK(parameterValue(kParameterMode, 0.0) == 0.0f);
}
