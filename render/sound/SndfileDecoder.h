// Everything else, read with libsndfile.
#pragma once

#include "render/sound/ContainerHeader.h"
#include "render/sound/SoundBytes.h"
#include "render/sound/SoundDecoder.h"

#include <memory>
#include <sndfile.h>

struct SoundFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

class SndfileDecoder final : public SoundDecoder {
public:
  // bytes: the recording. Throws Fault (couldNot) when it is no sound, holds none, or is shorter than its
  // header says. Allocates.
  SndfileDecoder(const std::string& path, const SoundBytes& bytes);

  // descriptor: a pipe that brings a type that can be read as it comes; it stays the caller's.
  SndfileDecoder(const std::string& path, int descriptor);

  std::int64_t read(double* samples, std::int64_t frames) override;

private:
  void takeInfo(const SF_INFO& info);
  void refuseUnopened() const;
  void refuseSecondInPipe() const;
  void refuseSecondSound(const ContainerHeader& header) const;

  SoundBytes bytes;
  int pipe = -1; // that the recording comes from, if any
  std::int64_t framesRead = 0;
  std::unique_ptr<SNDFILE, SoundFileCloser> file;
};

// Whether libsndfile knows the type of a recording that begins with these bytes. Allocates.
bool sndfileKnows(const SoundBytes& bytes);
