#include "fuzz/ProgramModel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isParameter(std::int32_t index) { return index >= 0 && index < ProgramModel::kParameters; }

} // namespace

void ProgramModel::setParameter(std::int32_t index, float value) {
  if (!isParameter(index)) return;
  if (hasCurrent()) programs[current].values[index] = value;
  live[index] = value;
}

float ProgramModel::parameter(std::int32_t index) const { return isParameter(index) ? live[index] : 0.0f; }

void ProgramModel::selectProgram(std::intptr_t number) {
  if (number >= kPrograms) return;
  constexpr std::intptr_t kLeast = std::numeric_limits<std::int32_t>::min();
  current = static_cast<std::int32_t>(std::max(number, kLeast)); // a negative number stays negative
}

void ProgramModel::loadProgram(std::int64_t number) {
  if (number < 0 || number >= kPrograms) return;
  current = static_cast<std::int32_t>(number);
  live = programs[current].values;
}

void ProgramModel::setName(std::string_view text) {
  constexpr std::size_t kMostCharacters = 23;
  if (hasCurrent()) programs[current].name = text.substr(0, std::min(text.find('\0'), kMostCharacters));
}

std::string ProgramModel::currentName() const {
  if (!hasCurrent()) return "";
  const std::string& name = programs[current].name;
  return name == "Init" ? name + " " + std::to_string(current + 1) : name;
}

std::string ProgramModel::storedName(int index) const { return index < 0 ? "" : programs[index].name; }

std::string ProgramModel::display(std::int32_t index) const {
  if (!isParameter(index)) return "";
  const float value = live[index];
  const bool isOn = value == 1.0f || std::isnan(value);
  if (index == 0) return isOn ? "on" : "off";
  if (index == 1) return isOn ? "Bass" : "Guitar";
  if (index != 3) return "";
  int row = 0;
  while (row < 7 && value >= 0.125f * static_cast<float>(row + 1))
    ++row;
  return std::to_string(row);
}

bool ProgramModel::isInRange() const {
  return std::all_of(live.begin(), live.end(), [](float value) { return value >= 0.0f && value <= 1.0f; });
}
