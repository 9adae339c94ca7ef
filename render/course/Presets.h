// Named settings of the parameters: those that come with the program, and a user's own in plain text.
// Read by our own code because the packaged readers refuse less: of two keys or sections of one name, inih,
// SimpleIni and the reader in CLI11 let the second one win or join them, they take keys before the first
// section, and the latter two take a line that is neither a name nor a setting.
#pragma once

#include "render/course/Controls.h"

#include <string>
#include <string_view>
#include <vector>

struct Preset {
  std::string name;
  std::string description; // one line, may be empty
  Controls controls;       // constants for the parameters that the preset holds
};

// Reads presets from text: sections [name] of lines "key = value" with the keys description, color, tone,
// mode, on and pedal; # begins a comment, but for one in a description. subject: what the text is, for
// messages. Throws Fault (couldNot) naming the line that is wrong. Allocates.
std::vector<Preset> readPresets(const std::string& subject, std::string_view text);

// Whether two names mean the same preset: capitals do not count, hyphens and underscores stand for blanks.
// Allocates.
bool samePresetName(std::string_view left, std::string_view right);

// The presets that come with the program. Allocates.
std::vector<Preset> shippedPresets();

// The shipped presets as a table for a terminal. Ends with a line break. Allocates.
std::string presetList();

// The constants that the controls hold as the text of one preset, which readPresets reads back. A pedal that
// moves is left out. name: one line. Throws Fault (wrongCall) when there is nothing to save
// or another parameter moves. Allocates.
std::string presetText(const std::string& name, const Controls& controls);
