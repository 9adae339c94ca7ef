// Named settings of the parameters: those that come with the program, and a user's own in plain text.
#pragma once

#include "presets/PresetReader.h"
#include "render/course/Controls.h"

#include <string>
#include <string_view>
#include <vector>

struct Preset {
  std::string name;
  std::string description; // one line, may be empty
  Controls controls;       // constants for the parameters that the preset holds
};

// Reads presets from text as readPresetSections does, and their values as the options of the same name do.
// subject: what the text is, for messages. Throws Fault (couldNot) naming the line that is wrong, or when the
// text holds no preset. Allocates.
std::vector<Preset> readPresets(const std::string& subject, std::string_view text);

// The presets that come with the program. Allocates.
std::vector<Preset> shippedPresets();

// The shipped presets as a table for a terminal. Ends with a line break. Allocates.
std::string presetList();

// The constants that the controls hold as the text of one preset, which readPresets reads back. A pedal that
// moves is left out. name: one line. Throws Fault (wrongCall) when there is nothing to save
// or another parameter moves. Allocates.
std::string presetText(const std::string& name, const Controls& controls);
