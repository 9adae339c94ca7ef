#include "presets/PresetReader.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kDescriptionKey = "description";

std::string withoutBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

// A letter of a name as names are compared.
char plain(char letter) {
  if (letter >= 'A' && letter <= 'Z') return static_cast<char>(letter - 'A' + 'a');
  return letter == '-' || letter == '_' ? ' ' : letter;
}

class SectionReader {
public:
  void take(std::string_view line) {
    place = {place.number + 1, withoutBlanks(line)};
    if (place.text.empty() || place.text.front() == '#') return;
    if (place.text.front() == '[') {
      begin();
    } else {
      set();
    }
  }

  std::vector<PresetSection> sections;

private:
  [[noreturn]] void fail(const char* wrong, const char* right) const {
    throw PresetFault(place, wrong, right);
  }

  void begin() {
    const std::string_view line = place.text;
    const std::string name = withoutBlanks(line.substr(1, line.size() - 2));
    if (line.back() != ']' || name.empty()) fail("not a preset's name in brackets", "write [name]");
    const auto isSame = [&](const PresetSection& section) { return samePresetName(section.name, name); };
    if (std::ranges::any_of(sections, isSame))
      fail("a second preset of this name", "give every preset its own name");
    sections.push_back({name, {}, {}, place});
  }

  void set() {
    const std::string_view line = place.text;
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) fail("neither a name nor a setting", "write [name] or key = value");
    if (sections.empty()) fail("stands before the first preset", "write [name] above it");
    const std::string key = withoutBlanks(line.substr(0, equals));
    const std::string_view rest = line.substr(equals + 1);
    if (key == kDescriptionKey) {
      describe(withoutBlanks(rest));
    } else {
      setParameter(key, withoutBlanks(rest.substr(0, rest.find('#'))));
    }
  }

  void describe(const std::string& description) {
    if (!sections.back().description.empty()) fail("a second description", "keep one");
    sections.back().description = description;
  }

  void setParameter(const std::string& name, const std::string& value) {
    const auto* const key = std::ranges::find(kPresetKeys, name, &PresetKey::name);
    if (key == kPresetKeys.end())
      fail("no such key", "there are description, color, tone, mode, on and pedal");
    auto& settings = sections.back().settings;
    if (std::ranges::find(settings, key->parameter, &PresetSetting::parameter) != settings.end())
      fail("the key stands twice in this preset", "keep one");
    settings.push_back({key->parameter, value, place});
  }

  PresetLine place = {0, {}};
};

} // namespace

std::vector<PresetSection> readPresetSections(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  SectionReader reader;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    reader.take(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return std::move(reader.sections);
}

bool samePresetName(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, {}, plain, plain);
}
