#include "render/sound/FlacDecoder.h"

#include <algorithm>
#include <new>
#include <sndfile.h>

namespace {

// The nearest sample format that holds so many bits.
int sampleFormatOf(unsigned bits) {
  if (bits <= 8) return SF_FORMAT_PCM_S8;
  if (bits <= 16) return SF_FORMAT_PCM_16;
  return bits <= 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_32;
}

FlacDecoder& decoder(void* self) { return *static_cast<FlacDecoder*>(self); }

} // namespace

FlacDecoder::FlacDecoder(const std::string& name, const SoundBytes& recording, Container container)
    : SoundDecoder(name), bytes(recording), isOgg(container == Container::ogg),
      stream(FLAC__stream_decoder_new()) {
  if (!stream) throw std::bad_alloc();
  const auto open = isOgg ? FLAC__stream_decoder_init_ogg_stream : FLAC__stream_decoder_init_stream;
  const auto status =
      open(stream.get(), readBytes, nullptr, tell, nullptr, nullptr, takeBlock, takeHeader, takeError, this);
  const bool opened = status == FLAC__STREAM_DECODER_INIT_STATUS_OK &&
                      FLAC__stream_decoder_process_until_end_of_metadata(stream.get());
  if (!opened || damaged || bits == 0)
    fail("not a sound file that can be read (its FLAC header is damaged)", "give the whole file");
}

std::int64_t FlacDecoder::read(double* samples, std::int64_t frames) {
  const std::size_t wanted = static_cast<std::size_t>(frames * sound.channels);
  std::size_t done = 0;
  while (done < wanted && (blockTaken < block.size() || decodeBlock())) {
    const std::size_t part = std::min(wanted - done, block.size() - blockTaken);
    std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(blockTaken), part, samples + done);
    blockTaken += part;
    done += part;
  }
  return static_cast<std::int64_t>(done) / sound.channels;
}

// False at the end of the sound.
bool FlacDecoder::decodeBlock() {
  block.clear();
  blockTaken = 0;
  while (block.empty() && framesRead != sound.frames) {
    const bool works = FLAC__stream_decoder_process_single(stream.get());
    if (changed) failChanged(framesRead);
    if (!works || damaged || bytes.error() != 0) failDamaged(framesRead);
    if (FLAC__stream_decoder_get_state(stream.get()) == FLAC__STREAM_DECODER_END_OF_STREAM) break;
  }
  if (block.empty()) {
    checkEnd();
    return false;
  }
  framesRead += static_cast<std::int64_t>(block.size()) / sound.channels;
  FLAC__uint64 end = 0;
  if (FLAC__stream_decoder_get_decode_position(stream.get(), &end)) blockEnd = static_cast<std::int64_t>(end);
  return true;
}

// The library stops without a word in the middle of a frame that is cut. Of pages in Ogg only their reader
// knows whether they are all there.
void FlacDecoder::checkEnd() const {
  if (isOgg) {
    if (sound.frames > 0 && framesRead != sound.frames) failDamaged(framesRead);
    return;
  }
  if (sound.frames > 0 ? framesRead != sound.frames : blockEnd != bytes.size()) failDamaged(framesRead);
  const SoundBytes rest = bytes.part(blockEnd, bytes.size());
  if (rest.holds(leadingTagBytes(rest), "fLaC") || rest.holds(0, "\xff\xf8") || rest.holds(0, "\xff\xf9"))
    failJoined();
}

FLAC__StreamDecoderReadStatus FlacDecoder::readBytes(const FLAC__StreamDecoder*, FLAC__byte* part,
                                                     std::size_t* count, void* self) {
  *count = decoder(self).bytes.read(part, *count);
  return *count > 0 ? FLAC__STREAM_DECODER_READ_STATUS_CONTINUE
                    : FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
}

FLAC__StreamDecoderTellStatus FlacDecoder::tell(const FLAC__StreamDecoder*, FLAC__uint64* place, void* self) {
  *place = static_cast<FLAC__uint64>(decoder(self).bytes.position());
  return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

void FlacDecoder::takeHeader(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* header, void* self) {
  if (header->type != FLAC__METADATA_TYPE_STREAMINFO) return;
  FlacDecoder& own = decoder(self);
  const auto& stream = header->data.stream_info;
  own.bits = stream.bits_per_sample;
  own.sound.rateHz = static_cast<int>(stream.sample_rate);
  own.sound.channels = static_cast<int>(stream.channels);
  own.sound.frames = stream.total_samples > 0 ? static_cast<std::int64_t>(stream.total_samples) : -1;
  own.sound.format = SF_FORMAT_FLAC | sampleFormatOf(own.bits);
}

// Nothing may be thrown through the library, whose memory for a block is as large as ours.
FLAC__StreamDecoderWriteStatus FlacDecoder::takeBlock(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                      const FLAC__int32* const channels[], void* self) try {
  FlacDecoder& own = decoder(self);
  const auto& header = frame->header;
  own.changed = static_cast<int>(header.channels) != own.sound.channels ||
                static_cast<int>(header.sample_rate) != own.sound.rateHz ||
                header.bits_per_sample != own.bits;
  if (own.changed) return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
  const double step = 1.0 / static_cast<double>(std::int64_t{1} << (own.bits - 1));
  own.block.resize(static_cast<std::size_t>(header.blocksize) * header.channels);
  for (unsigned channel = 0; channel < header.channels; ++channel) {
    const FLAC__int32* from = channels[channel];
    for (std::size_t to = channel; to < own.block.size(); to += header.channels)
      own.block[to] = *from++ * step;
  }
  return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
} catch (const std::bad_alloc&) {
  return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
}

void FlacDecoder::takeError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void* self) {
  decoder(self).damaged = true;
}
