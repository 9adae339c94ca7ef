#include "render/job/BentSound.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kUsualFrames = 4096;          // read, rendered and written at once, where nobody waits for them
constexpr double kLongestTailSeconds = 0.1; // the bent sound is 71 ms late at most; the filters ring a while
constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max() / 2;

// Whole blocks; as they come when the recording does.
int wholeBlocks(int blockFrames, bool isLive) {
  return isLive ? blockFrames : std::max(1, kUsualFrames / blockFrames) * blockFrames;
}

} // namespace

BentSound::BentSound(const RenderSettings& settings, InputSound& recording, std::int64_t lateFrames,
                     bool keepsRecording)
    : input(recording), rateHz(input.info().rateHz), channels(input.info().channels),
      framesAtOnce(wholeBlocks(settings.blockFrames, input.isLive())), late(lateFrames),
      firstFrame(std::llround(settings.fromSeconds * rateHz)),
      lastFrame(settings.toSeconds ? std::llround(*settings.toSeconds * rateHz) : kNoEnd),
      addedDry(settings.dryGainDb ? std::pow(10.0, *settings.dryGainDb / 20.0) : 0.0),
      keepsDry(keepsRecording || settings.wetAlone || settings.dryGainDb),
      renderer(settings.modulePath, settings.controls, rateHz, channels, settings.blockFrames),
      bent(static_cast<std::size_t>(framesAtOnce) * channels) {
  if (settings.wetAlone)
    dryGain.emplace(settings.modulePath, settings.controls, rateHz, settings.blockFrames);
  if (keepsDry) dry.reserve(bent.size() + static_cast<std::size_t>(late) * channels);
  input.lengthen(late);
}

// Whole blocks to the end of the wanted part and beyond: a shorter last one would sound different.
bool BentSound::advance() {
  if (framesRendered >= end()) return false;
  const auto count = static_cast<int>(input.read(bent.data(), framesAtOnce));
  if (count == 0) return false;
  const auto samples = static_cast<std::size_t>(count) * channels;
  if (keepsDry) keepDry(samples);
  renderer.process(bent.data(), count);
  if (dryGain) dryGain->takeOut(dry.data() + dry.size() - samples, bent.data(), count, channels);

  const auto inPart = [&](std::int64_t frame) {
    return static_cast<int>(std::clamp<std::int64_t>(late + frame - framesRendered, 0, count));
  };
  const int first = inPart(firstFrame);
  partFrames = std::max(0, inPart(lastFrame) - first);
  partOffset = static_cast<std::size_t>(first) * channels;
  if (keepsDry && partFrames > 0)
    partStart = dry.size() - samples + partOffset - static_cast<std::size_t>(late) * channels;
  framesRendered += count;
  mixInDry();
  return true;
}

void BentSound::keepDry(std::size_t samples) {
  const std::int64_t spent = static_cast<std::int64_t>(dry.size()) / channels - late;
  if (spent > 0) dry.erase(dry.begin(), dry.begin() + spent * channels);
  dry.insert(dry.end(), bent.begin(), bent.begin() + static_cast<std::ptrdiff_t>(samples));
}

void BentSound::mixInDry() {
  if (addedDry == 0.0) return;
  for (std::size_t i = 0; i < static_cast<std::size_t>(partFrames) * channels; ++i)
    output()[i] += addedDry * recording()[i];
}

std::int64_t BentSound::length() const {
  const std::int64_t whole = input.info().frames;
  return whole < 0 ? -1 : std::min(whole, lastFrame) + late;
}

std::optional<CutTail> BentSound::cutTail(double threshold) {
  if (framesRendered >= end()) return {};
  const auto tailFrames = static_cast<int>(kLongestTailSeconds * rateHz);
  if (tailFrames == 0) return CutTail();
  bent.assign(static_cast<std::size_t>(tailFrames) * channels, 0.0);
  renderer.process(bent.data(), tailFrames);
  CutTail tail;
  for (std::size_t i = 0; i < bent.size(); ++i) {
    if (std::abs(bent[i]) <= threshold) continue;
    const std::size_t frame = i / channels;
    tail.seconds = static_cast<double>(frame + 1) / rateHz;
    tail.peak = std::max(tail.peak, std::abs(bent[i]));
  }
  return tail;
}
