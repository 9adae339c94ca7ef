// Courses from lines of time and value: what is read, and what each wrong line is told.
#include "FaultOf.h"
#include "render/course/Controls.h"
#include "render/course/CsvCourse.h"
#include "render/course/CsvFields.h"
#include "render/course/Intervals.h"

#include <cmath>
#include <doctest/doctest.h>
#include <string>

namespace {

const CourseRule& pedalRule() { return courseRule(kPedalPos); }

Course csv(const std::string& text) { return readCsvCourse("--pedal 'take.csv'", text, pedalRule()); }

std::string csvFault(const std::string& text) {
  return faultOf(ExitStatus::couldNot, [&] { csv(text); });
}

// A text, and a part of what its fault says behind "--pedal 'take.csv': ".
struct WrongCsv {
  std::string text, message;
};

void checkCsvFaults(const std::vector<WrongCsv>& texts) {
  for (const WrongCsv& wrong : texts) {
    CAPTURE(wrong.text);
    CHECK(csvFault(wrong.text).starts_with("--pedal 'take.csv': " + wrong.message));
  }
}

} // namespace

TEST_CASE("a wrong line is named with its number, its text and what would be right") {
  const std::string pair = "': not a time and a value; write seconds",
                    time = "': the time is not a number of seconds "
                           "from 0 on; write seconds,value, such as 1.5,1";
  checkCsvFaults({
      {"0,0\n1;1\n", "line 2 '1;1" + pair + ",value, such as 1.5,1"},
      {"0;0\n1\n", "line 2 '1" + pair + ";value, such as 1.5;1"},
      {"0.5\n", "line 1 '0.5" + pair},
      {",1\n", "line 1 ',1" + pair},
      {"# one\n\n0,0\n1,1.5\n",
       "line 4 '1,1.5': the value is out of range; give a number from 0 to 1, or tell the "
       "scale in a header, such as time,value % or time,value 0-127"},
      {"0,-0.1\n", "line 1 '0,-0.1': the value is out of range; give a number from 0 to 1"},
      {"0,\n", "line 1 '0,': no such value; give a number from 0 to 1"},
      {"0,nan\n", "line 1 '0,nan': no such value; give a number from 0 to 1"},
      {"0,0.5 s\n", "line 1 '0,0.5 s': no such value; give a number from 0 to 1"},
      {"0,0\r\n-1,0\r\n", "line 2 '-1,0" + time},
      {"0,0\ninf,1\n", "line 2 'inf,1" + time},
      {"0,0\n2,1\n1.5,0\n",
       "line 3 '1.5,0': the time lies before that of the point before it, 2 s; give the points "
       "in the order of their times"},
      // Only the first line with content may be a header.
      {"time,value\ntime,value\n0,0\n", "line 2 'time,value': the time is not "},
      {"0,0\ntime,value\n", "line 2 'time,value': "},
      {"time,0.5\n", "line 1 'time,0.5': "},
      // A long or strange line makes a short message of one line.
      {"0,0\n" + std::string(100000, 'x') + "\n", "line 2 '" + std::string(40, 'x') + "...': not "},
      {"0,0\n" + std::string(39, 'x') + "ü and more\n", "line 2 '" + std::string(39, 'x') + "...': not "},
      {"0,\x01\n", "line 1 '0,?': "},
  });
  for (const char* text : {"", "\n\n", "# nothing\n", "time,value\n"})
    CHECK(csvFault(text) == "--pedal 'take.csv': holds no points; write lines seconds,value");
  CHECK(csvFault("0,0\n" + std::string(100000, 'x') + "\n").size() < 200);
}

TEST_CASE("people, sheets and sequencers write the same course in many ways") {
  CHECK(csv("2,0.25").valueAt(0.0) == 0.25); // a single line holds at every time
  CHECK(csv("2,0.25").valueAt(100.0) == 0.25);
  const auto expected = Course::parse("--pedal", "0:0,1.5:0.5,1.5:1,90.25:0.25", pedalRule());
  for (const char* text : {
           "0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n",
           "0,0\n1.5,0.5\n1.5,1\n90.25,0.25",
           "0,0\r\n1.5,0.5\r\n1.5,1\r\n90.25,0.25\r\n",
           "\"seconds\",\"pedal\"\n0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n",
           "# a take, with, commas\n\n \t\ntime , value # header\n0,0 # "
           "heel\n#\n1.5,.5\n\n1.5,1\n90.25,0.25\n\n",
           "\xEF\xBB\xBF" // a byte order mark
           "Time,Value\n0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n",
           "\xEF\xBB\xBF"
           "0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n",
           " 0\t,\t0 \n1.5 , 0.5\n1.5,1\n  90.25,25e-2\n",
           "0,0,\n1.5,0.5,\n,,\n1.5,1,\n90.25,0.25,\n", // a third column without content
           "0;0\n1.5;0.5\n1.5;1\n90.25;0.25\n",         // semicolons
           "0;0\n1,5;0,5\n1,5;1\n90,25;0,25\n",         // with decimal commas
           "0\t0\n1.5\t0.5\n1.5\t1\n90.25\t0.25\n",     // tabs
           "0\t0\n1,5\t0,5\n1,5\t1\n90,25\t0,25\n",     // with decimal commas
           "\"0\",\"0\"\n\"1.5\",\"0.5\"\n\"1.5\",\"1\"\n\"90.25\",\"0.25\"\n", // quotes
           "sep=;\n\"0\";\"0\"\n\"1,5\";\"0,5\"\n1,5;1\n90,25;0,25\n",
           "0:00,0\n0:01.5,0.5\n00:00:01.500,1\n1:30.25,0.25\n", // times of the clock
           "00:00:00;0\n00:01,5;0,5\n00:00:01,500;1\n0:01:30,25;0,25\n",
           "0,0%\n1.5,50 %\n1.5,100%\n90.25,25%\n",          // percent at the values
           "time,value %\n0,0\n1.5,50\n1.5,100\n90.25,25\n", // or in the header
           "Time;Value (percent)\n0;0\n1,5;50\n1,5;100\n90,25;25\n",
           "time,value 0..100\n0,0\n1.5,50\n1.5,100\n90.25,25\n",
           "Pedal (0-128),Seconds\n0,0\n64,1.5\n128,1.5\n32,90.25\n", // columns the other way round
           "PEDAL,T\n0,0\n0.5,1.5\n1,1.5\n0.25,90.25\n",
           "value,when\n0,0\n0.5,1.5\n1,1.5\n0.25,90.25\n", // one name is enough
           "Zeit;Wert\n0;0\n1,5;0,5\n1,5;1\n90,25;0,25\n",  // or none
           "amount,seconds\n0,0\n0.5,1.5\n1,1.5\n0.25,90.25\n",
           "time,value 2\n0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n", // a number that tells no scale
           "time,position\n0,0\n1.5,0.5\n1.5,1\n90.25,0.25\n",
           "position,tone,pedal\n0,9,0\n1.5,9,0.5\n1.5,9,1\n90.25,9,0.25\n",
           ",time,note,value\n0,0,a,0\n1,1.5,\"b, \"\"#\"\"; c\",0.5\n2,1.5,,1\n3,90.25,C#4,0.25\n",
           "Frame,Time (ms),Value\n0,0,0\n1,1500,0.5\n2,1500,1\n3,90250,0.25\n",
           "value;time\n0;0 # heel; or\n0,5;1,5\n1;1,5\n0,25;90,25\n",
           "note\ttime\tvalue\nx\t0\t0\ny\t1.5\t0.5\n\"\"\t1.5\t1\nz\t1:30.25\t0.25\n",
       }) {
    CAPTURE(text);
    const Course course = csv(text);
    for (double seconds : {0.0, 0.75, 1.25, 1.5, 30.0, 90.0, 90.25, 100.0}) {
      CAPTURE(seconds);
      CHECK(course.valueAt(seconds) == expected.valueAt(seconds));
    }
  }
}

TEST_CASE("a field in quotes holds what would end it elsewhere") {
  const TextPlace place = {ExitStatus::couldNot, "a file", 1, "the line", ';', {}};
  using Fields = std::vector<std::string>;
  CHECK(csvFields(" a b ;\" c;#\"\"d\"\" \";;C#4 #e;f", ';', place) == Fields{"a b", "c;#\"d\"", "", "C#4"});
  CHECK(csvFields("\"a\"\t \t\"\"", '\t', place) == Fields{"a", "", ""});
  CHECK(csvFields("\"\";; # a;b", ';', place) == Fields{});
}

TEST_CASE("a controller's 127 is 1, and times of the clock are the numbers that seconds are") {
  CHECK(csv("time,value 0-127\n0,127\n").valueAt(0.0) == 1.0);
  CHECK(csv("time,cc11 (0..127)\n0,64\n").valueAt(0.0) == 64.0 / 127.0);
  // 61.029 is not the rounded sum of 60 and 1.029; a step shows the place.
  const auto stepAt = [](const std::string& time) {
    return readCsvCourse("--on 'take.csv'", "0,0\n" + time + ",1\n", courseRule(kOnOff));
  };
  CHECK(stepAt("1:01.029").valueAt(61.029) == 1.0);
  CHECK(stepAt("1:01.029").valueAt(std::nextafter(61.029, 0.0)) == 0.0);
  CHECK(stepAt("2:01:05.3").valueAt(7265.3) == 1.0);
  CHECK(stepAt("2:01:05.3").valueAt(std::nextafter(7265.3, 0.0)) == 0.0);
}

TEST_CASE("intervals have their unit at each value or in the header") {
  const auto intervals = [](const std::string& text) {
    return readCsvCourse("--interval 'take.csv'", text, intervalRule({}));
  };
  for (const char* text : {
           "0,0\n1,+7st\n2,-200c\n",
           "0;0\n1;7,0 st\n2;-200c\n",
           "time,interval (st)\n0,0\n1,+7\n2,-2\n",
           "cents,time\n0,0\n700,1\n-200,2\n",
           "time,Semitones\n0,0\n1,7\n2,-200 cents\n",
       }) {
    CAPTURE(text);
    CHECK(intervals(text).valueAt(0.5) == 350.0);
    CHECK(intervals(text).valueAt(1.5) == 250.0);
    CHECK(intervals(text).valueAt(3.0) == -200.0);
  }
  const auto fault = [&](const std::string& text) -> std::string {
    try {
      intervals(text);
    } catch (const Fault& refused) {
      return refused.what();
    }
    return "accepted";
  };
  CHECK(fault("time,interval\n0,7\n") ==
        "--interval 'take.csv': line 2 '0,7': a number without a unit; write "
        "7c for cents or 7st for semitones");
  CHECK(fault("0,50%\n").find(": line 1 '0,50%': no such value; ") != std::string::npos);
  CHECK(fault("time,interval\n0,+13st\n").find(": line 2 '0,+13st': the value is out of range; ") !=
        std::string::npos);
}

TEST_CASE("what cannot be understood is not guessed at") {
  const std::string named =
      "': more columns than are named; name the columns in the first line, such as time";
  const std::string noTime = "': the time is not a number of seconds from 0 on; ";
  std::vector<WrongCsv> texts = {
      {"0,0\n1,1,1\n", "line 2 '1,1,1" + named +
                           ",value,note; where the comma is the decimal point, separate them "
                           "with ;"},
      {"time,value\n0,5,0,75\n", "line 2 '0,5,0,75" + named},
      {"0;0;0\n", "line 1 '0;0;0" + named + ";value;note"},
      {"\"0,5\",\"0,75\"\n", "line 1 '\"0,5\",\"0,75\"" + noTime},
      {"time,value\n0,64\n", "line 2 '0,64': the value is out of range; "},
      {"time,value %\n0,101\n", "line 2 '0,101': the value is out of range; give a number from 0 to 1"},
      {"time,x,y\n0,0,0\n", "line 1 'time,x,y': no column is named pedal; name one pedal"},
      {"x,y,pedal\n0,0,0\n", "line 1 'x,y,pedal': no column is named time; name one time"},
      {"time,time,pedal\n0,0,0\n",
       "line 1 'time,time,pedal': two columns named 'time'; give them different names"},
      {"0,\"0\n1,1\"\n",
       "line 1 '0,\"0': a quote that is not closed in this line; close it, or take line breaks out "
       "of it"},
      {"0,\"0\" 1\n", "line 1 '0,\"0\" 1': text behind a closed quote; "},
      {"0,%\n", "line 1 '0,%': no such value; "},
      {"0;1,0,0\n", "line 1 '0;1,0,0': no such value; "},
      {"0;1.0,0\n", "line 1 '0;1.0,0': no such value; "},
  };
  for (const std::string header : {"samples,value", "time (beats),value", "Frame;Value", "minutes,value"})
    texts.push_back({header + "\n0,0\n", "line 1 '" + header +
                                             "': times that are no seconds; convert them to "
                                             "seconds, or h:mm:ss"});
  for (const std::string time :
       {"1:60", "1:60:00", "1:-1", ":30", "1:", "1:30.x", "1:2:3:4", "1e1:00", "99999999:00"})
    texts.push_back({time + ",0\n", "line 1 '" + time +
                                        ",0': not a time of the clock; write seconds, mm:ss or "
                                        "h:mm:ss.mmm"});
  checkCsvFaults(texts);
}
