#include "render/course/Intervals.h"

#include "render/course/Colors.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace {

constexpr double kCentsPerSemitone = 100.0;

double lowestOf(const Color& color) { return std::min(color.centsAtHeel, color.centsAtToe); }
double highestOf(const Color& color) { return std::max(color.centsAtHeel, color.centsAtToe); }

std::string colorFor(double cents) {
  const auto color = bestColor(cents, cents);
  if (!color) return {};
  return "or --color " + std::string(kColorTable[*color].name) + ", which takes it";
}

} // namespace

CourseRule intervalRule(std::optional<int> color) {
  CourseRule rule = {};
  rule.lowest = std::numeric_limits<double>::infinity();
  rule.highest = -rule.lowest;
  for (const Color& row : kColorTable) {
    if (color && row.number != *color) continue;
    rule.lowest = std::min(rule.lowest, lowestOf(row));
    rule.highest = std::max(rule.highest, highestOf(row));
  }
  rule.column = "interval";
  rule.units = {
      {"c", 1.0, "cents"}, {"st", kCentsPerSemitone, "semitones"}, {"cent", 1.0, {}},
      {"cents", 1.0, {}},  {"semitone", kCentsPerSemitone, {}},    {"semitones", kCentsPerSemitone, {}}};
  rule.elsewhere = colorFor;
  return rule;
}

std::optional<int> bestColor(double lowestCents, double highestCents) {
  const auto order = [](const Color& color) {
    return std::tuple(color.mixMode != kBentAlone, highestOf(color) - lowestOf(color), color.number);
  };
  const Color* best = nullptr;
  for (const Color& color : kColorTable) {
    if (lowestCents < lowestOf(color) || highestCents > highestOf(color)) continue;
    if (!best || order(color) < order(*best)) best = &color;
  }
  if (!best) return {};
  return best->number;
}
