// The five parameters as the command line drives them.
#pragma once

#include "engine/PedalNumbers.h"
#include "render/course/Course.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

// The parameter value 0..1 for a player's value: a colour 0..7, everything else 0..1 as it is. Allocates
// nothing.
float parameterValue(Parameter parameter, double playersValue);

// What a player may write as the parameter's value. Allocates nothing.
const CourseRule& courseRule(Parameter parameter);

// "--color" and so on. Allocates nothing.
const std::string& optionName(Parameter parameter);

class Controls {
public:
  // Reads one option's text (see Course::parse) and lets it drive the parameter from then on. Throws
  // Fault (wrongCall). Allocates.
  void set(Parameter parameter, std::string_view text);

  // Lets a course of the player's values drive the parameter from then on. Allocates.
  void set(Parameter parameter, Course course);

  // Lets the pedal move so that the bent sound has an interval, in the colour that drives, or else in the
  // best one for all of the course, which drives from then on. The colour must not move. cents: a course
  // within the range of the colour, or of all colours if none drives. Allocates.
  void followInterval(const Course& cents);

  // The colour, 0..7, that followInterval() found; nothing when it was given one. Any thread.
  std::optional<int> foundColor() const { return found; }

  // The course that drives the parameter, in the player's values; null when none does. Any thread.
  const Course* course(Parameter parameter) const;

  // The parameter's value 0..1 at a time in seconds; nothing when no option drives it, so that the effect
  // keeps its own value. Any thread, allocates nothing.
  std::optional<float> valueAt(Parameter parameter, double seconds) const;

private:
  std::array<std::optional<Course>, kParameterCount> courses;
  std::optional<int> found;
};
