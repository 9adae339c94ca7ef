#include "render/Controls.h"

namespace {

struct ParameterOption {
  const char* name;
  TrackRule rule;
};

const ParameterOption& optionOf(ParameterIndex parameter) {
  static const std::array<ParameterOption, kParameterCount> options = {{
      {"--on", {0.0, 1.0, true, true, {{"on", 1.0}, {"off", 0.0}}}},
      {"--mode", {0.0, 1.0, true, true, {{"guitar", 0.0}, {"bass", 1.0}}}},
      {"--tone", {0.0, 1.0, false, false, {}}},
      {"--color", {0.0, 7.0, true, true, {}}},
      {"--pedal", {0.0, 1.0, false, false, {}}},
  }};
  return options[parameter];
}

} // namespace

void Controls::set(ParameterIndex parameter, std::string_view text) {
  const ParameterOption& option = optionOf(parameter);
  tracks[parameter] = PedalTrack::parse(option.name, text, option.rule);
}

std::optional<float> Controls::valueAt(ParameterIndex parameter, double seconds) const {
  const auto& track = tracks[parameter];
  if (!track) return {};
  const double value = track->valueAt(seconds);
  return parameter == kParameterColor ? colorParameter(value) : static_cast<float>(value);
}
