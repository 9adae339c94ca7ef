#include "render/course/Colors.h"

#include "render/text/Text.h"

#include <cstdio>

namespace {

constexpr std::array<Color, 8> kColors = {{
    {0, "semitone-down", -100.0, 0.0, "bent fades into dry"},
    {1, "quarter-tone-up", 0.0, 50.0, "bent beside dry"},
    {2, "octave-up", 0.0, 1200.0, kBentAlone},
    {3, "two-octaves-down", 0.0, -2400.0, kBentAlone},
    {4, "octave-down-to-up", -1200.0, 1200.0, "bent beside dry"},
    {5, "fifth-down-to-fourth-up", -700.0, 500.0, "bent beside dry"},
    {6, "five-octaves-down", -6000.0, 1200.0, "bent, dry fades out"},
    {7, "five-octaves-down-with-dry", -6000.0, 1200.0, "bent beside dry"},
}};

// As --interval takes it: -700c, 0c, +500c.
std::string centsText(double cents) { return withSign(cents) + "c"; }

} // namespace

const std::array<Color, 8>& colors() { return kColors; }

double centsAt(int color, double pedal) {
  const Color& row = kColors[static_cast<std::size_t>(color)];
  return row.heelCents + (row.toeCents - row.heelCents) * pedal;
}

double pedalFor(int color, double cents) {
  const Color& row = kColors[static_cast<std::size_t>(color)];
  return (cents - row.heelCents) / (row.toeCents - row.heelCents) + 0.0; // "-0" becomes 0
}

std::string colorList() {
  constexpr const char* kRow = "%-6s  %-26s  %6s  %6s  %s\n";
  constexpr std::size_t kRowCharacters = 81;
  char row[kRowCharacters];
  std::string list;
  const auto add = [&](const std::string& number, std::string_view name, const std::string& heel,
                       const std::string& toe, std::string_view mix) {
    std::snprintf(row, sizeof row, kRow, number.c_str(), std::string(name).c_str(), heel.c_str(), toe.c_str(),
                  std::string(mix).c_str());
    list += row;
  };
  add("colour", "name", "heel", "toe", "mix");
  for (const Color& color : kColors)
    add(std::to_string(color.number), color.name, centsText(color.heelCents), centsText(color.toeCents),
        color.mix);
  return list;
}
