#include "render/course/CsvCourse.h"

#include "render/course/CsvColumns.h"
#include "render/course/CsvFields.h"
#include "render/text/Text.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

class CsvReader {
public:
  CsvReader(const std::string& subjectOfText, const CourseRule& ruleOfValues)
      : subject(subjectOfText), rule(ruleOfValues) {}

  Course read(std::string_view text) {
    for (Lines lines(text); lines.next();) {
      if (!lines.line().empty() && lines.line().front() != '#') readLine(lines);
    }
    if (points.empty()) {
      throw Fault(ExitStatus::couldNot, subject, {}, "holds no points", "write lines seconds,value");
    }
    return Course(std::move(points), rule.stepped);
  }

private:
  void readLine(const Lines& lines) {
    if (separator == '\0' && takeSeparator(lines.line())) return;
    const TextPlace place = {ExitStatus::couldNot, subject, lines.number(), lines.line(), separator, {}};
    const std::vector<std::string> fields = csvFields(lines.line(), separator, place);
    if (fields.empty()) return;
    if (std::exchange(headerMayCome, false) && isCsvHeader(fields)) {
      columns = readCsvHeader(fields, rule, place);
      return;
    }
    checkCount(fields, place);
    std::optional<double> before;
    if (!points.empty()) before = points.back().seconds;
    const double seconds = ruledSeconds(rule, timeOf(fields[columns.time], place), before, place);
    points.push_back({seconds, valueOf(fields[columns.value], place)});
  }

  // Whether the line does nothing but tell the separator, as sheets write it: "sep=;".
  bool takeSeparator(std::string_view line) {
    constexpr std::string_view kMark = "sep=";
    const bool tells = line.size() == kMark.size() + 1 && lowerCase(line.substr(0, kMark.size())) == kMark;
    separator = tells ? line.back() : csvSeparator(line);
    return tells;
  }

  void checkCount(const std::vector<std::string>& fields, const TextPlace& place) const {
    const std::string comma(1, separator);
    if (fields.size() <= std::max(columns.time, columns.value) || fields[columns.time].empty()) {
      failAt(place, "not a time and a value",
             "write seconds" + comma + "value, such as 1.5" + comma + exampleValue(rule));
    }
    const auto isEmpty = [](const std::string& field) { return field.empty(); };
    const auto extra = fields.begin() + static_cast<std::ptrdiff_t>(std::min(columns.count, fields.size()));
    if (std::all_of(extra, fields.end(), isEmpty)) return;
    const std::string header =
        "name the columns in the first line, such as time" + comma + "value" + comma + "note";
    failAt(place, "more columns than are named",
           separator == ',' ? header + "; where the comma is the decimal point, separate them with ;"
                            : header);
  }

  // With the decimal point that the rest of the program reads.
  std::string numberText(const std::string& field) const {
    std::string text = field;
    if (separator != ',' && text.find('.') == std::string::npos &&
        std::count(text.begin(), text.end(), ',') == 1)
      text[text.find(',')] = '.';
    return text;
  }

  std::optional<double> timeOf(const std::string& field, const TextPlace& place) const {
    const std::string text = numberText(field);
    if (text.find(':') == std::string::npos) {
      const auto number = finiteNumber(text);
      return number ? std::optional(*number / columns.timesPerSecond) : std::nullopt;
    }
    const auto seconds = clockSeconds(text);
    if (!seconds) failAt(place, "not a time of the clock", "write seconds, mm:ss or h:mm:ss.mmm");
    return seconds;
  }

  double valueOf(const std::string& field, TextPlace place) const {
    constexpr double kPercent = 100.0;
    const std::string text = numberText(field);
    if (!rule.units.empty()) {
      const bool isBare = !text.empty() && std::isdigit(static_cast<unsigned char>(text.back())) != 0;
      return ruledValue(rule, isBare ? text + columns.unit : text, place);
    }
    const bool isPercent = text.ends_with('%');
    const auto number = finiteNumber(trimmed(std::string_view(text).substr(0, text.size() - isPercent)));
    if (!number) return ruledValue(rule, text, place);
    const double fullScale = isPercent ? kPercent : columns.fullScale;
    if (fullScale == 1.0 && *number > rule.highest)
      place.alternative = "or tell the scale in a header, such as time,value % or time,value 0-127";
    return ruledNumber(rule, *number / fullScale, place);
  }

  const std::string& subject;
  const CourseRule& rule;
  char separator = '\0'; // none is known yet
  bool headerMayCome = true;
  CsvColumns columns;
  std::vector<Course::Point> points;
};

} // namespace

Course readCsvCourse(const std::string& subject, std::string_view text, const CourseRule& rule) {
  return CsvReader(subject, rule).read(text);
}
