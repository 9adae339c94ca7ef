// Reads the text of presets, for the renderer and for the bundle. Our own, because the packaged readers
// refuse less: of two keys or sections of one name, inih, SimpleIni and the reader in CLI11 let the second
// one win or join them, they take keys before the first section, and the latter two take a line that is
// neither a name nor a setting.
#pragma once

#include "engine/PedalNumbers.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct PresetKey {
  std::string_view name;
  Parameter parameter;
};

// In the order in which a preset is written.
inline constexpr std::array<PresetKey, kParameterCount> kPresetKeys = {
    {{"color", kColor}, {"tone", kTone}, {"mode", kMode}, {"on", kOnOff}, {"pedal", kPedalPos}}};

struct PresetLine {
  std::size_t number; // from 1
  std::string text;   // without blanks at both ends
};

// What a preset says about one parameter.
struct PresetSetting {
  Parameter parameter;
  std::string value; // as it was written, without the comment behind it
  PresetLine line;
};

struct PresetSection {
  std::string name;                    // not empty
  std::string description;             // one line, may be empty
  std::vector<PresetSetting> settings; // at most one for each parameter
  PresetLine line;                     // that of the name
};

// What is wrong with a line, and what would be right.
struct PresetFault : std::runtime_error {
  PresetFault(PresetLine where, const std::string& wrong, std::string remedy)
      : std::runtime_error(wrong), line(std::move(where)), right(std::move(remedy)) {}

  PresetLine line;
  std::string right;
};

// Reads sections [name] of lines "key = value" with the keys description, color, tone, mode, on and pedal; #
// begins a comment, but for one in a description. Lines end in LF or CR LF, and a byte order mark in front is
// skipped. Values are the caller's to judge. Throws PresetFault. [any thread] Allocates.
std::vector<PresetSection> readPresetSections(std::string_view text);

// Whether two names mean the same preset: capitals do not count, hyphens and underscores stand for blanks.
// [any thread] Allocates nothing.
bool samePresetName(std::string_view left, std::string_view right);
