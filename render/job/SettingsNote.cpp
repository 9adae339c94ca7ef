#include "render/job/SettingsNote.h"

#include "render/course/Controls.h"
#include "render/course/CourseFile.h"
#include "render/sound/SoundFormat.h"
#include "render/sound/Tags.h"
#include "render/text/Fault.h"
#include "render/text/Text.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace {

constexpr std::string_view kProgram = "treadshift-render ";
constexpr std::string_view kPlain =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,:;+-_/@%=~";

std::string quoted(const std::string& value) {
  if (!value.empty() && value.find_first_not_of(kPlain) == std::string::npos) return value;
  std::string text = "'";
  return text.append(value).append(1, '\'');
}

void append(std::string& line, const NotedSetting& setting) {
  line.append(1, ' ').append(setting.option);
  if (!setting.value.empty()) line.append(1, ' ').append(quoted(setting.value));
}

bool isVersion(std::string_view text) {
  return !text.empty() && text.size() <= 40 && text.find_first_not_of(kPlain) == std::string_view::npos;
}

// Where the options begin in a line that this program has written; npos in any other.
std::size_t optionsIn(std::string_view line) {
  if (!line.starts_with(kProgram)) return std::string_view::npos;
  const auto colon = line.find(':', kProgram.size());
  if (colon == std::string_view::npos || !isVersion(line.substr(kProgram.size(), colon - kProgram.size())))
    return std::string_view::npos;
  return colon + 1;
}

// Of the options that may be noted only courses are read from files.
bool namesFile(const std::string& option, const std::string& value) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto parameter = static_cast<Parameter>(index);
    if (optionName(parameter) == option) return meansFile(value, courseRule(parameter));
  }
  return false;
}

class NoteReader {
public:
  NoteReader(const std::string& file, std::string_view options) : path(file), rest(options) {}

  std::vector<NotedSetting> read() {
    std::vector<NotedSetting> settings;
    while (!(rest = trimmed(rest)).empty())
      settings.push_back(setting(settings));
    return settings;
  }

private:
  [[noreturn]] void fail(const std::string& wrong) const {
    throw Fault(ExitStatus::couldNot, "--again", path, wrong, "give the options themselves");
  }

  NotedSetting setting(const std::vector<NotedSetting>& before) {
    const std::string name = word();
    const auto known = std::find_if(notedOptions().begin(), notedOptions().end(),
                                    [&](const NotedOption& option) { return option.name == name; });
    if (known == notedOptions().end()) fail("its comment names '" + excerpt(name) + "', which is no setting");
    const bool isSecond = std::any_of(before.begin(), before.end(),
                                      [&](const NotedSetting& other) { return other.option == name; });
    if (isSecond) fail("its comment names " + name + " twice");
    if (!known->takesValue) return {name, ""};
    const std::string value = word();
    if (value.empty()) fail("its comment gives " + name + " no value");
    if (value != kTooLongValue && namesFile(name, value))
      fail("its comment names the file '" + excerpt(value) + "', which is not read");
    return {name, value};
  }

  // Up to a blank, or what stands in quotes; empty at the end.
  std::string word() {
    rest = trimmed(rest);
    const bool isQuoted = rest.starts_with('\'');
    const auto end = isQuoted ? rest.find('\'', 1) : std::min(rest.find(' '), rest.size());
    if (end == std::string_view::npos) fail("its comment has a quotation without an end");
    std::string text(isQuoted ? rest.substr(1, end - 1) : rest.substr(0, end));
    rest.remove_prefix(isQuoted ? end + 1 : end);
    return text;
  }

  const std::string& path;
  std::string_view rest;
};

[[noreturn]] void failForeign(const std::string& path, const std::string& wrong) {
  throw Fault(ExitStatus::couldNot, "output", path, wrong,
              "to render several recordings give --out-dir DIR, to replace it -y");
}

} // namespace

const char kTooLongValue[] = "(too long to keep)";

const std::vector<NotedOption>& notedOptions() {
  static const std::vector<NotedOption> options = {
      {"--on", true},         {"--mode", true},   {"--tone", true},     {"--color", true},  {"--pedal", true},
      {"--block", true},      {"--bits", true},   {"--channels", true}, {"--from", true},   {"--to", true},
      {"--tail", true},       {"--wet", false},   {"--dry-gain", true}, {"--align", false}, {"--gain", true},
      {"--normalize", false}, {"--dither", false}};
  return options;
}

SettingsNote settingsNote(const std::string& version, const Controls& controls,
                          const std::vector<NotedSetting>& others) {
  SettingsNote note = {std::string(kProgram) + version + ":", {}};
  for (int index = 0; index < kParameterCount; ++index) {
    const auto parameter = static_cast<Parameter>(index);
    const Course* const course = controls.course(parameter);
    if (!course) continue;
    std::string value = course->text();
    if (value.size() > kLongestNotedValue) {
      note.details.push_back("the comment does not tell " + optionName(parameter) + ", whose course of " +
                             std::to_string(value.size()) + " characters is longer than " +
                             std::to_string(kLongestNotedValue) + "; --again will not repeat it");
      value = kTooLongValue;
    }
    append(note.line, {optionName(parameter), value});
  }
  for (const NotedSetting& setting : others)
    append(note.line, setting);
  return note;
}

std::string settingsNoteOf(const std::string& path) {
  const std::string comment = readTags(path).comment();
  std::string last;
  for (Lines lines(comment); lines.next();)
    if (optionsIn(lines.line()) != std::string_view::npos) last = lines.line();
  return last;
}

std::vector<NotedSetting> notedSettings(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw Fault(ExitStatus::couldNot, "--again", path,
                std::filesystem::exists(path, error) ? "not a regular file" : "no such file",
                "give a recording that this program made");
  }
  const std::string line = settingsNoteOf(path);
  if (line.empty()) {
    throw Fault(ExitStatus::couldNot, "--again", path, "its comment does not tell how this program made it",
                "give the options themselves");
  }
  return NoteReader(path, std::string_view(line).substr(optionsIn(line))).read();
}

void refuseToReplaceForeign(const std::string& path) {
  std::error_code error;
  if (std::filesystem::file_size(path, error) == 0 && !error) return;
  const SoundType* const type = typeOfName(path);
  if (type && !holdsComment(type->container))
    failForeign(path, "exists, and a file of this type does not tell whether this program made it");
  if (settingsNoteOf(path).empty()) failForeign(path, "exists, and this program did not make it");
}
