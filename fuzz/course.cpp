// Fuzz target: the texts and files that move the parameters, from bytes to courses.
#include "fuzz/Check.h"
#include "fuzz/Courses.h"
#include "fuzz/Refusal.h"
#include "fuzz/Target.h"
#include "render/course/CsvCourse.h"
#include "render/course/Intervals.h"
#include "render/course/MidiCourse.h"
#include "render/course/Presets.h"

#include <string_view>

namespace {

constexpr int kInterval = 0x80; // in the first byte, of a text that is a course

Controls driven(Parameter parameter, Course course) {
  Controls controls;
  controls.set(parameter, std::move(course));
  return controls;
}

void readAsPresets(std::string_view text) {
  for (const Preset& preset : readPresets("presets", text)) {
    expect(samePresetName(preset.name, preset.name), "a preset's name is not its own");
    checkCourses(preset.controls);
    if (preset.controls.course(kColor)) checkPreset(preset.controls);
  }
}

void followInterval(const Course& cents) {
  Controls controls;
  controls.followInterval(cents);
  checkCourses(controls);
}

void read(int choice, std::string_view text) {
  const auto parameter = static_cast<Parameter>((choice >> 2) % kParameterCount);
  const bool isInterval = (choice & kInterval) != 0;
  switch (choice & 3) {
  case 0:
    if (isInterval) return followInterval(readCsvCourse("a file", text, intervalRule({})));
    return checkCourses(driven(parameter, readCsvCourse("a file", text, courseRule(parameter))));
  case 1: {
    const MidiSource source = {choice >> 4 == 0 ? 11 : choice & 0x7F, {}, "--pedal-cc"};
    return checkCourses(driven(kPedalPos, readMidiCourse("a file", text, source)));
  }
  case 2:
    return readAsPresets(text);
  default: {
    if (isInterval) return followInterval(Course::parse("--option", text, intervalRule({})));
    const Controls controls = driven(parameter, Course::parse("--option", text, courseRule(parameter)));
    checkCourses(controls);
    checkPreset(controls);
  }
  }
}

} // namespace

// The first byte says what the others are.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  try {
    read(data[0], {reinterpret_cast<const char*>(data) + 1, size - 1});
  } catch (const Fault& fault) {
    checkRefusal(fault);
  }
  return 0;
}
