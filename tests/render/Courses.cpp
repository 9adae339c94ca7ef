// The courses of the parameters: what a text means and what value it has at a time.
#include "render/course/Controls.h"
#include "render/course/Course.h"
#include "render/text/Fault.h"

#include <cmath>
#include <doctest/doctest.h>
#include <numbers>
#include <string>

namespace {

const CourseRule kLine = {0.0, 1.0, false, false, {}};
const CourseRule kSteps = {0.0, 7.0, true, true, {{"low", 0.0}, {"high", 7.0}}};

Course line(const char* text) { return Course::parse("--pedal", text, kLine); }
Course steps(const char* text) { return Course::parse("--color", text, kSteps); }

std::string faultOf(const char* text, const CourseRule& rule) {
  try {
    Course::parse("--pedal", text, rule);
  } catch (const Fault& fault) {
    CHECK(fault.status() == ExitStatus::wrongCall);
    return fault.what();
  }
  return "accepted";
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

} // namespace

TEST_CASE("a constant has its value at every time") {
  for (double seconds : {0.0, 0.5, 1e9}) {
    CHECK(line("0.8").valueAt(seconds) == 0.8);
    CHECK(steps("3").valueAt(seconds) == 3.0);
  }
}

TEST_CASE("a line joins the points and holds outside them") {
  const Course course = line("1:0.25,2:0.75,4:0");
  CHECK(course.valueAt(0.0) == 0.25);
  CHECK(course.valueAt(1.0) == 0.25);
  CHECK(course.valueAt(1.5) == 0.5); // half way: every number here is a power of two's multiple, so exact
  CHECK(course.valueAt(1.25) == 0.375);
  CHECK(course.valueAt(2.0) == 0.75);
  CHECK(course.valueAt(3.0) == 0.375);
  CHECK(course.valueAt(4.0) == 0.0);
  CHECK(course.valueAt(1e12) == 0.0);
}

TEST_CASE("a line's points are met exactly whatever their times") {
  const Course course = line("0.1:0.3,0.7:0.9,1.3:0.1");
  CHECK(course.valueAt(0.1) == 0.3);
  CHECK(course.valueAt(0.7) == 0.9);
  CHECK(course.valueAt(1.3) == 0.1);
}

TEST_CASE("a step holds until the next point and changes exactly there") {
  const Course course = steps("0:1,0.1:5,2:2");
  CHECK(course.valueAt(0.0) == 1.0);
  CHECK(course.valueAt(0.0999999999) == 1.0);
  CHECK(course.valueAt(4410 / 44100.0) == 5.0); // the frame at 0.1 s: one rounded division gives the same 0.1
  CHECK(course.valueAt(4409 / 44100.0) == 1.0);
  CHECK(course.valueAt(1.9999) == 5.0);
  CHECK(course.valueAt(2.0) == 2.0);
  CHECK(course.valueAt(100.0) == 2.0);
}

TEST_CASE("at a time of two points the value jumps from the one to the other") {
  const Course course = line("0:0,1:0.5,1:1,2:0");
  CHECK(course.valueAt(0.5) == 0.25);
  CHECK(course.valueAt(std::nextafter(1.0, 0.0)) == doctest::Approx(0.5));
  CHECK(course.valueAt(1.0) == 1.0);
  CHECK(course.valueAt(1.5) == 0.5);
  CHECK(line("0:0,0:1,1:1").valueAt(0.0) == 1.0);
  CHECK(line("1:0.25,1:0.75").valueAt(0.5) == 0.25);
  CHECK(line("1:0.25,1:0.75").valueAt(1.0) == 0.75);
}

TEST_CASE("of more points at one time the first and the last count") {
  const Course course = line("0:0,1:0.5,1:0.875,1:0.125,1:1,2:0");
  CHECK(course.valueAt(0.5) == 0.25);
  CHECK(course.valueAt(1.0) == 1.0);
  CHECK(course.valueAt(1.5) == 0.5);
}

TEST_CASE("of several steps at one time the last counts") {
  CHECK(steps("0:1,1:2,1:3").valueAt(0.5) == 1.0);
  CHECK(steps("0:1,1:2,1:3").valueAt(1.0) == 3.0);
}

TEST_CASE("a shape repeats its turns, the first value at 0 and after each period") {
  struct Row {
    const char* text;
    double seconds, value; // worked out by hand
  };
  for (const Row& row : {
           Row{"triangle:4", 0.0, 0.0},
           {"triangle:4", 0.5, 0.25},
           {"triangle:4", 2.0, 1.0},
           {"triangle:4", 3.0, 0.5},
           {"triangle:4", 4.0, 0.0},
           {"triangle:4", 4001.5, 0.75},
           {"triangle:4:0.75-0.25", 0.0, 0.75},
           {"triangle:4:0.75-0.25", 1.0, 0.5},
           {"triangle:4:0.75-0.25", 2.0, 0.25},
           {" Sine : 4 : 0 - 1 ", 0.0, 0.0},
           {"sine:4", 2.0, 1.0},
           {"sine:4", 4.0, 0.0},
           {"sine:4", 402.0, 1.0},
           {"sine:4:0.25-0.75", 0.0, 0.25},
           {"sine:4:0.25-0.75", 6.0, 0.75},
           {"steps:4", 0.0, 0.0},
           {"steps:4", 1.999, 0.0},
           {"steps:4", 2.0, 1.0},
           {"steps:4", 3.999, 1.0},
           {"steps:4", 4.0, 0.0},
           {"steps:3:0.5-1e-1-1", 0.5, 0.5},
           {"steps:3:0.5-1e-1-1", 1.0, 0.1},
           {"steps:3:0.5-1e-1-1", 2.5, 1.0},
           {"steps:3:0.5-1e-1-1", 3.0, 0.5},
       }) {
    CAPTURE(row.text);
    CAPTURE(row.seconds);
    CHECK(line(row.text).valueAt(row.seconds) == row.value);
  }
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
  const auto fault = [](const char* text) { return faultOf(text, kLine); };
  const std::string period =
      ": the shape's period is not a number of seconds; write sine:4:0-1 for a period of 4 s";
  for (const char* text : {"sine", "sine:", "sine:x", "sine:0", "sine:-1", "sine:nan", "sine::0-1"})
    CHECK(fault(text) == "--pedal '" + std::string(text) + "'" + period);
  CHECK(
      startsWith(fault("square:4"), "--pedal 'square:4': no such shape; there are triangle, sine and steps"));
  CHECK(startsWith(fault("sine:4:0.5"), "--pedal 'sine:4:0.5': the shape goes between two values; "));
  CHECK(startsWith(fault("triangle:4:0-1-0"),
                   "--pedal 'triangle:4:0-1-0': the shape goes between two values; "));
  CHECK(startsWith(fault("steps:4:1"), "--pedal 'steps:4:1': fewer than two steps; "));
  CHECK(startsWith(fault("sine:4:0-1.5"), "--pedal 'sine:4:0-1.5': the value is out of range; "));
  CHECK(startsWith(fault("sine:4:0,1"), "--pedal 'sine:4:0,1': no such value; "));
  CHECK(startsWith(fault("sine:4:0-1:2"), "--pedal 'sine:4:0-1:2': no such value; "));
  CHECK(startsWith(fault("steps:4:0-"), "--pedal 'steps:4:0-': no such value; "));
  CHECK(startsWith(fault("sine:0.0019"),
                   "--pedal 'sine:0.0019': a part of the period is shorter than a milli"));
  CHECK(line("sine:0.002").valueAt(0.001) == 1.0);
  CHECK(startsWith(faultOf("sine:4", kSteps), "--pedal 'sine:4': the time is not "));
}

TEST_CASE("a step before its first point has the first value") {
  CHECK(steps("3:4,5:6").valueAt(0.0) == 4.0);
}

TEST_CASE("one point is a constant") {
  CHECK(line("2:0.5").valueAt(0.0) == 0.5);
  CHECK(line("2:0.5").valueAt(9.0) == 0.5);
}

TEST_CASE("spaces, exponents and words are read") {
  CHECK(line(" 0 : 0.5 , 1 : 1 ").valueAt(0.5) == 0.75);
  CHECK(line("1e-1").valueAt(0.0) == 0.1);
  CHECK(line("0:0,1e3:1").valueAt(500.0) == 0.5);
  CHECK(steps("0:low,1:HIGH").valueAt(0.5) == 0.0);
  CHECK(steps("0:low,1:HIGH").valueAt(1.5) == 7.0);
}

TEST_CASE("a negative zero is a zero") { CHECK(1.0 / line("-0").valueAt(0.0) > 0.0); }

TEST_CASE("texts that are no course name the point that is wrong") {
  CHECK(startsWith(faultOf("", kLine), "--pedal '': no such value; give "));
  CHECK(startsWith(faultOf("half", kLine), "--pedal 'half': no such value; give "));
  CHECK(startsWith(faultOf("0.5x", kLine), "--pedal '0.5x': no such value; give "));
  CHECK(startsWith(faultOf("nan", kLine), "--pedal 'nan': no such value; give "));
  CHECK(startsWith(faultOf("inf", kLine), "--pedal 'inf': no such value; give "));
  CHECK(startsWith(faultOf("1.01", kLine), "--pedal '1.01': the value is out of range; give "));
  CHECK(startsWith(faultOf("-0.1", kLine), "--pedal '-0.1': the value is out of range; give "));
  CHECK(startsWith(faultOf("0:0,1:2", kLine), "--pedal '1:2': the value is out of range; give "));
  CHECK(startsWith(faultOf("0:0,nan:1", kLine), "--pedal 'nan:1': the time is not "));
  CHECK(startsWith(faultOf("0:0,inf:1", kLine), "--pedal 'inf:1': the time is not "));
  CHECK(startsWith(faultOf("-1:0,0:1", kLine), "--pedal '-1:0': the time is not "));
  CHECK(
      startsWith(faultOf("2:0,1:1", kLine), "--pedal '1:1': the time lies before that of the point before "));
  CHECK(startsWith(faultOf("0:0,0.5", kLine), "--pedal '0.5': a point without a time; "));
  CHECK(startsWith(faultOf("0:0,", kLine), "--pedal '': a point without a time; "));
  CHECK(startsWith(faultOf("0,5", kLine), "--pedal '0': a point without a time; "));
  CHECK(startsWith(faultOf("0:", kLine), "--pedal '0:': no such value; "));
  CHECK(startsWith(faultOf("0:0:0", kLine), "--pedal '0:0:0': no such value; "));
  CHECK(startsWith(faultOf("2.5", kSteps), "--pedal '2.5': not a whole number; give "));
  CHECK(startsWith(faultOf("8", kSteps), "--pedal '8': the value is out of range; give "));
  CHECK(startsWith(faultOf("lower", kSteps), "--pedal 'lower': no such value; give low, high, "));
}

TEST_CASE("a colour's number selects the middle of its eighth") {
  // (row + 0.5) / 8 in sixteenths: 1/16, 3/16, ... 15/16, all exact in single precision.
  const float expected[] = {0.0625f, 0.1875f, 0.3125f, 0.4375f, 0.5625f, 0.6875f, 0.8125f, 0.9375f};
  for (int row = 0; row < 8; ++row) {
    Controls controls;
    controls.set(kColor, std::to_string(row));
    CHECK(controls.valueAt(kColor, 0.0).value() == expected[row]);
  }
}

TEST_CASE("switches have the values 0 and 1") {
  Controls controls;
  controls.set(kOnOff, "0:off,1:on,2:0,3:1");
  CHECK(controls.valueAt(kOnOff, 0.0).value() == 0.0f);
  CHECK(controls.valueAt(kOnOff, 1.5).value() == 1.0f);
  CHECK(controls.valueAt(kOnOff, 2.5).value() == 0.0f);
  CHECK(controls.valueAt(kOnOff, 3.5).value() == 1.0f);
  controls.set(kMode, "Bass");
  CHECK(controls.valueAt(kMode, 0.0).value() == 1.0f);
  controls.set(kMode, "guitar");
  CHECK(controls.valueAt(kMode, 0.0).value() == 0.0f);
}

TEST_CASE("the tone and the pedal move in lines, colour and switches in steps") {
  Controls controls;
  for (Parameter index : {kTone, kPedalPos, kOnOff, kMode})
    controls.set(index, "0:0,2:1");
  controls.set(kColor, "0:0,2:7");
  CHECK(controls.valueAt(kTone, 1.0).value() == 0.5f);
  CHECK(controls.valueAt(kPedalPos, 1.0).value() == 0.5f);
  CHECK(controls.valueAt(kOnOff, 1.0).value() == 0.0f);
  CHECK(controls.valueAt(kMode, 1.0).value() == 0.0f);
  CHECK(controls.valueAt(kColor, 1.0).value() == 0.0625f);
}

TEST_CASE("a parameter without an option has no value") {
  Controls controls;
  controls.set(kTone, "0.5");
  CHECK_FALSE(controls.valueAt(kPedalPos, 0.0).has_value());
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
  controls.set(kPedalPos, Course({{0.0, 0.0}, {1.0, 1.0}}, false));
  CHECK(controls.valueAt(kPedalPos, 0.5).value() == 0.5f);
  CHECK(controls.course(kPedalPos)->valueAt(0.75) == 0.75);
}
