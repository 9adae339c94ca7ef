// writeData TEMPLATES PRESETS.conf BUNDLE MINOR MICRO
//
// Writes the bundle's data: the Turtle files of the directory TEMPLATES with the numbers and names that the
// engine has, and the presets. MINOR and MICRO are its version. When the presets have a fault, it says so
// with their line, writes nothing, and ends with 1.
#include "engine/PedalNumbers.h"
#include "presets/PresetReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Control {
  Parameter parameter;
  std::string symbol; // the port's
  double highest;     // of 0..highest
  bool isWhole;
  std::vector<std::string> words; // names of the values from 0 on
};

std::vector<std::string> colorNames() {
  std::vector<std::string> names;
  for (const Color& color : kColorTable)
    names.emplace_back(color.name);
  return names;
}

constexpr const char* kModeNames[] = {"guitar", "bass"};
constexpr std::size_t kPresetControls = 4;

// What a preset may hold: all but the pedal, which is the player's.
const std::array<Control, kPresetControls>& presetControls() {
  static const std::array<Control, kPresetControls> controls = {
      {{kOnOff, "enabled", 1.0, true, {"off", "on"}},
       {kMode, "mode", 1.0, true, {std::begin(kModeNames), std::end(kModeNames)}},
       {kColor, "color", kColorCount - 1.0, true, colorNames()},
       {kTone, "tone", 1.0, false, {}}}};
  return controls;
}

struct Preset {
  std::string name, description;
  std::array<std::optional<double>, kPresetControls> values;
};

// Letters made small and digits, other characters as one hyphen between them.
std::string hyphened(const std::string& text) {
  std::string plain;
  for (const char character : text) {
    const bool isLetter = character >= 'A' && character <= 'Z';
    const char small = isLetter ? static_cast<char>(character - 'A' + 'a') : character;
    if ((small >= 'a' && small <= 'z') || (small >= '0' && small <= '9'))
      plain += small;
    else if (!plain.empty() && plain.back() != '-')
      plain += '-';
  }
  if (plain.ends_with('-')) plain.pop_back();
  return plain;
}

double valueOf(const Control& control, const PresetSetting& setting) {
  const std::string& text = setting.value;
  const auto word = std::ranges::find(control.words, text);
  if (word != control.words.end()) return static_cast<double>(word - control.words.begin());
  double value = -1.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isInRange = value >= 0.0 && value <= control.highest;
  const bool isRead = error == std::errc() && end == text.data() + text.size();
  if (!isRead || !isInRange || (control.isWhole && value != static_cast<int>(value)))
    throw PresetFault(setting.line, "no such value", "give a name or number that the port has");
  return value;
}

Preset presetOf(const PresetSection& section) {
  if (hyphened(section.name).empty())
    throw PresetFault(section.line, "nothing to make an address of", "give a name in plain letters");
  Preset preset = {section.name, section.description, {}};
  for (const PresetSetting& setting : section.settings) {
    const auto& controls = presetControls();
    const auto* const control = std::ranges::find(controls, setting.parameter, &Control::parameter);
    if (control == controls.end())
      throw PresetFault(setting.line, "moves the pedal, which is the player's", "take the line away");
    preset.values[control - controls.begin()] = valueOf(*control, setting);
  }
  return preset;
}

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path.string() + ": cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Preset> readPresets(const std::string& path) try {
  std::vector<Preset> presets;
  for (const PresetSection& section : readPresetSections(contentsOf(path))) {
    const auto hasAddress = [&](const Preset& preset) {
      return hyphened(preset.name) == hyphened(section.name);
    };
    if (std::ranges::any_of(presets, hasAddress))
      throw PresetFault(section.line, "a second preset of this address", "give it another name");
    presets.push_back(presetOf(section));
  }
  return presets;
} catch (const PresetFault& fault) {
  throw std::runtime_error(path + ":" + std::to_string(fault.line.number) + ": '" + fault.line.text +
                           "': " + fault.what() + "; " + fault.right);
}

template <typename Number> std::string numberText(Number value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// Some hosts take a preset's value only when it is written as a fraction.
template <typename Number> std::string fractionText(Number value) {
  const std::string text = numberText(value);
  return text.find('.') == std::string::npos ? text + ".0" : text;
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') result += '\\';
    result += character;
  }
  return result + '"';
}

std::string settingsOf(const Preset& preset) {
  std::string settings;
  for (std::size_t k = 0; k < kPresetControls; ++k) {
    if (!preset.values[k]) continue;
    settings += settings.empty() ? " ;\n\tlv2:port [" : " , [";
    settings += "\n\t\tlv2:symbol " + quoted(presetControls()[k].symbol) + " ;\n\t\tpset:value " +
                fractionText(*preset.values[k]) + "\n\t]";
  }
  return settings;
}

// The entries by which a host finds the presets, or all that they hold.
std::string entriesOf(const std::vector<Preset>& presets, bool isManifest) {
  std::string text;
  for (const Preset& preset : presets) {
    text +=
        "\n<urn:treadshift:preset:" + hyphened(preset.name) +
        ">\n\ta pset:Preset ;\n\tlv2:appliesTo <urn:treadshift:pedal> , <urn:treadshift:pedal-stereo> ;\n";
    if (isManifest) {
      text += "\trdfs:seeAlso <presets.ttl> .\n";
      continue;
    }
    text += "\trdfs:label " + quoted(preset.name);
    if (!preset.description.empty()) text += " ;\n\trdfs:comment " + quoted(preset.description);
    text += settingsOf(preset) + " .\n";
  }
  return text;
}

// A name as a player reads it: "semitone-down" is "Semitone down".
std::string spoken(std::string name) {
  std::ranges::replace(name, '-', ' ');
  if (name[0] >= 'a' && name[0] <= 'z') name[0] = static_cast<char>(name[0] - 'a' + 'A');
  return name;
}

std::string semitones(double cents) {
  return std::string(cents > 0.0 ? "+" : "") + numberText(cents / 100.0);
}

std::string labelOf(const Color& color) {
  return std::to_string(color.number) + " " + spoken(std::string(color.name)) + " (" +
         semitones(color.centsAtHeel) + " to " + semitones(color.centsAtToe) + ")";
}

std::string mixOf(const Color& color) {
  switch (color.mixMode) {
  case kBentAlone:
    return "the bent note alone";
  case kBentFadesIntoDry:
    return "the bent note, which fades into the played one towards the toe";
  case kDryFadesOut:
    return "the bent note and the played one, which fades out towards the toe";
  default:
    return "the bent note beside the played one";
  }
}

std::string scalePoints(const std::vector<std::string>& labels) {
  std::string points;
  for (std::size_t value = 0; value < labels.size(); ++value)
    points += (value == 0 ? "[" : " , [") + ("\n\t\t\trdfs:label " + quoted(labels[value])) +
              " ;\n\t\t\trdf:value " + std::to_string(value) + "\n\t\t]";
  return points;
}

std::vector<std::string> modeLabels() {
  std::vector<std::string> labels;
  std::ranges::transform(kModeNames, std::back_inserter(labels), spoken);
  return labels;
}

// What stands in the templates between two @, and what takes its place.
std::map<std::string, std::string> insertions(const std::string& minor, const std::string& micro) {
  std::vector<std::string> colors;
  std::string colorList;
  for (const Color& color : kColorTable) {
    colors.push_back(labelOf(color));
    colorList += "- " + labelOf(color) + ": " + mixOf(color) + "\n";
  }
  const auto initially = [](Parameter parameter) { return numberText(kParameterDefaults[parameter]); };
  return {{"MINOR", minor},
          {"MICRO", micro},
          {"MODES", scalePoints(modeLabels())},
          {"COLORS", scalePoints(colors)},
          {"COLOR_LIST", colorList},
          {"LAST_COLOR", std::to_string(kColorCount - 1)},
          {"DEFAULT_ENABLED", initially(kOnOff)},
          {"DEFAULT_MODE", initially(kMode)},
          {"DEFAULT_COLOR", std::to_string(colorOf(kParameterDefaults[kColor]))},
          {"DEFAULT_TONE", fractionText(kParameterDefaults[kTone])},
          {"DEFAULT_PEDAL", fractionText(kParameterDefaults[kPedalPos])}};
}

// A template with its marks replaced; each has to have an insertion.
std::string filled(const fs::path& path, const std::map<std::string, std::string>& insertions) {
  const std::string text = contentsOf(path);
  std::string result;
  std::size_t done = 0;
  for (std::size_t mark = text.find('@'); mark != std::string::npos; mark = text.find('@', done)) {
    const std::size_t end = text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_", mark + 1);
    const bool isMark = end != std::string::npos && end > mark + 1 && text[end] == '@';
    result.append(text, done, mark - done);
    result += isMark ? insertions.at(text.substr(mark + 1, end - mark - 1)) : "@";
    done = isMark ? end + 1 : mark + 1;
  }
  return result.append(text, done);
}

void write(const fs::path& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(path.string() + ": cannot be written");
}

void writeBundle(const fs::path& templates, const fs::path& bundle, const std::vector<Preset>& presets,
                 std::map<std::string, std::string> insertions) {
  insertions["PEDAL"] = filled(templates / "pedal.ttl", insertions);
  const std::string manifest = contentsOf(templates / "manifest.ttl");
  const std::string prefixes = manifest.substr(0, manifest.find("\n\n") + 1);
  fs::create_directories(bundle);
  write(bundle / "treadshift.ttl", filled(templates / "treadshift.ttl", insertions));
  write(bundle / "presets.ttl", prefixes + entriesOf(presets, false));
  write(bundle / "manifest.ttl", manifest + entriesOf(presets, true));
}

} // namespace

int main(int count, char** words) try {
  if (count != 6) {
    std::fputs("usage: writeData TEMPLATES PRESETS.conf BUNDLE MINOR MICRO\n", stderr);
    return 2;
  }
  writeBundle(words[1], words[3], readPresets(words[2]), insertions(words[4], words[5]));
} catch (const std::exception& wrong) {
  std::fprintf(stderr, "writeData: %s\n", wrong.what());
  return 1;
}
