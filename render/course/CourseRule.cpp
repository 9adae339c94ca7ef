#include "render/course/CourseRule.h"

#include "render/text/Text.h"

#include <cmath>

namespace {

std::string choices(const CourseRule& rule, std::string_view alternative) {
  std::string text = "give ";
  if (!rule.wordsInShort.empty()) {
    text += std::string(rule.wordsInShort) + ", ";
  } else {
    for (const auto& [word, meaning] : rule.words)
      text += std::string(word) + ", ";
  }
  text += rule.whole ? "a whole number" : "a number";
  text += " from " + shortest(rule.lowest) + " to " + shortest(rule.highest);
  return alternative.empty() ? text : text + ", " + std::string(alternative);
}

} // namespace

void failAt(const TextPlace& place, const std::string& wrong, const std::string& right) {
  std::string subject(place.subject);
  if (place.line != 0) subject += ": line " + std::to_string(place.line);
  throw Fault(place.status, subject, excerpt(place.shown), wrong, right);
}

double ruledValue(const CourseRule& rule, std::string_view text, const TextPlace& place) {
  const auto fail = [&](const char* wrong) { failAt(place, wrong, choices(rule, place.alternative)); };
  const auto number = finiteNumber(text);
  if (!number) {
    const std::string given = lowerCase(text);
    for (const auto& [word, meaning] : rule.words) {
      if (given == word) return meaning;
    }
    fail("no such value");
  }
  if (*number < rule.lowest || *number > rule.highest) fail("the value is out of range");
  if (rule.whole && *number != std::floor(*number)) fail("not a whole number");
  return *number;
}

double ruledSeconds(const CourseRule& rule, std::string_view text, std::optional<double> before,
                    const TextPlace& place) {
  const auto seconds = finiteNumber(text);
  if (!seconds || *seconds < 0.0) {
    const std::string example = std::string("1.5") + place.separator + shortest(rule.highest);
    failAt(place, "the time is not a number of seconds from 0 on",
           std::string("write seconds") + place.separator + "value, such as " + example);
  }
  if (before && *seconds <= *before) {
    failAt(place, "the time does not come after the point before it, at " + shortest(*before) + " s",
           "give the points in the order of their times");
  }
  return *seconds;
}
