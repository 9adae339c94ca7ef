// The courses of the parameters: what a text means and what value it has at a time.
#include "FaultOf.h"
#include "render/course/Controls.h"
#include "render/course/Course.h"

#include <cmath>
#include <doctest/doctest.h>
#include <numbers>
#include <string>

namespace {

const CourseRule kLineRule = {0.0, 1.0, false, false, {}};
const CourseRule kStepRule = {0.0, 7.0, true, true, {{"low", 0.0}, {"high", 7.0}}};

Course line(const char* text) { return Course::parse("--pedal", text, kLineRule); }
Course steps(const char* text) { return Course::parse("--color", text, kStepRule); }

std::string courseFault(const char* text, const CourseRule& rule) {
  return faultOf(ExitStatus::wrongCall, [&] { Course::parse("--pedal", text, rule); });
}

struct Text {
  const char *text, *message; // what the fault's begins with
};

void checkCourseFaults(const std::vector<Text>& texts, const CourseRule& rule) {
  for (const Text& wrong : texts) {
    CAPTURE(wrong.text);
    CHECK(courseFault(wrong.text, rule).starts_with("--pedal '" + std::string(wrong.message)));
  }
}

// A text, and its values at some seconds: worked out by hand, and exact.
struct Row {
  const char* text;
  std::vector<std::pair<double, double>> values;
};

void checkValues(const std::vector<Row>& rows, const CourseRule& rule) {
  for (const Row& row : rows) {
    CAPTURE(row.text);
    for (const auto& point : row.values) {
      CAPTURE(point.first);
      CHECK(Course::parse("--pedal", row.text, rule).valueAt(point.first) == point.second);
    }
  }
}

} // namespace

TEST_CASE("a line joins the points, meets each exactly and holds outside them") {
  checkValues(
      {
          {"0.8", {{0.0, 0.8}, {1e9, 0.8}}},
          {"2:0.5", {{0.0, 0.5}, {9.0, 0.5}}},
          {"1:0.25,2:0.75,4:0", {{0.0, 0.25}, {1.0, 0.25}, {1.25, 0.375}, {1.5, 0.5}, {2.0, 0.75}}},
          {"1:0.25,2:0.75,4:0", {{3.0, 0.375}, {4.0, 0.0}, {1e12, 0.0}}},
          {"0.1:0.3,0.7:0.9,1.3:0.1", {{0.1, 0.3}, {0.7, 0.9}, {1.3, 0.1}}},
      },
      kLineRule);
}

TEST_CASE("a step holds until the next point and changes exactly there") {
  checkValues(
      {
          {"3", {{0.0, 3.0}, {1e9, 3.0}}},
          {"3:4,5:6", {{0.0, 4.0}}},
          {"0:1,0.1:5,2:2", {{0.0, 1.0}, {0.0999999999, 1.0}, {1.9999, 5.0}, {2.0, 2.0}, {100.0, 2.0}}},
          // The frame at 0.1 s: one rounded division gives the same 0.1.
          {"0:1,0.1:5,2:2", {{4409 / 44100.0, 1.0}, {4410 / 44100.0, 5.0}}},
      },
      kStepRule);
}

TEST_CASE("at a time of several points the value jumps from the first to the last") {
  CHECK(line("0:0,1:0.5,1:1,2:0").valueAt(std::nextafter(1.0, 0.0)) == doctest::Approx(0.5));
  checkValues(
      {
          {"0:0,1:0.5,1:1,2:0", {{0.5, 0.25}, {1.0, 1.0}, {1.5, 0.5}}},
          {"0:0,1:0.5,1:0.875,1:0.125,1:1,2:0", {{0.5, 0.25}, {1.0, 1.0}, {1.5, 0.5}}},
          {"0:0,0:1,1:1", {{0.0, 1.0}}},
          {"1:0.25,1:0.75", {{0.5, 0.25}, {1.0, 0.75}}},
      },
      kLineRule);
  checkValues({{"0:1,1:2,1:3", {{0.5, 1.0}, {1.0, 3.0}}}}, kStepRule);
}

TEST_CASE("a shape repeats its turns, the first value at 0 and after each period") {
  checkValues(
      {
          {"triangle:4", {{0.0, 0.0}, {0.5, 0.25}, {2.0, 1.0}, {3.0, 0.5}, {4.0, 0.0}, {4001.5, 0.75}}},
          {"triangle:4:0.75-0.25", {{0.0, 0.75}, {1.0, 0.5}, {2.0, 0.25}}},
          {"sine:4", {{0.0, 0.0}, {2.0, 1.0}, {4.0, 0.0}, {402.0, 1.0}}},
          {" Sine : 4 : 0 - 1 ", {{0.0, 0.0}, {2.0, 1.0}}},
          {"sine:4:0.25-0.75", {{0.0, 0.25}, {6.0, 0.75}}},
          {"sine:0.002", {{0.001, 1.0}}},
          {"steps:4", {{0.0, 0.0}, {1.999, 0.0}, {2.0, 1.0}, {3.999, 1.0}, {4.0, 0.0}}},
          {"steps:3:0.5-1e-1-1", {{0.5, 0.5}, {1.0, 0.1}, {2.5, 1.0}, {3.0, 0.5}}},
      },
      kLineRule);
}

TEST_CASE("a sine between two values is half a cosine each way") {
  const Course course = line("sine:3:0.2-0.8");
  for (int step = 0; step < 900; ++step) {
    const double seconds = step / 100.0;
    const double expected = 0.5 - 0.3 * std::cos(2.0 * std::numbers::pi * seconds / 3.0);
    CHECK(std::abs(course.valueAt(seconds) - expected) < 1e-12);
  }
}

// 0.3 s is a little less than three times 0.1 s; to the frame it is the same.
TEST_CASE("steps change at the frame that their time names, an hour long") {
  constexpr int kRateHz = 48000, kPartFrames = 4800;
  const Course course = line("steps:0.3:0-0.5-1");
  for (long long part = 0; part < 36000; ++part) {
    CAPTURE(part);
    const double expected = static_cast<double>(part % 3) / 2.0;
    REQUIRE(course.valueAt(static_cast<double>(part * kPartFrames) / kRateHz) == expected);
    REQUIRE(course.valueAt(static_cast<double>((part + 1) * kPartFrames - 1) / kRateHz) == expected);
  }
}

TEST_CASE("texts that are no shape say why") {
  for (const std::string text : {"sine", "sine:", "sine:x", "sine:0", "sine:-1", "sine:nan", "sine::0-1"})
    CHECK(courseFault(text.c_str(), kLineRule) ==
          "--pedal '" + text +
              "': the shape's period is not a number of seconds; write sine:4:0-1 for a "
              "period of 4 s");
  checkCourseFaults({{"square:4", "square:4': no such shape; there are triangle, sine and steps"},
                     {"sine:4:0.5", "sine:4:0.5': the shape goes between two values; "},
                     {"triangle:4:0-1-0", "triangle:4:0-1-0': the shape goes between two values; "},
                     {"steps:4:1", "steps:4:1': fewer than two steps; "},
                     {"sine:4:0-1.5", "sine:4:0-1.5': the value is out of range; "},
                     {"sine:4:0,1", "sine:4:0,1': no such value; "},
                     {"sine:4:0-1:2", "sine:4:0-1:2': no such value; "},
                     {"steps:4:0-", "steps:4:0-': no such value; "},
                     {"sine:0.0019", "sine:0.0019': a part of the period is shorter than a milli"}},
                    kLineRule);
  checkCourseFaults({{"sine:4", "sine:4': the time is not "}}, kStepRule);
}

TEST_CASE("spaces, exponents and words are read, and a negative zero is a zero") {
  checkValues({{" 0 : 0.5 , 1 : 1 ", {{0.5, 0.75}}}, {"1e-1", {{0.0, 0.1}}}, {"0:0,1e3:1", {{500.0, 0.5}}}},
              kLineRule);
  checkValues({{"0:low,1:HIGH", {{0.5, 0.0}, {1.5, 7.0}}}}, kStepRule);
  CHECK(1.0 / line("-0").valueAt(0.0) > 0.0);
}

TEST_CASE("texts that are no course name the point that is wrong") {
  checkCourseFaults({{"", "': no such value; give "},
                     {"half", "half': no such value; give "},
                     {"0.5x", "0.5x': no such value; give "},
                     {"nan", "nan': no such value; give "},
                     {"inf", "inf': no such value; give "},
                     {"1.01", "1.01': the value is out of range; give "},
                     {"-0.1", "-0.1': the value is out of range; give "},
                     {"0:0,1:2", "1:2': the value is out of range; give "},
                     {"0:0,nan:1", "nan:1': the time is not "},
                     {"0:0,inf:1", "inf:1': the time is not "},
                     {"-1:0,0:1", "-1:0': the time is not "},
                     {"2:0,1:1", "1:1': the time lies before that of the point before "},
                     {"0:0,0.5", "0.5': a point without a time; "},
                     {"0:0,", "': a point without a time; "},
                     {"0,5", "0': a point without a time; "},
                     {"0:", "0:': no such value; "},
                     {"0:0:0", "0:0:0': no such value; "}},
                    kLineRule);
  checkCourseFaults({{"2.5", "2.5': not a whole number; give "},
                     {"8", "8': the value is out of range; give "},
                     {"lower", "lower': no such value; give low, high, "}},
                    kStepRule);
}

TEST_CASE("each parameter has its values, in lines or in steps") {
  const auto check = [](Parameter parameter, const char* text, double seconds, float value) {
    CAPTURE(parameter);
    CAPTURE(text);
    Controls controls;
    controls.set(parameter, text);
    CHECK(controls.valueAt(parameter, seconds).value() == value);
  };
  for (int row = 0; row < 8; ++row) // a colour's number selects the middle of its eighth
    check(kColor, std::to_string(row).c_str(), 0.0, static_cast<float>(2 * row + 1) / 16.0f);
  check(kColor, "0:0,2:7", 1.0, 0.0625f);
  for (const auto& [seconds, value] : {std::pair{0.0, 0.0f}, {1.5, 1.0f}, {2.5, 0.0f}, {3.5, 1.0f}})
    check(kOnOff, "0:off,1:on,2:0,3:1", seconds, value);
  check(kMode, "Bass", 0.0, 1.0f);
  check(kMode, "guitar", 0.0, 0.0f);
  check(kMode, "0:0,2:1", 1.0, 0.0f);
  check(kTone, "0:0,2:1", 1.0, 0.5f);
  check(kPedalPos, "0:0,2:1", 1.0, 0.5f);
}

TEST_CASE("a course is constant when all its points have one value") {
  CHECK(line("0.8").constant().value() == 0.8);
  CHECK(line("0:0.5,2:0.5").constant().value() == 0.5);
  CHECK_FALSE(line("0:0.5,2:0.6").constant().has_value());
  CHECK(steps("0:low,1:0").constant().value() == 0.0);
  CHECK(line("sine:4:0.5-0.5").constant().value() == 0.5);
  CHECK_FALSE(line("sine:4").constant().has_value());
}

TEST_CASE("a course set over another takes its place") {
  Controls controls;
  controls.set(kPedalPos, "0.25");
  CHECK(controls.course(kTone) == nullptr);
  CHECK_FALSE(controls.valueAt(kTone, 0.0).has_value());
  controls.set(kPedalPos, Course({{0.0, 0.0}, {1.0, 1.0}}, false));
  CHECK(controls.valueAt(kPedalPos, 0.5).value() == 0.5f);
  CHECK(controls.course(kPedalPos)->valueAt(0.75) == 0.75);
}
