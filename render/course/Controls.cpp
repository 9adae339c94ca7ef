#include "render/course/Controls.h"

#include "render/course/Colors.h"
#include "render/course/Intervals.h"

namespace {

struct ParameterOption {
  std::string name;
  CourseRule rule;
};

CourseRule colorRule() {
  CourseRule rule = {0.0, kColorCount - 1.0, true, true, {}, "a colour's name (--list-colors tells them)"};
  for (const Color& color : kColorTable)
    rule.words.emplace_back(color.name, color.number);
  return rule;
}

const ParameterOption& optionOf(Parameter parameter) {
  static const std::array<ParameterOption, kParameterCount> options = {{
      {"--on", {0.0, 1.0, true, true, {{"on", 1.0}, {"off", 0.0}}}},
      {"--mode", {0.0, 1.0, true, true, {{"guitar", 0.0}, {"bass", 1.0}}}},
      {"--tone", {0.0, 1.0, false, false, {}, {}, "tone"}},
      {"--color", colorRule()},
      {"--pedal", {0.0, 1.0, false, false, {}, {}, "pedal"}},
  }};
  return options[parameter];
}

} // namespace

float parameterValue(Parameter parameter, double playersValue) {
  return parameter == kColor ? colorParameter(static_cast<int>(playersValue))
                             : static_cast<float>(playersValue);
}

const CourseRule& courseRule(Parameter parameter) { return optionOf(parameter).rule; }

const std::string& optionName(Parameter parameter) { return optionOf(parameter).name; }

void Controls::set(Parameter parameter, std::string_view text) {
  set(parameter, Course::parse(optionName(parameter), text, courseRule(parameter)));
}

void Controls::set(Parameter parameter, Course course) { courses[parameter] = std::move(course); }

void Controls::followInterval(const Course& cents) {
  if (!course(kColor)) {
    found = bestColor(cents.lowest(), cents.highest());
    set(kColor, Course({{0.0, static_cast<double>(found.value())}}, true));
  }
  const int color = static_cast<int>(course(kColor)->constant().value());
  set(kPedalPos, cents.mapped([&](double value) { return pedalFor(color, value); }));
}

const Course* Controls::course(Parameter parameter) const {
  return courses[parameter] ? &*courses[parameter] : nullptr;
}

std::optional<float> Controls::valueAt(Parameter parameter, double seconds) const {
  const Course* const driven = course(parameter);
  if (!driven) return {};
  return parameterValue(parameter, driven->valueAt(seconds));
}
