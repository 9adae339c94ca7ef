#include "render/course/CourseRule.h"

#include "render/text/Text.h"

#include <algorithm>
#include <cmath>

namespace {

std::string rangeOf(const CourseRule& rule) {
  if (rule.units.empty()) return " from " + shortest(rule.lowest) + " to " + shortest(rule.highest);
  const std::string unit(rule.units.front().name);
  return " from " + withSign(rule.lowest) + unit + " to " + withSign(rule.highest) + unit;
}

// "a number", or what the numbers count: "cents (c) or semitones (st)".
std::string kindOf(const CourseRule& rule) {
  if (rule.units.empty()) return rule.whole ? "a whole number" : "a number";
  std::string kind;
  for (const Unit& unit : rule.units) {
    if (unit.plural.empty()) continue;
    if (!kind.empty()) kind += " or ";
    kind.append(unit.plural).append(" (").append(unit.name).append(")");
  }
  return kind;
}

std::string choices(const CourseRule& rule, std::string_view alternative) {
  std::string text = "give ";
  if (!rule.wordsInShort.empty()) {
    text += std::string(rule.wordsInShort) + ", ";
  } else {
    for (const auto& [word, meaning] : rule.words)
      text += std::string(word) + ", ";
  }
  text += kindOf(rule) + rangeOf(rule);
  return alternative.empty() ? text : text + ", " + std::string(alternative);
}

[[noreturn]] void failWithoutUnit(const CourseRule& rule, std::string_view number, const TextPlace& place) {
  std::string right;
  for (const Unit& unit : rule.units) {
    if (unit.plural.empty()) continue;
    right += (right.empty() ? "write " : " or ") + std::string(number) + std::string(unit.name) + " for " +
             std::string(unit.plural);
  }
  failAt(place, "a number without a unit", right);
}

// A number behind which its unit stands, and which may have a plus; nothing when the text is none.
std::optional<double> numberWithUnit(const CourseRule& rule, std::string_view text, const TextPlace& place) {
  const auto letters = std::find_if_not(text.rbegin(), text.rend(), isLetter) - text.rbegin();
  const std::string name = lowerCase(text.substr(text.size() - static_cast<std::size_t>(letters)));
  const std::string_view digits = trimmed(text.substr(0, text.size() - name.size()));
  const bool hasPlus = digits.starts_with('+') && !digits.starts_with("+-");
  const auto number = finiteNumber(digits.substr(hasPlus ? 1 : 0));
  if (!number) return {};
  if (name.empty() && *number != 0.0) failWithoutUnit(rule, digits, place);
  if (name.empty()) return number;
  const auto unit =
      std::find_if(rule.units.begin(), rule.units.end(), [&](const Unit& u) { return u.name == name; });
  if (unit == rule.units.end()) return {};
  return *number * unit->size;
}

} // namespace

void failAt(const TextPlace& place, const std::string& wrong, const std::string& right) {
  std::string subject(place.subject);
  if (place.line != 0) subject += ": line " + std::to_string(place.line);
  throw Fault(place.status, subject, excerpt(place.shown), wrong, right);
}

double ruledNumber(const CourseRule& rule, double number, const TextPlace& place) {
  if (number < rule.lowest || number > rule.highest) {
    const std::string elsewhere = rule.elsewhere ? rule.elsewhere(number) : "";
    failAt(place, "the value is out of range",
           choices(rule, elsewhere.empty() ? place.alternative : elsewhere));
  }
  if (rule.whole && number != std::floor(number)) {
    failAt(place, "not a whole number", choices(rule, place.alternative));
  }
  return number;
}

double ruledValue(const CourseRule& rule, std::string_view text, const TextPlace& place) {
  const auto number = rule.units.empty() ? finiteNumber(text) : numberWithUnit(rule, text, place);
  if (number) return ruledNumber(rule, *number, place);
  const std::string given = lowerCase(text);
  for (const auto& [word, meaning] : rule.words) {
    if (given == word) return meaning;
  }
  failAt(place, "no such value", choices(rule, place.alternative));
}

double ruledSeconds(const CourseRule& rule, std::optional<double> seconds, std::optional<double> before,
                    const TextPlace& place) {
  if (!seconds || *seconds < 0.0) {
    failAt(place, "the time is not a number of seconds from 0 on",
           std::string("write seconds") + place.separator + "value, such as 1.5" + place.separator +
               exampleValue(rule));
  }
  if (before && *seconds < *before) {
    failAt(place, "the time lies before that of the point before it, " + shortest(*before) + " s",
           "give the points in the order of their times");
  }
  return *seconds;
}

std::string exampleValue(const CourseRule& rule) {
  if (rule.units.empty()) return shortest(rule.highest);
  return withSign(rule.highest > 0.0 ? rule.highest : rule.lowest) + std::string(rule.units.front().name);
}
