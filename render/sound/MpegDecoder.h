// MP1, MP2 and MP3, read with libmpg123.
#pragma once

#include "render/sound/MpegFrames.h"
#include "render/sound/SoundBytes.h"
#include "render/sound/SoundDecoder.h"

#include <vector>

// Where the first frame tells the length, the encoder's delay and padding are left out as it says. Where
// there is none, or more frames follow than it tells, every frame is heard from its first sample to its last.
class MpegDecoder final : public SoundDecoder {
public:
  // bytes: the recording without tags. Goes through all its frames first, for their number is the only true
  // length. Throws Fault (couldNot) when it is cut short, damaged, or changes its rate. Allocates.
  MpegDecoder(const std::string& path, const SoundBytes& bytes);

  std::int64_t read(double* samples, std::int64_t frames) override;

private:
  void countFrames();
  void takeFormat(const mpg123_frameinfo& info);
  void checkLength(const MpegFrames& first);
  void refuseLost(std::int64_t begin) const;
  void open();

  SoundBytes bytes;
  std::int64_t mpegFrames = 0;  // that are heard
  int frameLength = 0;          // sound frames in one of them
  std::int64_t toldFrames = -1; // by the first frame; negative: by none
  std::int64_t framesRead = 0;
  std::vector<float> decoded;
  MpegHandle handle;
};
