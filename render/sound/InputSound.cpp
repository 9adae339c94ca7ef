#include "render/sound/InputSound.h"

#include <algorithm>
#include <cmath>

InputSound::InputSound(const std::string& path, const ChannelChoice& channelChoice, double tailSeconds)
    : reader(path), choice(channelChoice), sound(reader.info()),
      tailFrames(std::llround(tailSeconds * sound.rateHz)) {
  sound.channels = choice.count(sound.channels, path);
  if (sound.frames >= 0) sound.frames += tailFrames;
}

std::int64_t InputSound::read(double* samples, std::int64_t frames) {
  const int channels = reader.info().channels;
  wholeFrames.resize(static_cast<std::size_t>(frames * channels));
  const std::int64_t heard = reader.read(wholeFrames.data(), frames);
  silenceUnusable(static_cast<std::size_t>(heard * channels));
  choice.apply(wholeFrames.data(), heard, channels);
  double* const end = std::copy_n(wholeFrames.data(), heard * sound.channels, samples);
  const std::int64_t silent = std::min(frames - heard, tailFrames);
  std::fill_n(end, silent * sound.channels, 0.0);
  tailFrames -= silent;
  return heard + silent;
}

void InputSound::silenceUnusable(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::isfinite(wholeFrames[i])) continue;
    wholeFrames[i] = 0.0;
    ++unusable;
  }
}
