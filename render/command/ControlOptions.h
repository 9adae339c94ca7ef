// The options that move the pedal and set the other parameters, from the command line to the controls.
#pragma once

#include "render/course/Colors.h"
#include "render/course/Controls.h"
#include "render/course/PresetFile.h"
#include "render/course/Presets.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

// What the user wrote; an option that is not given has no text.
struct ControlOptions {
  using Text = std::optional<std::string>;

  Text pedal, pedalCc, pedalChannel;
  Text interval;
  Text tone, toneCc, toneChannel;
  Text color, mode, on;
  Text preset, loadPreset;
  std::string savePreset; // the file to write
  bool listPresets = false;
  bool listColors = false;
  bool eachColor = false; // renders in all of them
  bool eachPreset = false;
};

// Adds the options under the groups "Pedal and parameters" and "Presets". options must outlive the app.
// Allocates.
void addControlOptions(CLI::App& app, ControlOptions& options);

// The presets that --preset chooses among: the shipped ones or those of --load-preset. Throws Fault
// (couldNot). Allocates.
std::vector<Preset> presetsFrom(const ControlOptions& options);

// The controls that the options ask for: the preset first, unless it is each of them, then the options over
// it. Reads the files they name. Throws Fault: wrongCall for a text that means nothing, couldNot for a file
// that cannot be used. Allocates.
Controls controlsFrom(const ControlOptions& options);
