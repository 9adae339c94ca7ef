#include "render/course/Presets.h"

#include "presets/ShippedPresets.h"
#include "render/text/Text.h"

#include <algorithm>
#include <array>

namespace {

struct Key {
  std::string_view name;
  Parameter parameter;
};

// In the order in which a preset is written.
constexpr std::array<Key, kParameterCount> kKeys = {
    {{"color", kColor}, {"tone", kTone}, {"mode", kMode}, {"on", kOnOff}, {"pedal", kPedalPos}}};
constexpr std::string_view kDescriptionKey = "description";

// Reads presets line by line; the place of the line is in every fault.
class PresetReader {
public:
  explicit PresetReader(const std::string& textName) : subject(textName) {}

  std::vector<Preset> read(std::string_view text) {
    for (Lines lines(text); lines.next();) {
      const std::string_view line = lines.line();
      if (line.empty() || line.front() == '#') continue;
      place = {ExitStatus::couldNot, subject, lines.number(), line, ':', {}};
      if (line.front() == '[') {
        begin(line);
      } else {
        set(line);
      }
    }
    if (presets.empty()) {
      throw Fault(ExitStatus::couldNot, subject, {}, "holds no preset", "write [name] and lines key = value");
    }
    return std::move(presets);
  }

private:
  void begin(std::string_view line) {
    const std::string_view name = trimmed(line.substr(1, line.size() - 2));
    if (line.back() != ']' || line.size() < 2 || name.empty()) {
      failAt(place, "not a preset's name in brackets", "write [name]");
    }
    const auto isSame = [&](const Preset& preset) { return samePresetName(preset.name, name); };
    if (std::any_of(presets.begin(), presets.end(), isSame)) {
      failAt(place, "a second preset of this name", "give every preset its own name");
    }
    presets.push_back({std::string(name), {}, {}});
  }

  void set(std::string_view line) {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos)
      failAt(place, "neither a name nor a setting", "write [name] or key = value");
    if (presets.empty()) failAt(place, "stands before the first preset", "write [name] above it");
    const std::string_view name = trimmed(line.substr(0, equals));
    const std::string_view rest = trimmed(line.substr(equals + 1));
    Preset& preset = presets.back();
    if (name == kDescriptionKey) {
      if (!preset.description.empty()) failAt(place, "a second description", "keep one");
      preset.description = rest;
      return;
    }
    const auto* const key =
        std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& k) { return k.name == name; });
    if (key == kKeys.end()) {
      failAt(place, "no such key", "there are description, color, tone, mode, on and pedal");
    }
    if (preset.controls.course(key->parameter))
      failAt(place, "the key stands twice in this preset", "keep one");
    const std::string_view value = trimmed(rest.substr(0, rest.find('#')));
    const CourseRule& rule = courseRule(key->parameter);
    preset.controls.set(key->parameter, Course({{0.0, ruledValue(rule, value, place)}}, rule.stepped));
  }

  const std::string& subject;
  TextPlace place = {};
  std::vector<Preset> presets;
};

// A value as a preset's file shows it: the parameter's word for it, if there is one.
std::string valueText(const CourseRule& rule, double value) {
  for (const auto& [word, meaning] : rule.words) {
    if (meaning == value) return std::string(word);
  }
  return shortest(value);
}

} // namespace

bool samePresetName(std::string_view left, std::string_view right) {
  const auto plain = [](char character) { return character == '-' || character == '_' ? ' ' : character; };
  const auto same = [&](char l, char r) { return plain(l) == plain(r); };
  const std::string first = lowerCase(left), second = lowerCase(right);
  return std::equal(first.begin(), first.end(), second.begin(), second.end(), same);
}

std::vector<Preset> readPresets(const std::string& subject, std::string_view text) {
  return PresetReader(subject).read(text);
}

std::string presetText(const std::string& name, const Controls& controls) {
  std::string settings;
  for (const Key& key : kKeys) {
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
