// FLAC, read with libFLAC.
#pragma once

#include "render/sound/SoundBytes.h"
#include "render/sound/SoundDecoder.h"

#include <FLAC/stream_decoder.h>
#include <memory>
#include <vector>

struct FlacStreamCloser {
  void operator()(FLAC__StreamDecoder* stream) const { FLAC__stream_decoder_delete(stream); }
};

class FlacDecoder final : public SoundDecoder {
public:
  enum class Container { none, ogg };

  // bytes: the recording from its "fLaC" to its last frame, or one link of Ogg. A header that does not tell
  // the length leaves it unknown. Throws Fault (couldNot). Allocates.
  FlacDecoder(const std::string& path, const SoundBytes& bytes, Container container);

  // Allocates when a block is longer than those before.
  std::int64_t read(double* samples, std::int64_t frames) override;

private:
  static FLAC__StreamDecoderReadStatus readBytes(const FLAC__StreamDecoder*, FLAC__byte* bytes,
                                                 std::size_t* count, void* self);
  static FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder*, FLAC__uint64* place, void* self);
  static FLAC__StreamDecoderWriteStatus takeBlock(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                  const FLAC__int32* const channels[], void* self);
  static void takeHeader(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* header, void* self);
  static void takeError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void* self);

  bool decodeBlock();
  void checkEnd() const;

  SoundBytes bytes;
  bool isOgg;
  bool damaged = false;
  bool changed = false;
  unsigned bits = 0; // of the stored whole numbers
  std::int64_t framesRead = 0;
  std::int64_t blockEnd = 0;  // where the bytes of the block end
  std::vector<double> block;  // the frames decoded last
  std::size_t blockTaken = 0; // samples of them that were read
  std::unique_ptr<FLAC__StreamDecoder, FlacStreamCloser> stream;
};
