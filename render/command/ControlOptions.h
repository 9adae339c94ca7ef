// The options that move the pedal and set the other parameters, from the command line to the controls.
#pragma once

#include "render/course/Colors.h"
#include "render/course/Controls.h"
#include "render/course/PresetFile.h"
#include "render/course/Presets.h"

#include <string>

namespace CLI {
class App;
}

// What the user wrote; an option that is not given leaves its text empty.
struct ControlOptions {
  std::string pedal, pedalCc, pedalChannel;
  std::string interval;
  std::string tone, toneCc, toneChannel;
  std::string color, mode, on;
  std::string preset, loadPreset;
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
std::vector<Preset> presetsFrom(const CLI::App& app, const ControlOptions& options);

// The controls that the parsed options ask for: the preset first, unless it is each of them, then the options
// over it. Reads the files
// they name. Throws Fault: wrongCall for a text that means nothing, couldNot for a file that cannot be used.
// Allocates.
Controls controlsFrom(const CLI::App& app, const ControlOptions& options);
