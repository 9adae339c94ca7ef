#include "render/course/Controls.h"

#include "render/course/Colors.h"
#include "render/course/Intervals.h"

namespace {

struct ParameterOption {
  std::string name;
  CourseRule rule;
};

CourseRule colorRule() {
  CourseRule rule = {0.0, 7.0, true, true, {}, "a colour's name (--list-colors tells them)"};
  for (const Color& color : colors())
    rule.words.emplace_back(color.name, color.number);
  return rule;
}

const ParameterOption& optionOf(ParameterIndex parameter) {
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

float parameterValue(ParameterIndex parameter, double playersValue) {
  return parameter == kParameterColor ? colorParameter(playersValue) : static_cast<float>(playersValue);
}

const CourseRule& courseRule(ParameterIndex parameter) { return optionOf(parameter).rule; }

const std::string& optionName(ParameterIndex parameter) { return optionOf(parameter).name; }

void Controls::set(ParameterIndex parameter, std::string_view text) {
  set(parameter, Course::parse(optionName(parameter), text, courseRule(parameter)));
}

void Controls::set(ParameterIndex parameter, Course course) { courses[parameter] = std::move(course); }

void Controls::followInterval(const Course& cents) {
  if (!course(kParameterColor)) {
    found = bestColor(cents.lowest(), cents.highest());
    set(kParameterColor, Course({{0.0, static_cast<double>(found.value())}}, true));
  }
  const int color = static_cast<int>(course(kParameterColor)->constant().value());
  set(kParameterPedal, cents.mapped([&](double value) { return pedalFor(color, value); }));
}

const Course* Controls::course(ParameterIndex parameter) const {
  return courses[parameter] ? &*courses[parameter] : nullptr;
}

std::optional<float> Controls::valueAt(ParameterIndex parameter, double seconds) const {
  const Course* const driven = course(parameter);
  if (!driven) return {};
  return parameterValue(parameter, driven->valueAt(seconds));
}
