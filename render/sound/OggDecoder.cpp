#include "render/sound/OggDecoder.h"

#include "render/sound/FlacDecoder.h"
#include "render/sound/SndfileDecoder.h"
#include "render/sound/VorbisDecoder.h"
#include "render/text/Fault.h"

namespace {

constexpr std::int64_t kFirstPacket = 28; // bytes, behind a page's head and the length of its one packet

} // namespace

OggDecoder::OggDecoder(const std::string& name, const SoundBytes& recording)
    : SoundDecoder(name), bytes(recording), links(oggLinks(recording)) {
  if (links.empty())
    fail("not a sound file that can be read (its Ogg pages are damaged)", "give the whole file");
  for (const OggLink& link : links)
    takeLink(link);
  decoder = opened(links.front());
}

std::unique_ptr<SoundDecoder> OggDecoder::opened(const OggLink& link) const {
  const SoundBytes part = bytes.part(link.begin, link.end);
  if (part.holds(kFirstPacket, "\x7f"
                               "FLAC"))
    return std::make_unique<FlacDecoder>(path, part, FlacDecoder::Container::ogg);
  if (part.holds(kFirstPacket, "\1vorbis")) return std::make_unique<VorbisDecoder>(path, part);
  return std::make_unique<SndfileDecoder>(path, part);
}

SoundInfo OggDecoder::infoOf(const OggLink& link) const try {
  return opened(link)->info();
} catch (const Fault&) {
  if (link.isSound) throw;
  fail("damaged or cut short: some of its pages are missing", "give the whole file");
}

void OggDecoder::takeLink(const OggLink& link) {
  if (!link.isWhole) fail("damaged or cut short: its last page is missing", "give the whole file");
  const SoundInfo part = infoOf(link);
  if (&link == &links.front()) {
    sound = part;
    sound.frames = 0;
  }
  if (part.rateHz != sound.rateHz || part.channels != sound.channels || part.format != sound.format)
    failChanged(sound.frames);
  sound.frames = part.frames < 0 || sound.frames < 0 ? -1 : sound.frames + part.frames;
}

// libsndfile does not see every page that is missing.
std::int64_t OggDecoder::read(double* samples, std::int64_t frames) {
  std::int64_t done = 0;
  for (;;) {
    done += decoder->read(samples + done * sound.channels, frames - done);
    if (done == frames) break;
    if (!links[current].isSound) failDamaged(framesRead + done);
    if (current + 1 == links.size()) break;
    decoder = opened(links[++current]);
  }
  framesRead += done;
  return done;
}
