#include "render/course/Course.h"

#include "render/text/Text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kShortestPart = 0.001; // seconds, of a shape's period

// A multiple of a period can be missed by the last place of a number: 3 * 0.1 s is not 0.3 s. Times of a
// shape that are no further apart than this are one; frames are a thousand times as far from each other.
constexpr double kSameTime = 1e-9; // seconds

std::optional<double> lastTime(const std::vector<Course::Point>& points) {
  if (points.empty()) return {};
  return points.back().seconds;
}

Course::Point readPoint(std::string_view text, std::optional<double> before, const CourseRule& rule,
                        TextPlace place) {
  place.shown = text;
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) {
    failAt(place, "a point without a time", "write seconds:value, such as 1.5:" + exampleValue(rule));
  }
  const double seconds = ruledSeconds(rule, finiteNumber(trimmed(text.substr(0, colon))), before, place);
  return {seconds, ruledValue(rule, trimmed(text.substr(colon + 1)), place)};
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }

// A minus that joins two values, and neither stands before the first one nor belongs to an exponent.
std::size_t findJoiningMinus(std::string_view text) {
  for (std::size_t i = 1; i < text.size(); ++i) {
    const bool afterExponent =
        i >= 2 && (text[i - 1] == 'e' || text[i - 1] == 'E') && (isDigit(text[i - 2]) || text[i - 2] == '.');
    if (text[i] == '-' && !afterExponent) return i;
  }
  return std::string_view::npos;
}

std::vector<double> readShapeValues(std::string_view text, const CourseRule& rule, const TextPlace& place) {
  std::vector<double> values;
  for (bool isLast = false; !isLast;) {
    const auto minus = findJoiningMinus(text);
    isLast = minus == std::string_view::npos;
    values.push_back(ruledValue(rule, trimmed(text.substr(0, minus)), place));
    if (!isLast) text.remove_prefix(minus + 1);
  }
  return values;
}

// The text before a colon, which it takes from the front together with the colon.
std::string_view takeField(std::string_view& text) {
  const auto colon = std::min(text.find(':'), text.size());
  const std::string_view field = trimmed(text.substr(0, colon));
  text.remove_prefix(std::min(colon + 1, text.size()));
  return field;
}

bool isLower(const Course::Point& left, const Course::Point& right) { return left.value < right.value; }

constexpr std::string_view kTriangle = "triangle", kSine = "sine", kSteps = "steps";

} // namespace

Course::Course(std::vector<Point> course, bool isStepped)
    : points(std::move(course)), joint(isStepped ? Joint::step : Joint::line) {}

Course Course::parse(std::string_view text, const CourseRule& rule, TextPlace place) {
  if (!rule.stepped && namesShape(text)) return parseShape(text, rule, place);
  if (!rule.stepped && !text.empty() && isLetter(text.front()) && text.find(':') != std::string_view::npos) {
    place.shown = text;
    failAt(place, "no such shape", "there are triangle, sine and steps");
  }
  if (text.find(':') == std::string_view::npos && text.find(',') == std::string_view::npos) {
    place.shown = trimmed(text);
    return Course({{0.0, ruledValue(rule, trimmed(text), place)}}, rule.stepped);
  }
  std::vector<Point> list;
  for (std::size_t start = 0; start <= text.size();) {
    const auto comma = std::min(text.find(',', start), text.size());
    list.push_back(readPoint(trimmed(text.substr(start, comma - start)), lastTime(list), rule, place));
    start = comma + 1;
  }
  return Course(std::move(list), rule.stepped);
}

Course Course::parse(const std::string& option, std::string_view text, const CourseRule& rule) {
  return parse(text, rule, {ExitStatus::wrongCall, option, 0, {}, ':', "or seconds:value points"});
}

bool Course::namesShape(std::string_view text) {
  const std::string shape = lowerCase(takeField(text));
  return shape == kTriangle || shape == kSine || shape == kSteps;
}

Course Course::parseShape(std::string_view text, const CourseRule& rule, TextPlace place) {
  place.shown = trimmed(text);
  const std::string name = lowerCase(takeField(text));
  const std::string lowest = rule.units.empty() ? shortest(rule.lowest) : "0";
  const std::string right =
      "write " + name + ":4:" + lowest + "-" + exampleValue(rule) + " for a period of 4 s";
  const auto period = finiteNumber(takeField(text));
  if (!period || *period <= 0.0) failAt(place, "the shape's period is not a number of seconds", right);
  std::vector<double> values = {rule.lowest, rule.highest};
  if (!text.empty()) values = readShapeValues(text, rule, place);
  if (text.empty() && !rule.units.empty()) failAt(place, "a shape without its values", right);
  if (name == kSteps ? values.size() < 2 : values.size() != 2)
    failAt(place, name == kSteps ? "fewer than two steps" : "the shape goes between two values", right);
  if (*period / static_cast<double>(values.size()) < kShortestPart)
    failAt(place, "a part of the period is shorter than a millisecond", "give a longer period");
  return shaped(name == kSteps ? Joint::step : name == kSine ? Joint::cosine : Joint::line, *period, values);
}

// The values from equal part to equal part of a period, and the first again at its end.
Course Course::shaped(Joint joint, double period, const std::vector<double>& values) {
  Course course({}, false);
  course.joint = joint;
  course.periodSeconds = period;
  const auto parts = static_cast<double>(values.size());
  for (const double value : values)
    course.points.push_back({period * static_cast<double>(course.points.size()) / parts, value});
  course.points.push_back({period, values.front()});
  return course;
}

double Course::withinPeriod(double seconds) const {
  const double within = std::fmod(seconds, periodSeconds);
  const auto met = std::lower_bound(points.begin(), points.end(), within - kSameTime,
                                    [](const Point& point, double time) { return point.seconds < time; });
  return met != points.end() && met->seconds <= within + kSameTime ? met->seconds : within;
}

double Course::valueAt(double seconds) const {
  if (periodSeconds > 0.0) seconds = withinPeriod(seconds);
  const auto after = std::upper_bound(points.begin(), points.end(), seconds,
                                      [](double time, const Point& point) { return time < point.seconds; });
  if (after == points.begin()) return points.front().value;
  const Point& from = *(after - 1);
  if (joint == Joint::step || after == points.end()) return from.value;
  double share = (seconds - from.seconds) / (after->seconds - from.seconds);
  if (joint == Joint::cosine) share = (1.0 - std::cos(std::numbers::pi * share)) / 2.0;
  return from.value + (after->value - from.value) * share;
}

std::string Course::text() const {
  if (points.size() == 1) return shortest(points.front().value);
  if (periodSeconds > 0.0) return shapeText();
  std::string list;
  for (const Point& point : points) {
    if (!list.empty()) list += ',';
    list.append(shortest(point.seconds)).append(1, ':').append(shortest(point.value));
  }
  return list;
}

std::string Course::shapeText() const {
  const std::string_view name = joint == Joint::step ? kSteps : joint == Joint::cosine ? kSine : kTriangle;
  std::string text = std::string(name) + ":" + shortest(periodSeconds);
  for (std::size_t i = 0; i + 1 < points.size(); ++i) // the last one is the first again
    text.append(1, i == 0 ? ':' : '-').append(shortest(points[i].value));
  return text;
}

std::optional<double> Course::constant() const {
  const double value = points.front().value;
  const bool moves =
      std::any_of(points.begin(), points.end(), [&](const Point& point) { return point.value != value; });
  if (moves) return {};
  return value;
}

double Course::lowest() const { return std::min_element(points.begin(), points.end(), isLower)->value; }

double Course::highest() const { return std::max_element(points.begin(), points.end(), isLower)->value; }

Course Course::mapped(const std::function<double(double)>& map) const {
  Course course = *this;
  for (Point& point : course.points)
    point.value = map(point.value);
  return course;
}
