#include "render/Controls.h"

#include "render/Colors.h"

namespace {

struct ParameterOption {
  std::string name;
  TrackRule rule;
};

TrackRule colorRule() {
  TrackRule rule = {0.0, 7.0, true, true, {}, "a colour's name (--list-colors tells them)"};
  for (const Color& color : colors())
    rule.words.emplace_back(color.name, color.number);
  return rule;
}

const ParameterOption& optionOf(ParameterIndex parameter) {
  static const std::array<ParameterOption, kParameterCount> options = {{
      {"--on", {0.0, 1.0, true, true, {{"on", 1.0}, {"off", 0.0}}}},
      {"--mode", {0.0, 1.0, true, true, {{"guitar", 0.0}, {"bass", 1.0}}}},
      {"--tone", {0.0, 1.0, false, false, {}}},
      {"--color", colorRule()},
      {"--pedal", {0.0, 1.0, false, false, {}}},
  }};
  return options[parameter];
}

} // namespace

float parameterValue(ParameterIndex parameter, double playersValue) {
  return parameter == kParameterColor ? colorParameter(playersValue) : static_cast<float>(playersValue);
}

const TrackRule& trackRule(ParameterIndex parameter) { return optionOf(parameter).rule; }

const std::string& optionName(ParameterIndex parameter) { return optionOf(parameter).name; }

void Controls::set(ParameterIndex parameter, std::string_view text) {
  set(parameter, PedalTrack::parse(optionName(parameter), text, trackRule(parameter)));
}

void Controls::set(ParameterIndex parameter, PedalTrack course) { tracks[parameter] = std::move(course); }

const PedalTrack* Controls::course(ParameterIndex parameter) const {
  return tracks[parameter] ? &*tracks[parameter] : nullptr;
}

std::optional<float> Controls::valueAt(ParameterIndex parameter, double seconds) const {
  const PedalTrack* const track = course(parameter);
  if (!track) return {};
  return parameterValue(parameter, track->valueAt(seconds));
}
