#include "host/EffectDriver.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// Longest text of the interface is 64 bytes; the rest is room for effects that know no bounds.
constexpr std::size_t kTextBytes = 256;

} // namespace

void EffectDriver::start(const BlockRun& run) const {
  auto move = run.moves.begin();
  for (std::int32_t block = 0, first = 0; first < run.samples; ++block, first += run.blockSamples) {
    for (; move != run.moves.end() && move->block == block; ++move)
      setParameter(move->index, move->value);
    process(run.input + first, run.output + first, std::min(run.blockSamples, run.samples - first));
  }
}

std::optional<VstParameterProperties> EffectDriver::parameterProperties(std::int32_t index) const {
  alignas(VstParameterProperties) std::array<char, kParameterPropertiesBytes> buffer{};
  if (request(kOpGetParameterProperties, index, 0, buffer) == 0) return {};
  VstParameterProperties properties;
  std::memcpy(&properties, buffer.data(), sizeof properties);
  properties.label[sizeof properties.label - 1] = '\0';
  return properties;
}

std::int32_t EffectDriver::canDo(std::string capability) const {
  return request(kOpCanDo, 0, 0, {capability.data(), capability.size() + 1});
}

std::string EffectDriver::text(std::int32_t opcode, std::int32_t index) const {
  std::array<char, kTextBytes> buffer{};
  request(opcode, index, 0, buffer);
  buffer.back() = '\0';
  return buffer.data();
}
