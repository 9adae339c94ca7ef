#include "render/course/CourseFile.h"

#include "render/course/CsvCourse.h"
#include "render/file/TextFile.h"
#include "render/text/Text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::size_t kLargestBytes = 16u << 20;
constexpr int kExpressionController = 11;

std::string extensionOf(const std::string& path) {
  return lowerCase(std::filesystem::path(path).extension().string());
}

bool hasMidiName(const std::string& path) {
  constexpr std::array<std::string_view, 4> kExtensions = {".mid", ".midi", ".smf", ".kar"};
  return std::find(kExtensions.begin(), kExtensions.end(), extensionOf(path)) != kExtensions.end();
}

bool isUnit(const CourseRule& rule, const std::string& word) {
  return std::any_of(rule.units.begin(), rule.units.end(),
                     [&](const Unit& unit) { return unit.name == word; });
}

// A shape, or nothing but numbers, what stands between them, and units.
bool couldBeCourse(const std::string& text, const CourseRule& rule) {
  if (Course::namesShape(text) && text.find(':') != std::string::npos) return true;
  std::string word;
  for (const char character : lowerCase(text) + ' ') {
    if (isLetter(character)) {
      word += character;
      continue;
    }
    if (!word.empty() && word != "e" && !isUnit(rule, word)) return false;
    if (std::string_view("0123456789+-.,: \t").find(character) == std::string_view::npos) return false;
    word.clear();
  }
  return true;
}

int chosenNumber(const std::string& option, const std::string& text, int lowest, int highest,
                 const std::string& usual) {
  const auto number = wholeNumber(text, lowest, highest);
  if (!number) {
    throw Fault(ExitStatus::wrongCall, option, text,
                "not a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest),
                usual);
  }
  return *number;
}

MidiSource sourceOf(const MidiChoice& choice) {
  MidiSource source = {kExpressionController, {}, choice.controllerOption};
  if (choice.controller) {
    source.controller =
        chosenNumber(choice.controllerOption, *choice.controller, 0, 127, "11 is the expression pedal");
  }
  if (choice.channel) {
    source.channel =
        chosenNumber(choice.channelOption, *choice.channel, 1, 16, "without it every channel counts");
  }
  return source;
}

} // namespace

bool meansFile(const std::string& text, const CourseRule& rule) {
  if (couldBeCourse(text, rule)) return false;
  std::error_code error;
  if (std::filesystem::exists(text, error)) return true;
  const std::string extension = extensionOf(text);
  const bool hasExtension = extension.size() > 1 && isLetter(extension[1]);
  return isPlainText(text) && (hasExtension || text.find('/') != std::string::npos);
}

Course readCourseFile(const std::string& option, const std::string& path, const CourseRule& rule,
                      const MidiChoice& choice) {
  const MidiSource source = sourceOf(choice);
  const std::string bytes = readSmallFile(option, path, kLargestBytes);
  const std::string subject = option + " '" + path + "'";
  if (isMidi(bytes) || hasMidiName(path)) {
    if (!rule.units.empty())
      throw Fault(ExitStatus::couldNot, option, path, "a MIDI file holds no intervals", "give it to --pedal");
    return readMidiCourse(subject, bytes, source);
  }
  if (!isPlainText(bytes)) {
    throw Fault(ExitStatus::couldNot, option, path, "neither CSV text nor a standard MIDI file",
                "give lines seconds,value or a take from a sequencer");
  }
  refuseChoice(option, choice);
  return readCsvCourse(subject, bytes, rule);
}

void refuseChoice(const std::string& option, const MidiChoice& choice) {
  if (!choice.controller && !choice.channel) return;
  throw Fault(ExitStatus::wrongCall, choice.controller ? choice.controllerOption : choice.channelOption,
              choice.controller ? *choice.controller : *choice.channel,
              "there is no MIDI file to choose from", "give " + option + " a MIDI file");
}
