// What a user may write as a parameter's value, and what is said when it is something else.
#pragma once

#include "render/text/Fault.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct Unit {
  std::string_view name;   // lower-case, as it stands behind a number
  double size;             // what one of it is in the values of the rule
  std::string_view plural; // for messages; empty for another spelling of a unit above
};

struct CourseRule {
  double lowest;
  double highest;
  bool whole;   // whole numbers only
  bool stepped; // each point's value holds until the next point; otherwise a straight line joins them
  std::vector<std::pair<std::string_view, double>> words = {}; // lower-case words that stand for values
  std::string_view wordsInShort = {}; // what to say instead of listing the words; empty: list them
  std::string_view column = {};       // the values' name in the header of a CSV text
  std::vector<Unit> units = {};       // not empty: every number but 0 needs one; the first has the size 1
  std::function<std::string(double)> elsewhere = {}; // what would take a value that is out of range
};

// Where a text stands that is being read, for messages.
struct TextPlace {
  ExitStatus status;            // of a fault at this place
  std::string_view subject;     // the option, and the file if there is one
  std::size_t line;             // from 1; 0 where there are no lines
  std::string_view shown;       // the part of the text that the fault is about
  char separator;               // between a point's time and its value
  std::string_view alternative; // what else would be right at this place; may be empty
};

// One value: a number, with its unit where the rule has units, or one of the rule's words. Throws Fault when
// it is none or out of range. Allocates.
double ruledValue(const CourseRule& rule, std::string_view text, const TextPlace& place);

// A number as it is, if the rule allows it. Throws Fault. Allocates only then.
double ruledNumber(const CourseRule& rule, double number, const TextPlace& place);

// A time in seconds as it is, if it is 0 or more and not before the time before it, if there is one. seconds:
// nothing stands for a text that is no time. Throws Fault. Allocates only then.
double ruledSeconds(const CourseRule& rule, std::optional<double> seconds, std::optional<double> before,
                    const TextPlace& place);

// A value as an example of how to write one. Allocates.
std::string exampleValue(const CourseRule& rule);

// Throws the fault of a place. wrong: what is the matter; right: what would work. Allocates.
[[noreturn]] void failAt(const TextPlace& place, const std::string& wrong, const std::string& right);
