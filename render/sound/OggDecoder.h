// Ogg with Vorbis, Opus, FLAC or Speex in it: the sounds of one file or of several that were joined, heard
// one behind the other.
#pragma once

#include "render/sound/OggLinks.h"
#include "render/sound/SoundDecoder.h"

#include <memory>
#include <vector>

class OggDecoder final : public SoundDecoder {
public:
  // bytes: the recording. Goes through all its pages first. Throws Fault (couldNot) when it is cut short, or
  // its parts differ in rate, channels or format. Allocates.
  OggDecoder(const std::string& path, const SoundBytes& bytes);

  // Allocates where a part begins.
  std::int64_t read(double* samples, std::int64_t frames) override;

private:
  SoundInfo infoOf(const OggLink& link) const;
  void takeLink(const OggLink& link);
  std::unique_ptr<SoundDecoder> opened(const OggLink& link) const;

  SoundBytes bytes;
  std::vector<OggLink> links;
  std::size_t current = 0; // the link that is read
  std::int64_t framesRead = 0;
  std::unique_ptr<SoundDecoder> decoder; // of the current link
};
