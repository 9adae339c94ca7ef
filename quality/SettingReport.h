// Everything about a shifter at one setting that does not move.
#pragma once

#include "quality/Delay.h"
#include "quality/StringSounds.h"

#include <string>

struct SettingReport {
  double intendedCents;
  double cents;                     // measured
  std::optional<double> spliceRate; // per second
  std::optional<StringSounds> strings;
  Delay delay;
};

// Result: nothing when the setting lets no shifted sound through. Takes seconds. Allocates.
std::optional<SettingReport> reportOn(const MakeShifter& make, double intendedCents);

// Cells of a table, one after the other. Allocate.
std::string spliceCell(const SettingReport& report);
std::vector<std::string> stringCells(const std::optional<StringSounds>& strings); // off, sideband, ripple
