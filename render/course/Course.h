// The course of one parameter over the recording: a constant, or points in time.
#pragma once

#include "render/course/CourseRule.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class Course {
public:
  struct Point {
    double seconds;
    double value;
  };

  // course: at least one point, times strictly increasing. isStepped: see CourseRule::stepped.
  Course(std::vector<Point> course, bool isStepped);

  // Reads "0.8" (a constant) or "0:0,1.5:1,3:0" (seconds:value, any number of points).
  // place: where the text stands, for messages. Throws Fault naming the point that is not a finite number, is
  // outside the rule's range, or does not come after the one before it. Allocates.
  static Course parse(std::string_view text, const CourseRule& rule, TextPlace place);

  // The same for an option's text. Throws Fault (wrongCall).
  static Course parse(const std::string& option, std::string_view text, const CourseRule& rule);

  // The value at a time in seconds; before the first point the first value, after the last the last. Any
  // thread, allocates nothing.
  double valueAt(double seconds) const;

  // The one value that the course has at every time, or nothing when it moves. Any thread, allocates nothing.
  std::optional<double> constant() const;

private:
  std::vector<Point> points;
  bool stepped;
};
