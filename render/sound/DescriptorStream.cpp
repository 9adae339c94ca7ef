#include "render/sound/DescriptorStream.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr off_t kPartBytes = 65536;

// As many bytes as there are, up to the count.
std::size_t readAt(int file, off_t place, char* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got = pread(file, bytes + done, count - done, place + static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

} // namespace

TagLib::ByteVector DescriptorStream::readBlock(unsigned long length) {
  const long rest = std::max(this->length() - position, 0L);
  TagLib::ByteVector block(static_cast<unsigned>(std::min(length, static_cast<unsigned long>(rest))), '\0');
  block.resize(static_cast<unsigned>(readAt(file, position, block.data(), block.size())));
  position += block.size();
  return block;
}

void DescriptorStream::writeBlock(const TagLib::ByteVector& data) {
  writeAt(position, data.data(), data.size());
  position += data.size();
}

void DescriptorStream::insert(const TagLib::ByteVector& data, unsigned long start, unsigned long replace) {
  const off_t end = length();
  const off_t from = std::min(static_cast<off_t>(start + replace), end);
  const off_t to = static_cast<off_t>(start) + data.size();
  move(from, to, end - from);
  writeAt(static_cast<off_t>(start), data.data(), data.size());
  if (to < from) truncate(end - from + to);
  position = to;
}

void DescriptorStream::removeBlock(unsigned long start, unsigned long length) { insert({}, start, length); }

// Towards the end it begins with the last part, so that nothing is overwritten before it was moved.
void DescriptorStream::move(off_t from, off_t to, off_t count) {
  if (from == to) return;
  std::vector<char> part(static_cast<std::size_t>(kPartBytes));
  for (off_t done = 0; done < count && firstError == 0;) {
    const off_t bytes = std::min(kPartBytes, count - done);
    const off_t offset = to > from ? count - done - bytes : done;
    const auto wanted = static_cast<std::size_t>(bytes);
    if (readAt(file, from + offset, part.data(), wanted) != wanted) noteError(EIO);
    writeAt(to + offset, part.data(), wanted);
    done += bytes;
  }
}

void DescriptorStream::seek(long offset, Position from) {
  const long start = from == Beginning ? 0 : from == Current ? position : length();
  position = std::max(start + offset, 0L);
}

long DescriptorStream::length() {
  struct stat status = {};
  if (fstat(file, &status) != 0) noteError(errno);
  return status.st_size;
}

void DescriptorStream::truncate(long length) {
  if (ftruncate(file, length) != 0) noteError(errno);
}

void DescriptorStream::writeAt(off_t place, const char* bytes, std::size_t count) {
  while (count > 0 && firstError == 0) {
    const ssize_t written = pwrite(file, bytes, count, place);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return noteError(written < 0 ? errno : ENOSPC);
    bytes += written;
    place += written;
    count -= static_cast<std::size_t>(written);
  }
}

void DescriptorStream::noteError(int error) {
  if (firstError == 0) firstError = error;
}
