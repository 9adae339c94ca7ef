// Courses from lines of time and value: what is read, and what each wrong line is told.
#include "render/course/Controls.h"
#include "render/course/CsvCourse.h"

#include <doctest/doctest.h>
#include <string>

namespace {

const CourseRule& pedalRule() { return courseRule(kParameterPedal); }

Course csv(const std::string& text) { return readCsvCourse("--pedal 'take.csv'", text, pedalRule()); }

std::string faultOf(const std::string& text) {
  try {
    csv(text);
  } catch (const Fault& fault) {
    CHECK(fault.status() == ExitStatus::couldNot);
    return fault.what();
  }
  return "accepted";
}

// The same course at many times, the points' own among them.
void checkSame(const Course& left, const Course& right) {
  for (int step = 0; step <= 500; ++step) {
    const double seconds = step / 100.0;
    CAPTURE(seconds);
    CHECK(left.valueAt(seconds) == right.valueAt(seconds));
  }
}

const char* const kBreakpoints = "0.1:0,1.5:1,3:0.2";

} // namespace

TEST_CASE("a file of lines is the course of the same points in an option") {
  checkSame(csv("0.1,0\n1.5,1\n3,0.2\n"), Course::parse("--pedal", kBreakpoints, pedalRule()));
}

TEST_CASE("comments, a header, blank lines, blanks, a byte order mark and other line ends change nothing") {
  const auto breakpoints = Course::parse("--pedal", kBreakpoints, pedalRule());
  for (const char* text : {
           "0.1,0\n1.5,1\n3,0.2",
           "0.1,0\r\n1.5,1\r\n3,0.2\r\n",
           "time,value\n0.1,0\n1.5,1\n3,0.2\n",
           "\"seconds\",\"pedal\"\n0.1,0\n1.5,1\n3,0.2\n",
           "# a take, with, commas\n\n \t\ntime , value # header\n0.1,0 # heel\n#\n1.5,1\n\n3,0.2\n\n",
           "\xEF\xBB\xBF"
           "Time,Value\n0.1,0\n1.5,1\n3,0.2\n",
           "\xEF\xBB\xBF"
           "0.1,0\n1.5,1\n3,0.2\n",
           " 0.1\t,\t0 \n1.5 , 1\n  3,2e-1\n",
       }) {
    CAPTURE(text);
    checkSame(csv(text), breakpoints);
  }
}

TEST_CASE("a single line holds at every time") {
  CHECK(csv("2,0.25").valueAt(0.0) == 0.25);
  CHECK(csv("2,0.25").valueAt(100.0) == 0.25);
}

TEST_CASE("a wrong line is named with its number, its text and what would be right") {
  const std::string line = "--pedal 'take.csv': line ";
  CHECK(faultOf("0,0\n1;1\n") ==
        line + "2 '1;1': not a time and a value; write seconds,value, such as 1.5,1");
  CHECK(faultOf("0,0\n1,1,1\n") ==
        line + "2 '1,1,1': not a time and a value; write seconds,value, such as 1.5,1");
  CHECK(faultOf("0.5\n") == line + "1 '0.5': not a time and a value; write seconds,value, such as 1.5,1");
  CHECK(faultOf(",1\n") == line + "1 ',1': not a time and a value; write seconds,value, such as 1.5,1");
  CHECK(faultOf("# one\n\n0,0\n1,1.5\n") ==
        line + "4 '1,1.5': the value is out of range; give a number from 0 to 1");
  CHECK(faultOf("0,-0.1\n") == line + "1 '0,-0.1': the value is out of range; give a number from 0 to 1");
  CHECK(faultOf("0,\n") == line + "1 '0,': no such value; give a number from 0 to 1");
  CHECK(faultOf("0,nan\n") == line + "1 '0,nan': no such value; give a number from 0 to 1");
  CHECK(faultOf("0,0.5 s\n") == line + "1 '0,0.5 s': no such value; give a number from 0 to 1");
  CHECK(faultOf("0,0\r\n-1,0\r\n") ==
        line + "2 '-1,0': the time is not a number of seconds from 0 on; write seconds,value, such as 1.5,1");
  CHECK(faultOf("0,0\ninf,1\n") ==
        line +
            "2 'inf,1': the time is not a number of seconds from 0 on; write seconds,value, such as 1.5,1");
  CHECK(faultOf("0,0\n2,1\n1.5,0\n") == line + "3 '1.5,0': the time does not come after the point before "
                                               "it, at 2 s; give the points in the order of their times");
  CHECK(faultOf("0,0\n0,1\n") == line + "2 '0,1': the time does not come after the point before it, at 0 "
                                        "s; give the points in the order of their times");
}

TEST_CASE("only the first line with content may be a header") {
  CHECK(faultOf("time,value\ntime,value\n0,0\n").find(": line 2 'time,value': the time is not ") !=
        std::string::npos);
  CHECK(faultOf("0,0\ntime,value\n").find(": line 2 'time,value': ") != std::string::npos);
  CHECK(faultOf("time,0.5\n").find(": line 1 'time,0.5': ") != std::string::npos);
}

TEST_CASE("a text without points says so") {
  for (const char* text : {"", "\n\n", "# nothing\n", "time,value\n"})
    CHECK(faultOf(text) == "--pedal 'take.csv': holds no points; write lines seconds,value");
}

TEST_CASE("a long or strange line makes a short message of one line") {
  const std::string fault = faultOf("0,0\n" + std::string(100000, 'x') + "\n");
  CHECK(fault.find(": line 2 '" + std::string(40, 'x') + "...': ") != std::string::npos);
  CHECK(fault.size() < 200);
  CHECK(faultOf("0,\x01\n").find("'0,?'") != std::string::npos);
}
