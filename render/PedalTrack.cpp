#include "render/PedalTrack.h"

#include "render/Fault.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<double> finiteNumber(std::string_view text) {
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return {};
  return number + 0.0; // "-0" becomes 0
}

std::string shortest(double number) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return lower;
}

// Reads one option's text; the option and rule it belongs to are in every message.
class TrackReader {
public:
  TrackReader(const std::string& optionName, const TrackRule& trackRule)
      : option(optionName), rule(trackRule) {}

  std::vector<PedalTrack::Point> points(std::string_view text) const {
    if (text.find(':') == std::string_view::npos && text.find(',') == std::string_view::npos) {
      return {{0.0, value(trimmed(text), trimmed(text))}};
    }
    std::vector<PedalTrack::Point> list;
    for (std::size_t start = 0; start <= text.size();) {
      const auto comma = std::min(text.find(',', start), text.size());
      list.push_back(point(trimmed(text.substr(start, comma - start)), list));
      start = comma + 1;
    }
    return list;
  }

private:
  PedalTrack::Point point(std::string_view text, const std::vector<PedalTrack::Point>& before) const {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) {
      fail(text, "a point without a time", "write seconds:value, such as 1.5:" + shortest(rule.highest));
    }
    const auto seconds = finiteNumber(trimmed(text.substr(0, colon)));
    if (!seconds || *seconds < 0.0) {
      fail(text, "the time is not a number of seconds from 0 on",
           "write seconds:value, such as 1.5:" + shortest(rule.highest));
    }
    if (!before.empty() && *seconds <= before.back().seconds) {
      fail(text,
           "the time does not come after the point before it, at " + shortest(before.back().seconds) + " s",
           "give the points in the order of their times");
    }
    return {*seconds, value(trimmed(text.substr(colon + 1)), text)};
  }

  // whole: the point that the value stands in, for messages.
  double value(std::string_view text, std::string_view whole) const {
    for (const auto& [word, meaning] : rule.words) {
      if (lowerCase(text) == word) return meaning;
    }
    const auto number = finiteNumber(text);
    if (!number) fail(whole, "no such value", choices());
    if (*number < rule.lowest || *number > rule.highest) fail(whole, "the value is out of range", choices());
    if (rule.whole && *number != std::floor(*number)) fail(whole, "not a whole number", choices());
    return *number;
  }

  std::string choices() const {
    std::string text = "give ";
    for (const auto& [word, meaning] : rule.words)
      text += std::string(word) + ", ";
    text += rule.whole ? "a whole number" : "a number";
    return text + " from " + shortest(rule.lowest) + " to " + shortest(rule.highest) +
           ", or seconds:value points";
  }

  [[noreturn]] void fail(std::string_view given, const std::string& wrong, const std::string& right) const {
    throw Fault(ExitStatus::wrongCall, option, std::string(given), wrong, right);
  }

  const std::string& option;
  const TrackRule& rule;
};

} // namespace

PedalTrack::PedalTrack(std::vector<Point> course, bool isStepped)
    : points(std::move(course)), stepped(isStepped) {}

PedalTrack PedalTrack::parse(const std::string& option, std::string_view text, const TrackRule& rule) {
  return PedalTrack(TrackReader(option, rule).points(text), rule.stepped);
}

double PedalTrack::valueAt(double seconds) const {
  const auto after = std::upper_bound(points.begin(), points.end(), seconds,
                                      [](double time, const Point& point) { return time < point.seconds; });
  if (after == points.begin()) return points.front().value;
  const Point& from = *(after - 1);
  if (stepped || after == points.end()) return from.value;
  const double share = (seconds - from.seconds) / (after->seconds - from.seconds);
  return from.value + (after->value - from.value) * share;
}
