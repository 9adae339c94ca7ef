#include "render/sound/VorbisDecoder.h"

#include <algorithm>
#include <limits>
#include <sndfile.h>

namespace {

SoundBytes& bytesOf(void* self) { return *static_cast<SoundBytes*>(self); }

std::size_t readBytes(void* part, std::size_t size, std::size_t count, void* self) {
  return bytesOf(self).read(part, size * count) / size;
}

int moveTo(void* self, ogg_int64_t place, int whence) {
  SoundBytes& bytes = bytesOf(self);
  if (whence == SEEK_CUR) place += bytes.position();
  if (whence == SEEK_END) place += bytes.size();
  if (place < 0) return -1;
  bytes.moveTo(place);
  return 0;
}

long positionIn(void* self) { return static_cast<long>(bytesOf(self).position()); }

} // namespace

VorbisDecoder::VorbisDecoder(const std::string& name, const SoundBytes& recording)
    : SoundDecoder(name), bytes(recording) {
  if (ov_open_callbacks(&bytes, &file, nullptr, 0, {readBytes, moveTo, nullptr, positionIn}) != 0)
    fail("not a sound file that can be read (its Vorbis header is damaged)", "give the whole file");
  const vorbis_info* const info = ov_info(&file, -1);
  sound = {static_cast<int>(info->rate), info->channels, ov_pcm_total(&file, -1),
           SF_FORMAT_OGG | SF_FORMAT_VORBIS};
}

VorbisDecoder::~VorbisDecoder() { ov_clear(&file); }

std::int64_t VorbisDecoder::read(double* samples, std::int64_t frames) {
  std::int64_t done = 0;
  while (done < frames) {
    constexpr std::int64_t kMost = std::numeric_limits<int>::max();
    float** channels = nullptr;
    int link = 0;
    const long count =
        ov_read_float(&file, &channels, static_cast<int>(std::min(frames - done, kMost)), &link);
    if (count < 0 || bytes.error() != 0) failDamaged(framesRead + done);
    if (count == 0) break;
    for (int channel = 0; channel < sound.channels; ++channel) {
      double* to = samples + done * sound.channels + channel;
      for (const float* from = channels[channel]; from != channels[channel] + count; ++from) {
        *to = *from;
        to += sound.channels;
      }
    }
    done += count;
  }
  framesRead += done;
  return done;
}
