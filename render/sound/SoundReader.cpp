#include "render/sound/SoundReader.h"

#include "render/sound/FlacDecoder.h"
#include "render/sound/MpegDecoder.h"
#include "render/sound/OggDecoder.h"
#include "render/sound/SndfileDecoder.h"
#include "render/sound/SoundKind.h"
#include "render/text/Fault.h"

namespace {

std::unique_ptr<SoundDecoder> openDecoder(const std::string& path, const SoundSource& source) {
  if (source.isLive()) return std::make_unique<SndfileDecoder>(path, source.descriptor());
  const SoundBytes sound = withoutTags(source.bytes());
  switch (kindOf(sound)) {
  case SoundKind::flac:
    return std::make_unique<FlacDecoder>(path, sound, FlacDecoder::Container::none);
  case SoundKind::ogg:
    return std::make_unique<OggDecoder>(path, sound);
  case SoundKind::mpeg:
    return std::make_unique<MpegDecoder>(path, sound);
  case SoundKind::other:
    return std::make_unique<SndfileDecoder>(path, sound);
  case SoundKind::none:
    break;
  }
  refuseForeign(path, sound.size() == 0);
}

} // namespace

SoundReader::SoundReader(const std::string& name) : source(name), decoder(openDecoder(name, source)) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "input", name, wrong, "give a recording");
  };
  if (info().rateHz < 1 || info().channels < 1) fail("the header gives no sample rate or channels");
  if (info().frames == 0) fail("holds no sound");
}
