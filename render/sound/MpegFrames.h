// The frames of an MPEG recording (MP1, MP2, MP3) one after the other, without decoding them.
#pragma once

#include "render/sound/SoundBytes.h"

#include <cstdint>
#include <memory>
#include <mpg123.h>

struct MpegHandleCloser {
  void operator()(mpg123_handle* handle) const { mpg123_delete(handle); }
};
using MpegHandle = std::unique_ptr<mpg123_handle, MpegHandleCloser>;

// How far the first frame is looked for, and the next one after bytes that are no frame.
constexpr long kMpegSearchBytes = 4096;

// A handle of libmpg123 that reads these bytes, which must outlive it, prints nothing and has further flags
// of MPG123_FLAGS. Null when there is no frame near the start. Throws std::bad_alloc. Allocates.
MpegHandle openMpeg(SoundBytes& bytes, long flags);

class MpegFrames {
public:
  // bytes: a recording without tags. Allocates.
  explicit MpegFrames(const SoundBytes& bytes);
  MpegFrames(const MpegFrames&) = delete;
  MpegFrames& operator=(const MpegFrames&) = delete;

  // Goes to the next frame; false when there is none. Allocates at times.
  bool next();

  std::int64_t begin() const { return frameBegin; } // bytes of the frame now
  std::int64_t end() const { return frameEnd; }

  // Bytes between the frame before and this one that belong to none.
  std::int64_t skippedBytes() const { return skipped; }

  const mpg123_frameinfo& info() const { return frameInfo; }

private:
  SoundBytes bytes;
  mpg123_frameinfo frameInfo = {};
  std::int64_t frameBegin = 0;
  std::int64_t frameEnd = 0;
  std::int64_t skipped = 0;
  MpegHandle handle;
};
