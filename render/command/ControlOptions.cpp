#include "render/command/ControlOptions.h"

#include "render/course/CourseFile.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

constexpr char kParameterGroup[] = "Pedal and parameters";
constexpr char kPresetGroup[] = "Presets";

std::string namesOf(const std::vector<Preset>& presets) {
  std::string names;
  for (const Preset& preset : presets)
    names += (names.empty() ? "" : ", ") + preset.name;
  return names;
}

std::optional<std::string> given(const CLI::App& app, const std::string& option, const std::string& text) {
  if (app.count(option) == 0) return {};
  return text;
}

const Preset& namedPreset(const std::vector<Preset>& presets, const ControlOptions& options, bool ownFile) {
  const auto found = std::find_if(presets.begin(), presets.end(), [&](const Preset& preset) {
    return samePresetName(preset.name, options.preset);
  });
  if (found == presets.end()) {
    throw Fault(ExitStatus::wrongCall, "--preset", options.preset, "no such preset",
                ownFile ? "'" + options.loadPreset + "' holds " + namesOf(presets)
                        : "--list-presets tells their names");
  }
  return *found;
}

Controls presetControls(const CLI::App& app, const ControlOptions& options) {
  const bool ownFile = app.count("--load-preset") != 0;
  const bool named = app.count("--preset") != 0;
  if (!ownFile && !named) return {};
  const auto presets = ownFile ? loadPresets("--load-preset", options.loadPreset) : shippedPresets();
  if (named) return namedPreset(presets, options, ownFile).controls;
  if (presets.size() > 1) {
    throw Fault(ExitStatus::wrongCall, "--load-preset", options.loadPreset,
                "holds " + std::to_string(presets.size()) + " presets",
                "choose one with --preset: " + namesOf(presets));
  }
  return presets.front().controls;
}

// A parameter that moves in lines, by what its option says or by a file that it names.
void setMoving(Controls& controls, ParameterIndex parameter, const std::optional<std::string>& text,
               const MidiChoice& choice) {
  const std::string& option = optionName(parameter);
  const CourseRule& rule = courseRule(parameter);
  if (text && meansFile(*text)) {
    controls.set(parameter, readCourseFile(option, *text, rule, choice));
    return;
  }
  refuseChoice(option, choice);
  if (!text) return;
  const TextPlace place = {
      ExitStatus::wrongCall, option, 0, {}, ':', "seconds:value points, or the name of a CSV or MIDI file"};
  controls.set(parameter, Course::parse(*text, rule, place));
}

void addMovingOption(CLI::App& app, const std::string& name, std::string& text, std::string& controller,
                     std::string& channel, const std::string& help) {
  app.add_option("--" + name, text, help)->type_name("VALUE|FILE")->group(kParameterGroup);
  app.add_option(
         "--" + name + "-cc", controller,
         "which controller of a MIDI file moves the " + name +
             ", 0 to 127; 11 if not given. Its messages are points like others, joined by straight lines")
      ->type_name("N")
      ->group(kParameterGroup);
  app.add_option("--" + name + "-channel", channel, "which MIDI channel it is on, 1 to 16; any if not given")
      ->type_name("N")
      ->group(kParameterGroup);
}

} // namespace

void addControlOptions(CLI::App& app, ControlOptions& options) {
  addMovingOption(app, "pedal", options.pedal, options.pedalCc, options.pedalChannel,
                  "where the pedal stands, 0 (heel) to 1 (toe)");
  addMovingOption(app, "tone", options.tone, options.toneCc, options.toneChannel,
                  "tone of the bent sound, 0 to 1");
  const auto add = [&](const char* name, std::string& text, const char* type, const char* group,
                       const char* help) { app.add_option(name, text, help)->type_name(type)->group(group); };
  const auto addFlag = [&](const char* name, bool& flag, const char* group, const char* help) {
    app.add_flag(name, flag, help)->group(group);
  };
  add("--color", options.color, "VALUE", kParameterGroup,
      "which of the eight colours: its number, 0 to 7, or name");
  add("--mode", options.mode, "VALUE", kParameterGroup, "guitar or bass; a mark without effect on the sound");
  add("--on", options.on, "VALUE", kParameterGroup, "whether the pedal is switched on: on or off");
  addFlag("--list-colors", options.listColors, kParameterGroup,
          "print the colours: number, name, interval at heel and toe, mix");
  add("--preset", options.preset, "NAME", kPresetGroup,
      "begin with the values of a preset; what other options set goes over them");
  add("--load-preset", options.loadPreset, "FILE", kPresetGroup,
      "take the preset from a file of one's own; --preset chooses among several");
  add("--save-preset", options.savePreset, "FILE", kPresetGroup,
      "write the values in force as a preset; a pedal that moves is left out");
  addFlag("--list-presets", options.listPresets, kPresetGroup, "print the presets: name, description");
}

Controls controlsFrom(const CLI::App& app, const ControlOptions& options) {
  Controls controls = presetControls(app, options);
  setMoving(controls, kParameterPedal, given(app, "--pedal", options.pedal),
            {"--pedal-cc", "--pedal-channel", given(app, "--pedal-cc", options.pedalCc),
             given(app, "--pedal-channel", options.pedalChannel)});
  setMoving(controls, kParameterTone, given(app, "--tone", options.tone),
            {"--tone-cc", "--tone-channel", given(app, "--tone-cc", options.toneCc),
             given(app, "--tone-channel", options.toneChannel)});
  const auto set = [&](ParameterIndex parameter, const std::string& text) {
    if (app.count(optionName(parameter)) != 0) controls.set(parameter, text);
  };
  set(kParameterColor, options.color);
  set(kParameterMode, options.mode);
  set(kParameterOn, options.on);
  return controls;
}
