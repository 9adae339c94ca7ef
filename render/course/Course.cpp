#include "render/course/Course.h"

#include "render/text/Text.h"

#include <algorithm>

namespace {

std::optional<double> lastTime(const std::vector<Course::Point>& points) {
  if (points.empty()) return {};
  return points.back().seconds;
}

Course::Point readPoint(std::string_view text, std::optional<double> before, const CourseRule& rule,
                        TextPlace place) {
  place.shown = text;
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) {
    failAt(place, "a point without a time", "write seconds:value, such as 1.5:" + shortest(rule.highest));
  }
  const double seconds = ruledSeconds(rule, trimmed(text.substr(0, colon)), before, place);
  return {seconds, ruledValue(rule, trimmed(text.substr(colon + 1)), place)};
}

} // namespace

Course::Course(std::vector<Point> course, bool isStepped) : points(std::move(course)), stepped(isStepped) {}

Course Course::parse(std::string_view text, const CourseRule& rule, TextPlace place) {
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

double Course::valueAt(double seconds) const {
  const auto after = std::upper_bound(points.begin(), points.end(), seconds,
                                      [](double time, const Point& point) { return time < point.seconds; });
  if (after == points.begin()) return points.front().value;
  const Point& from = *(after - 1);
  if (stepped || after == points.end()) return from.value;
  const double share = (seconds - from.seconds) / (after->seconds - from.seconds);
  return from.value + (after->value - from.value) * share;
}

std::optional<double> Course::constant() const {
  const double value = points.front().value;
  const bool moves =
      std::any_of(points.begin(), points.end(), [&](const Point& point) { return point.value != value; });
  if (moves) return {};
  return value;
}
