#include "render/course/Colors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace {

constexpr std::array<Color, 8> kColors = {{
    {0, "semitone-down", -100.0, 0.0, "bent fades into dry"},
    {1, "quarter-tone-up", 0.0, 50.0, "bent beside dry"},
    {2, "octave-up", 0.0, 1200.0, "bent alone"},
    {3, "two-octaves-down", 0.0, -2400.0, "bent alone"},
    {4, "octave-down-to-up", -1200.0, 1200.0, "bent beside dry"},
    {5, "fifth-down-to-fourth-up", -700.0, 500.0, "bent beside dry"},
    {6, "five-octaves-down", -6000.0, 1200.0, "bent, dry fades out"},
    {7, "five-octaves-down-with-dry", -6000.0, 1200.0, "bent beside dry"},
}};

struct Interval {
  double cents;
  std::string_view name;
};

constexpr Interval kIntervals[] = {
    {50.0, "quarter tone"}, {100.0, "semitone"},   {500.0, "fourth"},     {700.0, "fifth"},
    {1200.0, "octave"},     {2400.0, "2 octaves"}, {6000.0, "5 octaves"},
};

std::string intervalName(double cents) {
  if (cents == 0.0) return "in tune";
  const auto same = [&](const Interval& interval) { return interval.cents == std::abs(cents); };
  const Interval* const interval = std::find_if(std::begin(kIntervals), std::end(kIntervals), same);
  return std::string(interval->name) + (cents < 0.0 ? " down" : " up");
}

} // namespace

const std::array<Color, 8>& colors() { return kColors; }

double centsAt(int color, double pedal) {
  const Color& row = kColors[static_cast<std::size_t>(color)];
  return row.heelCents + (row.toeCents - row.heelCents) * pedal;
}

std::string colorList() {
  constexpr const char* kRow = "%-6s  %-26s  %-14s  %-15s  %s\n";
  constexpr std::size_t kRowCharacters = 120;
  char row[kRowCharacters];
  std::string list;
  const auto add = [&](const char* number, const std::string& name, const std::string& heel,
                       const std::string& toe, const std::string& mix) {
    std::snprintf(row, sizeof row, kRow, number, name.c_str(), heel.c_str(), toe.c_str(), mix.c_str());
    list += row;
  };
  add("colour", "name", "heel", "toe", "mix");
  for (const Color& color : kColors) {
    add(std::to_string(color.number).c_str(), std::string(color.name), intervalName(color.heelCents),
        intervalName(color.toeCents), std::string(color.mix));
  }
  return list;
}
