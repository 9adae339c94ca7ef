// What a user may write as a parameter's value, and what is said when it is something else.
#pragma once

#include "render/text/Fault.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct CourseRule {
  double lowest;
  double highest;
  bool whole;   // whole numbers only
  bool stepped; // each point's value holds until the next point; otherwise a straight line joins them
  std::vector<std::pair<std::string_view, double>> words; // lower-case words that stand for values
  std::string_view wordsInShort = {}; // what to say instead of listing the words; empty: list them
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

// One value: a number or one of the rule's words. Throws Fault when it is none or out of range. Allocates.
double ruledValue(const CourseRule& rule, std::string_view text, const TextPlace& place);

// One time in seconds, 0 or more and after the time before it, if there is one. Throws Fault. Allocates only
// then.
double ruledSeconds(const CourseRule& rule, std::string_view text, std::optional<double> before,
                    const TextPlace& place);

// Throws the fault of a place. wrong: what is the matter; right: what would work. Allocates.
[[noreturn]] void failAt(const TextPlace& place, const std::string& wrong, const std::string& right);
