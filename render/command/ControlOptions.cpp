#include "render/command/ControlOptions.h"

#include "render/course/CourseFile.h"
#include "render/course/Intervals.h"

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

const Preset& namedPreset(const std::vector<Preset>& presets, const ControlOptions& options) {
  const auto found = std::find_if(presets.begin(), presets.end(), [&](const Preset& preset) {
    return samePresetName(preset.name, *options.preset);
  });
  if (found == presets.end()) {
    throw Fault(ExitStatus::wrongCall, "--preset", *options.preset, "no such preset",
                options.loadPreset ? "'" + *options.loadPreset + "' holds " + namesOf(presets)
                                   : "--list-presets lists their names");
  }
  return *found;
}

Controls presetControls(const ControlOptions& options) {
  if ((!options.loadPreset && !options.preset) || options.eachPreset) return {};
  const auto presets = presetsFrom(options);
  if (options.preset) return namedPreset(presets, options).controls;
  if (presets.size() > 1) {
    throw Fault(ExitStatus::wrongCall, "--load-preset", *options.loadPreset,
                "holds " + std::to_string(presets.size()) + " presets",
                "choose one with --preset: " + namesOf(presets));
  }
  return presets.front().controls;
}

// The course that an option's text means, or the file that it names; nothing when the option is not given.
std::optional<Course> movingCourse(const std::string& option, const CourseRule& rule,
                                   const ControlOptions::Text& text, const MidiChoice& choice) {
  if (text && meansFile(*text, rule)) return readCourseFile(option, *text, rule, choice);
  refuseChoice(option, choice);
  if (!text) return {};
  constexpr char kForValues[] =
      "seconds:value points, a shape such as sine:4, or the name of a CSV or MIDI file";
  constexpr char kForIntervals[] =
      "seconds:interval points, a shape such as sine:4:0c-+2st, or the name of a CSV file";
  const char* const alternative = rule.units.empty() ? kForValues : kForIntervals;
  return Course::parse(*text, rule, {ExitStatus::wrongCall, option, 0, {}, ':', alternative});
}

void setMoving(Controls& controls, Parameter parameter, const ControlOptions::Text& text,
               const MidiChoice& choice) {
  if (auto course = movingCourse(optionName(parameter), courseRule(parameter), text, choice))
    controls.set(parameter, std::move(*course));
}

// After the colour is set, which says what the pedal's ends mean. A change of colour would need the pedal in
// another place at once, and the effect lets it glide there for a tenth of a second: wrong intervals.
void setInterval(Controls& controls, const std::string& text, bool besidePedal) {
  constexpr char kOption[] = "--interval";
  if (besidePedal)
    throw Fault(ExitStatus::wrongCall, kOption, text, "sets the pedal, and so does --pedal",
                "give one of them");
  const Course* const color = controls.course(kColor);
  const auto number = color ? color->constant() : std::nullopt;
  if (color && !number) {
    throw Fault(ExitStatus::wrongCall, kOption, text, "the colour changes, and with it what the pedal means",
                "give a single --color, or set the pedal with --pedal");
  }
  const CourseRule rule = intervalRule(number ? std::optional(static_cast<int>(*number)) : std::nullopt);
  controls.followInterval(*movingCourse(kOption, rule, text, {}));
}

// An empty text is given too; the library would take it for none.
void addText(CLI::App& app, const std::string& name, ControlOptions::Text& text, const char* type,
             const char* group, const std::string& help) {
  app.add_option_function<std::string>(
         name, [&text](const std::string& typed) { text = typed; }, help)
      ->type_name(type)
      ->group(group);
}

void addMovingOption(CLI::App& app, const std::string& name, ControlOptions::Text& text,
                     ControlOptions::Text& controller, ControlOptions::Text& channel,
                     const std::string& help) {
  addText(app, "--" + name, text, "VALUE|FILE", kParameterGroup, help);
  addText(app, "--" + name + "-cc", controller, "N", kParameterGroup,
          "which controller of a MIDI file moves the " + name +
              ", 0 to 127; 11 if not given. Its messages are points like others, joined by straight lines");
  addText(app, "--" + name + "-channel", channel, "N", kParameterGroup,
          "which MIDI channel it is on, 1 to 16; any if not given");
}

} // namespace

void addControlOptions(CLI::App& app, ControlOptions& options) {
  addMovingOption(app, "pedal", options.pedal, options.pedalCc, options.pedalChannel,
                  "where the pedal stands, 0 (heel) to 1 (toe)");
  addText(app, "--interval", options.interval, "VALUE|FILE", kParameterGroup,
          "in place of --pedal, the interval of the bent sound in semitones (+7st) or cents (-50c), "
          "in the colour set or else the best one");
  addMovingOption(app, "tone", options.tone, options.toneCc, options.toneChannel,
                  "tone of the bent sound, 0 to 1");
  const auto addFlag = [&](const char* name, bool& flag, const char* group, const char* help) {
    app.add_flag(name, flag, help)->group(group);
  };
  addText(app, "--color", options.color, "VALUE", kParameterGroup,
          "which of the eight colours: its number, 0 to 7, or name");
  addText(app, "--mode", options.mode, "VALUE", kParameterGroup,
          "guitar or bass; a label without effect on the sound");
  addText(app, "--on", options.on, "VALUE", kParameterGroup, "whether the pedal is switched on: on or off");
  addFlag("--list-colors", options.listColors, kParameterGroup,
          "print the colours: number, name, cents at heel and toe, mix");
  addFlag(
      "--each-color", options.eachColor, kParameterGroup,
      "render each recording in all eight colours, to compare them: take.wav to take-octave-up.wav and so "
      "on; needs --out-dir");
  addText(app, "--preset", options.preset, "NAME", kPresetGroup,
          "begin with the values of a preset; what other options set goes over them");
  addText(app, "--load-preset", options.loadPreset, "FILE", kPresetGroup,
          "take the preset from a file of one's own; --preset chooses among several");
  app.add_option("--save-preset", options.savePreset,
                 "write the values in force as a preset; a pedal that moves is left out")
      ->type_name("FILE")
      ->group(kPresetGroup);
  addFlag("--each-preset", options.eachPreset, kPresetGroup,
          "render each recording with every preset; needs --out-dir");
  addFlag("--list-presets", options.listPresets, kPresetGroup, "print the presets: name, description");
}

std::vector<Preset> presetsFrom(const ControlOptions& options) {
  return options.loadPreset ? loadPresets("--load-preset", *options.loadPreset) : shippedPresets();
}

Controls controlsFrom(const ControlOptions& options) {
  Controls controls = presetControls(options);
  setMoving(controls, kPedalPos, options.pedal,
            {"--pedal-cc", "--pedal-channel", options.pedalCc, options.pedalChannel});
  setMoving(controls, kTone, options.tone,
            {"--tone-cc", "--tone-channel", options.toneCc, options.toneChannel});
  if (options.color) controls.set(kColor, *options.color);
  if (options.mode) controls.set(kMode, *options.mode);
  if (options.on) controls.set(kOnOff, *options.on);
  if (options.interval) setInterval(controls, *options.interval, options.pedal.has_value());
  return controls;
}
