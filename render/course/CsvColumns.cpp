#include "render/course/CsvColumns.h"

#include "render/text/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>

namespace {

using Words = std::vector<std::string>;

// Names of the times' column, the surest first; "position" may as well be the pedal's.
constexpr std::array<std::string_view, 14> kTimeNames = {
    "time",         "timestamp", "timecode", "seconds", "second", "secs",  "sec",
    "milliseconds", "msec",      "ms",       "t",       "s",      "start", "position"};
constexpr std::array<std::string_view, 3> kMilliseconds = {"milliseconds", "msec", "ms"};
constexpr std::array<std::string_view, 15> kForeignTimes = {"samples", "sample",  "frames", "frame", "beats",
                                                            "beat",    "bars",    "bar",    "ticks", "tick",
                                                            "ppq",     "minutes", "min",    "hours", "h"};

template <class List> bool isIn(const List& list, std::string_view word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

// "Value (0..127)" is value, 0, 127; a percent sign is a word of its own.
Words wordsOf(const std::string& field) {
  Words words;
  bool within = false;
  for (const char character : lowerCase(field)) {
    const bool isPart = std::isalnum(static_cast<unsigned char>(character)) != 0 || (character & 0x80) != 0;
    if (character == '%') words.emplace_back("%");
    if (isPart && !within) words.emplace_back();
    if (isPart) words.back() += character;
    within = isPart;
  }
  return words;
}

class HeaderReader {
public:
  HeaderReader(const std::vector<std::string>& fields, const CourseRule& ruleOfValues,
               const TextPlace& placeOfLine)
      : rule(ruleOfValues), place(placeOfLine) {
    for (const std::string& field : fields)
      columns.push_back(wordsOf(field));
  }

  CsvColumns read() const {
    const std::size_t time = findTime();
    CsvColumns result;
    result.time = time;
    result.value = findValue(time);
    result.count = columns.size();
    if (hasAny(columns[time], kMilliseconds)) result.timesPerSecond = 1000.0;
    result.fullScale = fullScaleOf(columns[result.value]);
    result.unit = unitOf(columns[result.value]);
    return result;
  }

private:
  template <class List> static bool hasAny(const Words& words, const List& list) {
    return std::any_of(words.begin(), words.end(), [&](const std::string& word) { return isIn(list, word); });
  }

  // The only column whose first word is a name; `other` is none of them.
  std::optional<std::size_t> find(std::string_view name, std::optional<std::size_t> other) const {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i == other || columns[i].empty() || columns[i].front() != name) continue;
      if (found) failAt(place, "two columns named '" + std::string(name) + "'", "give them different names");
      found = i;
    }
    return found;
  }

  std::size_t findTime() const {
    const auto time = namedTime();
    if (hasAny(columns[time], kForeignTimes))
      failAt(place, "times that are no seconds", "convert them to seconds, or h:mm:ss");
    return time;
  }

  std::size_t namedTime() const {
    for (const std::string_view name : kTimeNames) {
      if (const auto found = find(name, {})) return *found;
    }
    const auto value = namedValue({});
    if (columns.size() == 2) return value ? 1 - *value : 0;
    failAt(place, "no column is named time", "name one time");
  }

  std::size_t findValue(std::size_t time) const {
    if (const auto value = namedValue(time)) return *value;
    if (columns.size() == 2) return 1 - time;
    const std::string name(rule.column.empty() ? "value" : rule.column);
    failAt(place, "no column is named " + name, "name one " + name);
  }

  std::optional<std::size_t> namedValue(std::optional<std::size_t> time) const {
    std::vector<std::string_view> names = {rule.column, "value", "val"};
    for (const Unit& unit : rule.units)
      names.push_back(unit.name);
    for (const std::string_view name : names) {
      if (name.empty()) continue;
      if (const auto found = find(name, time)) return found;
    }
    return {};
  }

  // 100 of "%", 127 of "0-127", or 1.
  static double fullScaleOf(const Words& words) {
    if (isIn(words, "%") || isIn(words, "percent")) return 100.0;
    for (std::size_t i = 1; i < words.size(); ++i) {
      const auto number = finiteNumber(words[i]);
      if (words[i - 1] == "0" && number && *number > 0.0) return *number;
    }
    return 1.0;
  }

  std::string unitOf(const Words& words) const {
    for (const Unit& unit : rule.units) {
      if (isIn(words, unit.name)) return std::string(unit.name);
    }
    return {};
  }

  const CourseRule& rule;
  const TextPlace& place;
  std::vector<Words> columns;
};

bool beginsAsNumber(const std::string& field) {
  return !field.empty() && std::string_view("0123456789+-.").find(field.front()) != std::string_view::npos;
}

} // namespace

bool isCsvHeader(const std::vector<std::string>& fields) {
  return fields.size() >= 2 && std::none_of(fields.begin(), fields.end(), beginsAsNumber);
}

CsvColumns readCsvHeader(const std::vector<std::string>& fields, const CourseRule& rule,
                         const TextPlace& place) {
  return HeaderReader(fields, rule, place).read();
}
