#include "lv2/PedalInstance.h"

#include "lv2/DefaultArithmetic.h"

#include <algorithm>
#include <cmath>

// The factory that is linked into the bundle beside this.
extern "C" Q_TypeIF* getinterface(HostCallback host);

namespace {

constexpr int32_t kUsualLargestBlock = 8192; // samples, for hosts that tell none
constexpr int32_t kLongestScratch = 65536;   // samples, whatever a host tells
constexpr int kUsualColor = 4;               // of the effect's programs and of the port

int32_t scratchLength(int32_t announcedBlock) {
  return announcedBlock > 0 ? std::min(announcedBlock, kLongestScratch) : kUsualLargestBlock;
}

struct ParameterValue {
  Parameter parameter;
  float value; // 0..1
};

// The whole number nearest to a port's value that the port may hold, 0 to highest. value: any number.
int choiceOf(float value, int highest) {
  return static_cast<int>(std::lround(std::clamp(value, 0.0f, static_cast<float>(highest))));
}

// What a control port asks of the effect. value: any number.
ParameterValue parameterOf(Port port, float value) {
  switch (port) {
  case kPortEnabled:
    return {kOnOff, value > 0.0f ? 1.0f : 0.0f};
  case kPortMode:
    return {kMode, static_cast<float>(choiceOf(value, 1))};
  case kPortColor:
    return {kColor, colorParameter(choiceOf(value, kColorCount - 1))};
  case kPortTone:
    return {kTone, std::clamp(value, 0.0f, 1.0f)};
  default:
    return {kPedalPos, std::clamp(value, 0.0f, 1.0f)};
  }
}

bool holdsNumber(const float* port) { return port && !std::isnan(*port); }

std::unique_ptr<EffectRunner> makeEffect(int color, double rateHz, int32_t largestBlock) {
  auto effect = std::make_unique<EffectRunner>(getinterface);
  effect->setParameter(kColor, colorParameter(color));
  effect->setBlockSize(largestBlock);
  effect->setSampleRate(static_cast<float>(rateHz));
  effect->resume();
  return effect;
}

} // namespace

PedalInstance::PedalInstance(double rateHz, int32_t announcedBlock)
    : rateHz(rateHz), block(scratchLength(announcedBlock)) {
  makeEffects();
}

// Those that have not run stay as they are.
void PedalInstance::makeEffects() {
  if (effect) std::ranges::find(waiting, effect, &std::unique_ptr<EffectRunner>::get)->reset();
  effect = nullptr;
  hasRun = false;
  isOn = true;
  for (int color = 0; color < kColorCount; ++color)
    if (!waiting[color]) waiting[color] = makeEffect(color, rateHz, static_cast<int32_t>(block.size()));
}

void PedalInstance::connect(uint32_t port, void* data) noexcept {
  if (port == kPortIn)
    input = static_cast<const float*>(data);
  else if (port == kPortOut)
    output = static_cast<float*>(data);
  else if (port < kPortCount)
    controls[port] = static_cast<const float*>(data);
}

void PedalInstance::activate() noexcept try { makeEffects(); } catch (...) {
}

void PedalInstance::run(uint32_t samples) noexcept {
  if (samples == 0 || !input || !output) return;
  if (!hasRun) chooseEffect();
  if (!effect) {
    std::copy_n(input, samples, output);
    return;
  }
  const DefaultArithmetic guard;
  sendParameters();
  const std::size_t longestPart = block.size();
  for (std::size_t start = 0; start < samples; start += longestPart)
    runPart(input + start, output + start, static_cast<int32_t>(std::min(longestPart, samples - start)));
}

void PedalInstance::chooseEffect() noexcept {
  const float* const color = controls[kPortColor];
  effect = waiting[holdsNumber(color) ? choiceOf(*color, kColorCount - 1) : kUsualColor].get();
  hasRun = true;
}

void PedalInstance::sendParameters() noexcept {
  for (const Port port : {kPortEnabled, kPortMode, kPortColor, kPortTone, kPortPedal})
    sendParameter(port);
}

void PedalInstance::sendParameter(Port port) noexcept {
  if (!holdsNumber(controls[port])) return;
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
