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
  if ((!ownFile && !named) || options.eachPreset) return {};
  const auto presets = presetsFrom(app, options);
  if (named) return namedPreset(presets, options, ownFile).controls;
  if (presets.size() > 1) {
    throw Fault(ExitStatus::wrongCall, "--load-preset", options.loadPreset,
                "holds " + std::to_string(presets.size()) + " presets",
                "choose one with --preset: " + namesOf(presets));
  }
  return presets.front().controls;
}

// The course that an option's text means, or the file that it names; nothing when the option is not given.
std::optional<Course> movingCourse(const std::string& option, const CourseRule& rule,
                                   const std::optional<std::string>& text, const MidiChoice& choice) {
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

void setMoving(Controls& controls, Parameter parameter, const std::optional<std::string>& text,
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
  app.add_option("--interval", options.interval,
                 "in place of --pedal, the interval of the bent sound in semitones (+7st) or cents (-50c), "
                 "in the colour set or else the best one")
      ->type_name("VALUE|FILE")
      ->group(kParameterGroup);
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
          "print the colours: number, name, cents at heel and toe, mix");
  addFlag(
      "--each-color", options.eachColor, kParameterGroup,
      "render each recording in all eight colours, to compare them: take.wav to take-octave-up.wav and so "
      "on; needs --out-dir");
  add("--preset", options.preset, "NAME", kPresetGroup,
      "begin with the values of a preset; what other options set goes over them");
  add("--load-preset", options.loadPreset, "FILE", kPresetGroup,
      "take the preset from a file of one's own; --preset chooses among several");
  add("--save-preset", options.savePreset, "FILE", kPresetGroup,
      "write the values in force as a preset; a pedal that moves is left out");
  addFlag("--each-preset", options.eachPreset, kPresetGroup,
          "render each recording with every preset; needs --out-dir");
  addFlag("--list-presets", options.listPresets, kPresetGroup, "print the presets: name, description");
}

std::vector<Preset> presetsFrom(const CLI::App& app, const ControlOptions& options) {
  return app.count("--load-preset") != 0 ? loadPresets("--load-preset", options.loadPreset)
                                         : shippedPresets();
}

Controls controlsFrom(const CLI::App& app, const ControlOptions& options) {
  Controls controls = presetControls(app, options);
  setMoving(controls, kPedalPos, given(app, "--pedal", options.pedal),
            {"--pedal-cc", "--pedal-channel", given(app, "--pedal-cc", options.pedalCc),
             given(app, "--pedal-channel", options.pedalChannel)});
  setMoving(controls, kTone, given(app, "--tone", options.tone),
            {"--tone-cc", "--tone-channel", given(app, "--tone-cc", options.toneCc),
             given(app, "--tone-channel", options.toneChannel)});
  const auto set = [&](Parameter parameter, const std::string& text) {
    if (app.count(optionName(parameter)) != 0) controls.set(parameter, text);
  };
  set(kColor, options.color);
  set(kMode, options.mode);
  set(kOnOff, options.on);
  if (app.count("--interval") != 0) setInterval(controls, options.interval, app.count("--pedal") != 0);
  return controls;
}
