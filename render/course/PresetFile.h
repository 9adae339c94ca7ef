// A user's presets in a file of plain text.
#pragma once

#include "render/course/Presets.h"

#include <string>
#include <vector>

// Reads the presets of a file. option: names the file in the call, for messages. Throws Fault (couldNot).
// Allocates.
std::vector<Preset> loadPresets(const std::string& option, const std::string& path);

// Writes what the controls hold as one preset (see presetText), named after the file. An existing file is
// replaced only when it holds a single preset, and not at all unless mayReplace. Throws Fault: wrongCall when
// the controls make no preset, couldNot when the place cannot take it. Allocates.
void savePreset(const std::string& path, const Controls& controls, bool mayReplace = true);
