// A sound file, read in blocks of doubles; full scale is -1 to 1.
#pragma once

#include "render/sound/SndfileDecoder.h" // SoundWriter closes its files in the same way
#include "render/sound/SoundDecoder.h"
#include "render/sound/SoundSource.h"

#include <cstdint>
#include <memory>
#include <string>

class SoundReader {
public:
  // name: any sound file whose type one of the libraries knows by its content; "-" is the standard input.
  // Throws Fault (couldNot) when it cannot be opened, is no sound file, holds no sound, or is shorter than
  // its header says. Several threads may each have one. Allocates.
  explicit SoundReader(const std::string& name);

  const SoundInfo& info() const { return decoder->info(); }

  // Whether the sound comes while it is read, so that reading ahead would delay it.
  bool isLive() const { return source.isLive(); }

  // Reads up to `frames` frames, channels interleaved; answers how many, fewer only at the end. Throws Fault
  // (couldNot) when the file turns out to be damaged or cut short. Allocates at times.
  std::int64_t read(double* samples, std::int64_t frames) { return decoder->read(samples, frames); }

private:
  SoundSource source;
  std::unique_ptr<SoundDecoder> decoder;
};
