// The course of one parameter over the recording: a constant, points in time, or a shape that repeats.
#pragma once

#include "render/course/CourseRule.h"

#include <functional>
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

  // course: at least one point, times never decreasing. Where several points have one time, the value jumps
  // there from the first one's to the last one's. isStepped: see CourseRule::stepped.
  Course(std::vector<Point> course, bool isStepped);

  // Reads "0.8" (a constant), "0:0,1.5:1,3:0" (seconds:value, any number of points), or, unless the rule is
  // stepped, a shape that repeats until the recording ends, "SHAPE:PERIOD:VALUE-VALUE":
  //   triangle:4:0.2-0.8  a straight line from the first value at 0 s to the second at 2 s, and back at 4 s
  //   sine:4:0.2-0.8      the same turning points, by a cosine between them, so that it starts and turns
  //   softly steps:4:0-0.5-1     each value for its equal part of the 4 seconds, the first from 0 s on
  // The period is in seconds, at least 1 ms for each part of it. Without values they are the ends of the
  // rule's range, lowest first; a rule with units needs them. place: where the text stands, for messages.
  // Throws Fault naming what is not a finite number, is outside the rule's range, or comes before the point
  // before it. Allocates.
  static Course parse(std::string_view text, const CourseRule& rule, TextPlace place);

  // The same for an option's text. Throws Fault (wrongCall).
  static Course parse(const std::string& option, std::string_view text, const CourseRule& rule);

  // Whether a text begins as a shape does. Allocates.
  static bool namesShape(std::string_view text);

  // The value at a time in seconds, 0 or more; before the first point the first value, after the last the
  // last. A shape's value depends on the time alone: one period later it is the same again. Any thread,
  // allocates nothing.
  double valueAt(double seconds) const;

  // The one value that the course has at every time, or nothing when it moves. Any thread, allocates nothing.
  std::optional<double> constant() const;

  // The values between which the course stays. Any thread, allocates nothing.
  double lowest() const;
  double highest() const;

  // The course of other values. map: a straight line, from a value to its other value. Allocates.
  Course mapped(const std::function<double(double)>& map) const;

  // As parse() reads it, with as many digits as bring back the same numbers. Allocates.
  std::string text() const;

private:
  enum class Joint { step, line, cosine }; // from one point to the next

  static Course parseShape(std::string_view text, const CourseRule& rule, TextPlace place);
  static Course shaped(Joint joint, double period, const std::vector<double>& values);
  double withinPeriod(double seconds) const;
  std::string shapeText() const;

  std::vector<Point> points;
  Joint joint;
  double periodSeconds = 0.0; // 0: the course does not repeat
};
