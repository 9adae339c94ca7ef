#include "lv2/PedalInstance.h"

#include "lv2/DefaultArithmetic.h"

#include <algorithm>
#include <cmath>

// The factory that is linked into the bundle beside this.
extern "C" Q_TypeIF* getinterface(HostCallback host);

namespace {

// The effect's parameter numbers, in the order of its record.
enum Parameter { kParameterOn, kParameterMode, kParameterTone, kParameterColor, kParameterPedal };

constexpr int32_t kUsualLargestBlock = 8192; // samples, for hosts that tell none
constexpr int32_t kLongestScratch = 65536;   // samples, whatever a host tells
constexpr int32_t kColors = 8;

int32_t scratchLength(int32_t announcedBlock) {
  return announcedBlock > 0 ? std::min(announcedBlock, kLongestScratch) : kUsualLargestBlock;
}

struct ParameterValue {
  Parameter parameter;
  float value; // 0..1
};

// What a control port asks of the effect. value: any number. The middle of a colour's eighth selects it.
ParameterValue parameterOf(Port port, float value) {
  const float share = std::clamp(value, 0.0f, 1.0f);
  switch (port) {
  case kPortEnabled:
    return {kParameterOn, value > 0.0f ? 1.0f : 0.0f};
  case kPortMode:
    return {kParameterMode, std::round(share)};
  case kPortColor:
    return {kParameterColor, (std::round(std::clamp(value, 0.0f, kColors - 1.0f)) + 0.5f) / kColors};
  case kPortTone:
    return {kParameterTone, share};
  default:
    return {kParameterPedal, share};
  }
}

} // namespace

PedalInstance::PedalInstance(double rateHz, int32_t announcedBlock)
    : rateHz(rateHz), block(scratchLength(announcedBlock)) {
  makeEffect();
}

void PedalInstance::makeEffect() {
  effect.reset();
  effect = std::make_unique<EffectRunner>(getinterface);
  effect->setSampleRate(static_cast<float>(rateHz));
  effect->setBlockSize(static_cast<int32_t>(block.size()));
  effect->resume();
  isFresh = true;
  isOn = true;
}

void PedalInstance::connect(uint32_t port, void* data) noexcept {
  if (port == kPortIn)
    input = static_cast<const float*>(data);
  else if (port == kPortOut)
    output = static_cast<float*>(data);
  else if (port < kPortCount)
    controls[port] = static_cast<const float*>(data);
}

void PedalInstance::activate() noexcept try {
  if (!isFresh || !effect) makeEffect();
} catch (...) {
  effect.reset();
}

void PedalInstance::run(uint32_t samples) noexcept {
  if (samples == 0 || !input || !output) return;
  if (!effect) {
    std::copy_n(input, samples, output);
    return;
  }
  const DefaultArithmetic guard;
  isFresh = false;
  sendParameters();
  const std::size_t longestPart = block.size();
  for (std::size_t start = 0; start < samples; start += longestPart)
    runPart(input + start, output + start, static_cast<int32_t>(std::min(longestPart, samples - start)));
}

void PedalInstance::sendParameters() noexcept {
  for (const Port port : {kPortEnabled, kPortMode, kPortColor, kPortTone, kPortPedal})
    sendParameter(port);
}

void PedalInstance::sendParameter(Port port) noexcept {
  if (!controls[port] || std::isnan(*controls[port])) return;
  const ParameterValue sent = parameterOf(port, *controls[port]);
  effect->setParameter(sent.parameter, sent.value);
  if (port == kPortEnabled) isOn = sent.value == 1.0f;
}

// The effect's memory would keep what is no finite number for ever, so silence takes its place there.
void PedalInstance::runPart(const float* in, float* out, int32_t samples) noexcept {
  for (int32_t i = 0; i < samples; ++i)
    block[i] = std::isfinite(in[i]) ? in[i] : 0.0;
  effect->process(block.data(), block.data(), samples);
  for (int32_t i = 0; i < samples; ++i)
    out[i] = isOn || std::isfinite(in[i]) ? static_cast<float>(block[i]) : in[i];
}
