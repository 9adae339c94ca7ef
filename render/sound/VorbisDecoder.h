// Vorbis, read with libvorbisfile: libsndfile drops the end of a recording that was cut out of a longer one.
#pragma once

#include "render/sound/SoundBytes.h"
#include "render/sound/SoundDecoder.h"

#define OV_EXCLUDE_STATIC_CALLBACKS
#include <vorbis/vorbisfile.h>

class VorbisDecoder final : public SoundDecoder {
public:
  // bytes: one link of Ogg. The length is the one that its pages tell, which is less than what is heard when
  // it was cut out of a longer recording. Throws Fault (couldNot). Allocates.
  VorbisDecoder(const std::string& path, const SoundBytes& bytes);
  ~VorbisDecoder() override;

  // Allocates at times.
  std::int64_t read(double* samples, std::int64_t frames) override;

private:
  SoundBytes bytes;
  std::int64_t framesRead = 0;
  OggVorbis_File file = {};
};
