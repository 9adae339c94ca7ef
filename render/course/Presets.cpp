#include "render/course/Presets.h"

#include "presets/PresetReader.h"
#include "presets/ShippedPresets.h"
#include "render/text/Text.h"

#include <algorithm>

namespace {

Preset presetOf(const PresetSection& section, const std::string& subject) {
  Preset preset = {section.name, section.description, {}};
  for (const PresetSetting& setting : section.settings) {
    const TextPlace place = {ExitStatus::couldNot, subject, setting.line.number, setting.line.text, ':', {}};
    const CourseRule& rule = courseRule(setting.parameter);
    preset.controls.set(setting.parameter,
                        Course({{0.0, ruledValue(rule, setting.value, place)}}, rule.stepped));
  }
  return preset;
}

// A value as a preset's file shows it: the parameter's word for it, if there is one.
std::string valueText(const CourseRule& rule, double value) {
  for (const auto& [word, meaning] : rule.words) {
    if (meaning == value) return std::string(word);
  }
  return shortest(value);
}

} // namespace

std::vector<Preset> readPresets(const std::string& subject, std::string_view text) try {
  std::vector<Preset> presets;
  for (const PresetSection& section : readPresetSections(text))
    presets.push_back(presetOf(section, subject));
  if (presets.empty()) {
    throw Fault(ExitStatus::couldNot, subject, {}, "holds no preset", "write [name] and lines key = value");
  }
  return presets;
} catch (const PresetFault& fault) {
  failAt({ExitStatus::couldNot, subject, fault.line.number, fault.line.text, ':', {}}, fault.what(),
         fault.right);
}

std::string presetText(const std::string& name, const Controls& controls) {
  std::string settings;
  for (const PresetKey& key : kPresetKeys) {
    const Course* const course = controls.course(key.parameter);
    if (!course) continue;
    const auto value = course->constant();
    if (!value && key.parameter == kPedalPos) continue;
    if (!value) {
      throw Fault(ExitStatus::wrongCall, "--save-preset", {}, optionName(key.parameter) + " moves",
                  "a preset holds single values; only the pedal may move, and is left out");
    }
    settings += std::string(key.name) + " = " + valueText(courseRule(key.parameter), *value) + "\n";
  }
  if (settings.empty()) {
    throw Fault(ExitStatus::wrongCall, "--save-preset", {}, "there is nothing to save",
                "give --color, --tone, --mode, --on or a --pedal that stands still");
  }
  return "[" + name + "]\n" + settings;
}

std::vector<Preset> shippedPresets() { return readPresets("presets", shippedPresetsText()); }

std::string presetList() {
  const auto presets = shippedPresets();
  std::size_t width = 0;
  for (const Preset& preset : presets)
    width = std::max(width, preset.name.size());
  std::string list;
  for (const Preset& preset : presets)
    list += preset.name + std::string(width - preset.name.size() + 2, ' ') + preset.description + "\n";
  return list;
}
