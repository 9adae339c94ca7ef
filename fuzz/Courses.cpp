#include "fuzz/Courses.h"

#include "fuzz/Check.h"
#include "fuzz/Refusal.h"
#include "render/course/Presets.h"

void checkCourses(const Controls& controls) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto parameter = static_cast<Parameter>(index);
    const Course* const course = controls.course(parameter);
    if (!course) continue;
    const CourseRule& rule = courseRule(parameter);
    if (const auto constant = course->constant())
      expect(*constant >= rule.lowest && *constant <= rule.highest, "a constant is out of its rule's range");
    for (double seconds : {0.0, 1e-9, 0.001, 0.5, 1.0, 1.25, 60.0, 1e6, 1e300}) {
      const auto value = controls.valueAt(parameter, seconds);
      expect(value && *value >= 0.0f && *value <= 1.0f, "a course leaves the parameter's range");
    }
  }
}

void checkPreset(const Controls& controls) try {
  const std::string text = presetText("a name", controls);
  const auto presets = readPresets("a preset", text);
  expect(presets.size() == 1 && presetText("a name", presets.front().controls) == text,
         "a preset does not read back as it was written");
} catch (const Fault& fault) {
  checkRefusal(fault);
  expect(fault.status() == ExitStatus::wrongCall, "a preset that was written cannot be read");
}
