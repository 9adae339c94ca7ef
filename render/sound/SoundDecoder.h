// What makes samples out of a recording's bytes; one class per library that does.
#pragma once

#include "render/sound/SoundFormat.h"

#include <cstdint>
#include <string>

class SoundDecoder {
public:
  virtual ~SoundDecoder() = default;
  SoundDecoder(const SoundDecoder&) = delete;
  SoundDecoder& operator=(const SoundDecoder&) = delete;

  // Complete once the decoder is constructed, which throws Fault (couldNot) for what cannot be read.
  const SoundInfo& info() const { return sound; }

  // Reads up to `frames` frames, channels interleaved, full scale -1 to 1; answers how many, fewer only at
  // the end. Throws Fault (couldNot) when the recording turns out to be damaged or cut short. One thread at a
  // time.
  virtual std::int64_t read(double* samples, std::int64_t frames) = 0;

protected:
  // path: the recording's name for messages.
  explicit SoundDecoder(std::string name) : path(std::move(name)) {}

  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;

  // endFrames: where the recording as it is ends; its header tells otherwise.
  [[noreturn]] void failCutShort(std::int64_t endFrames) const;

  // doneFrames: how many were good.
  [[noreturn]] void failDamaged(std::int64_t doneFrames) const;

  // Something that would not be heard stands behind the sound.
  [[noreturn]] void failJoined() const;

  // doneFrames: how many were good before the rate or the number of channels changed.
  [[noreturn]] void failChanged(std::int64_t doneFrames) const;

  std::string path;
  SoundInfo sound;
};
