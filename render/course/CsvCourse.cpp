#include "render/course/CsvCourse.h"

#include "render/text/Text.h"

#include <utility>

namespace {

// The two fields of a line, or empty ones when it has another number of commas than one.
struct Fields {
  std::string_view time;
  std::string_view value;
};

Fields fieldsOf(std::string_view line) {
  const auto comma = line.find(',');
  if (comma == std::string_view::npos || line.find(',', comma + 1) != std::string_view::npos) return {};
  return {trimmed(line.substr(0, comma)), trimmed(line.substr(comma + 1))};
}

bool startsLikeNumber(std::string_view field) {
  return field.empty() || std::string_view("0123456789+-.").find(field.front()) != std::string_view::npos;
}

bool isHeader(const Fields& fields) {
  return !startsLikeNumber(fields.time) && !startsLikeNumber(fields.value);
}

} // namespace

Course readCsvCourse(const std::string& subject, std::string_view text, const CourseRule& rule) {
  std::vector<Course::Point> points;
  bool headerMayCome = true;
  for (Lines lines(text); lines.next();) {
    const std::string_view content = trimmed(lines.line().substr(0, lines.line().find('#')));
    if (content.empty()) continue;
    const Fields fields = fieldsOf(content);
    if (std::exchange(headerMayCome, false) && isHeader(fields)) continue;
    const TextPlace place = {ExitStatus::couldNot, subject, lines.number(), content, ',', {}};
    if (fields.time.empty()) {
      failAt(place, "not a time and a value", "write seconds,value, such as 1.5," + shortest(rule.highest));
    }
    std::optional<double> before;
    if (!points.empty()) before = points.back().seconds;
    const double seconds = ruledSeconds(rule, fields.time, before, place);
    points.push_back({seconds, ruledValue(rule, fields.value, place)});
  }
  if (points.empty()) {
    throw Fault(ExitStatus::couldNot, subject, {}, "holds no points", "write lines seconds,value");
  }
  return Course(std::move(points), rule.stepped);
}
