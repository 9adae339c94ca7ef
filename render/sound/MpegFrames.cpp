#include "render/sound/MpegFrames.h"

#include <cstdio>
#include <new>
#include <sys/types.h>

namespace {

ssize_t readBytes(void* self, void* part, std::size_t count) {
  auto& bytes = *static_cast<SoundBytes*>(self);
  const std::size_t done = bytes.read(part, count);
  return bytes.error() == 0 ? static_cast<ssize_t>(done) : -1;
}

off_t moveTo(void* self, off_t place, int whence) {
  auto& bytes = *static_cast<SoundBytes*>(self);
  if (whence == SEEK_CUR) place += bytes.position();
  if (whence == SEEK_END) place += bytes.size();
  if (place < 0) return -1;
  bytes.moveTo(place);
  return place;
}

} // namespace

MpegHandle openMpeg(SoundBytes& bytes, long flags) {
  [[maybe_unused]] static const int once = mpg123_init();
  MpegHandle handle(mpg123_new(nullptr, nullptr));
  if (!handle) throw std::bad_alloc();
  mpg123_param(handle.get(), MPG123_ADD_FLAGS, MPG123_QUIET | flags, 0.0);
  mpg123_param(handle.get(), MPG123_REMOVE_FLAGS, MPG123_AUTO_RESAMPLE, 0.0);
  mpg123_param(handle.get(), MPG123_RESYNC_LIMIT, kMpegSearchBytes, 0.0);
  const bool opened = mpg123_replace_reader_handle(handle.get(), readBytes, moveTo, nullptr) == MPG123_OK &&
                      mpg123_open_handle(handle.get(), &bytes) == MPG123_OK;
  if (!opened) handle.reset();
  return handle;
}

// The frame that holds the length is one of them.
MpegFrames::MpegFrames(const SoundBytes& recording)
    : bytes(recording), handle(openMpeg(bytes, MPG123_IGNORE_INFOFRAME)) {}

bool MpegFrames::next() {
  if (!handle) return false;
  const int state = mpg123_framebyframe_next(handle.get());
  if (state != MPG123_OK && state != MPG123_NEW_FORMAT) return false;
  const off_t place = mpg123_framepos(handle.get());
  if (place < frameEnd || mpg123_info(handle.get(), &frameInfo) != MPG123_OK) return false;
  skipped = place - frameEnd;
  frameBegin = place;
  frameEnd = place + frameInfo.framesize;
  return true;
}
