#include "render/course/Colors.h"

#include "render/text/Text.h"

#include <cstdio>

namespace {

// As --interval takes it: -700c, 0c, +500c.
std::string centsText(double cents) { return withSign(cents) + "c"; }

} // namespace

std::string_view mixText(MixMode mixMode) {
  switch (mixMode) {
  case kBentAlone:
    return "bent alone";
  case kBentFadesIntoDry:
    return "bent fades into dry";
  case kDryFadesOut:
    return "bent, dry fades out";
  default:
    return "bent beside dry";
  }
}

double pedalFor(int color, double cents) {
  const Color& row = kColorTable[color];
  return (cents - row.centsAtHeel) / (row.centsAtToe - row.centsAtHeel) + 0.0; // "-0" becomes 0
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
  for (const Color& color : kColorTable)
    add(std::to_string(color.number), color.name, centsText(color.centsAtHeel), centsText(color.centsAtToe),
        mixText(color.mixMode));
  return list;
}
