// A sound file, read in blocks of doubles; full scale is -1 to 1.
#pragma once

#include "render/sound/SoundFormat.h"
#include "render/sound/SoundSource.h"

#include <cstdint>
#include <memory>
#include <sndfile.h>
#include <string>

struct SoundFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

class SoundReader {
public:
  // name: any sound file that libsndfile knows by its content; "-" is the standard input. Throws Fault
  // (couldNot) when it cannot be opened, is no sound file, holds no sound, or is shorter than its header
  // says. Allocates.
  explicit SoundReader(const std::string& name);

  const SoundInfo& info() const { return sound; }

  // Whether the sound comes while it is read, so that reading ahead would delay it.
  bool isLive() const { return !seekable; }

  // Reads up to `frames` frames, channels interleaved; answers how many, fewer only at the end. Throws Fault
  // (couldNot) when the file turns out to be damaged or cut short.
  std::int64_t read(double* samples, std::int64_t frames);

private:
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;
  SF_INFO openFile(int descriptor);
  void refuseCutShort() const;
  [[noreturn]] void failDamaged() const;

  std::string path;
  bool seekable = true;
  SoundInfo sound;
  std::int64_t framesRead = 0;
  std::unique_ptr<SNDFILE, SoundFileCloser> file;
};
