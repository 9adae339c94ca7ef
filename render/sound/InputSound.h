// The sound that goes through the pedal: the recording's chosen channels, and silence for the tail.
#pragma once

#include "render/sound/ChannelChoice.h"
#include "render/sound/SoundReader.h"

#include <cstdint>
#include <string>
#include <vector>

class InputSound {
public:
  // path: see SoundReader. tailSeconds: 0 or more. Throws Fault (couldNot). Allocates.
  InputSound(const std::string& path, const ChannelChoice& choice, double tailSeconds);

  // Rate, chosen channels, length with the tail (negative: unknown), and the recording's format.
  const SoundInfo& info() const { return sound; }
  bool isLive() const { return reader.isLive(); }

  // Reads up to `frames` frames of the chosen channels, interleaved; answers how many, fewer only at the
  // end. Samples that are no finite numbers come as 0, for they would stay in the pedal for ever. Throws
  // Fault (couldNot) when the file turns out to be damaged or cut short. Allocates when `frames` grows.
  std::int64_t read(double* samples, std::int64_t frames);

  // Lets so many more frames of silence follow, which info() does not count. frames: 0 or more.
  void lengthen(std::int64_t frames) { tailFrames += frames; }

  // Samples so far that were no finite numbers.
  std::int64_t unusableSamples() const { return unusable; }

private:
  void silenceUnusable(std::size_t count);

  SoundReader reader;
  ChannelChoice choice;
  SoundInfo sound;
  std::int64_t tailFrames; // still to come
  std::int64_t unusable = 0;
  std::vector<double> wholeFrames; // of the recording, all its channels
};
