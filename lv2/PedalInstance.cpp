#include "lv2/PedalInstance.h"

#include "lv2/DefaultArithmetic.h"

#include <algorithm>
#include <cmath>

// The factory that is linked into the bundle beside this.
extern "C" Q_TypeIF* getinterface(HostCallback host);

namespace {

constexpr int32_t kUsualLargestBlock = 4096; // samples, for hosts that tell none
constexpr int32_t kLongestScratch = 65536;   // samples, whatever a host tells

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

// LV2 promises nothing of what a port holds before the first block, so an effect is set up in the default
// colour, and the first block, which starts without a fade, brings its own.
std::unique_ptr<EffectRunner> makeEffect(double rateHz, int32_t largestBlock) {
  auto effect = std::make_unique<EffectRunner>(getinterface);
  effect->setParameter(kColor, colorParameter(colorOf(kParameterDefaults[kColor])));
  effect->setBlockSize(largestBlock);
  effect->setSampleRate(static_cast<float>(rateHz));
  effect->resume();
  return effect;
}

} // namespace

PedalInstance::PedalInstance(int channels, double rateHz, int32_t announcedBlock)
    : rateHz(rateHz), longestPart(scratchLength(announcedBlock)), channelCount(channels) {
  for (Channel& channel : this->channels())
    channel.block.resize(longestPart);
  makeEffects();
}

void PedalInstance::makeEffects() {
  const DefaultArithmetic guard;
  hasEffects = hasRun = false;
  isOn = true;
  for (Channel& channel : channels()) {
    channel.effect.reset();
    channel.effect = makeEffect(rateHz, longestPart);
  }
  hasEffects = true;
}

void PedalInstance::connect(uint32_t port, void* data) noexcept {
  switch (port) {
  case kPortInLeft:
  case kPortInRight:
    channelArray[port == kPortInRight].input = static_cast<const float*>(data);
    break;
  case kPortOutLeft:
  case kPortOutRight:
    channelArray[port == kPortOutRight].output = static_cast<float*>(data);
    break;
  default:
    if (port < kPortCount) controls[port] = static_cast<const float*>(data);
  }
}

void PedalInstance::activate() noexcept try {
  if (hasRun || !hasEffects) makeEffects();
} catch (...) { // run() lets the input through
}

void PedalInstance::run(uint32_t samples) noexcept {
  if (samples == 0 || !isConnected()) return;
  const DefaultArithmetic guard;
  if (hasEffects) sendParameters();
  for (uint32_t start = 0; start < samples;) {
    const auto part = static_cast<int32_t>(std::min<uint32_t>(longestPart, samples - start));
    if (hasEffects) bendPart(start, part);
    writePart(start, part);
    start += part;
  }
}

bool PedalInstance::isConnected() const noexcept {
  return std::all_of(channelArray.begin(), channelArray.begin() + channelCount,
                     [](const Channel& channel) { return channel.input && channel.output; });
}

void PedalInstance::sendParameters() noexcept {
  hasRun = true;
  for (const Port port : {kPortEnabled, kPortMode, kPortColor, kPortTone, kPortPedal})
    sendParameter(port);
}

void PedalInstance::sendParameter(Port port) noexcept {
  if (!controls[port] || std::isnan(*controls[port])) return;
  const ParameterValue sent = parameterOf(port, *controls[port]);
  for (const Channel& channel : channels())
    channel.effect->setParameter(sent.parameter, sent.value);
  if (port == kPortEnabled) isOn = sent.value == 1.0f;
}

// The effect's memory would keep what is no finite number for ever, so silence takes its place there.
void PedalInstance::bendPart(uint32_t start, int32_t samples) noexcept {
  for (Channel& channel : channels()) {
    const float* const in = channel.input + start;
    for (int32_t i = 0; i < samples; ++i)
      channel.block[i] = std::isfinite(in[i]) ? in[i] : 0.0;
    channel.effect->process(channel.block.data(), channel.block.data(), samples);
  }
}

// Sample by sample, each channel read before one is written, because an output may be the other one's input.
void PedalInstance::writePart(uint32_t start, int32_t samples) noexcept {
  float sample[std::tuple_size_v<decltype(channelArray)>];
  for (int32_t i = 0; i < samples; ++i) {
    for (std::size_t k = 0; k < channelCount; ++k) {
      const float in = channelArray[k].input[start + i];
      const bool isBent = hasEffects && (isOn || std::isfinite(in));
      sample[k] = isBent ? static_cast<float>(channelArray[k].block[i]) : in;
    }
    for (std::size_t k = 0; k < channelCount; ++k)
      channelArray[k].output[start + i] = sample[k];
  }
}
