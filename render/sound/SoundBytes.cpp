#include "render/sound/SoundBytes.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t kId3v2HeaderBytes = 10;
constexpr std::int64_t kId3v1Bytes = 128;
constexpr std::int64_t kApeFooterBytes = 32;

unsigned byteOf(const std::string& bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

// Of the tag at that place, 0 when there is none. The length is a number of 7 bits to the byte.
std::int64_t id3v2Bytes(const SoundBytes& file, std::int64_t place) {
  const std::string header = file.at(place, kId3v2HeaderBytes);
  if (header.size() < kId3v2HeaderBytes || !header.starts_with("ID3") || byteOf(header, 3) == 0xff) return 0;
  std::int64_t length = 0;
  for (std::size_t i = 6; i < 10; ++i) {
    if (byteOf(header, i) > 0x7f) return 0;
    length = length << 7 | byteOf(header, i);
  }
  const bool hasFooter = (byteOf(header, 5) & 0x10) != 0;
  return kId3v2HeaderBytes + length + (hasFooter ? kId3v2HeaderBytes : 0);
}

// Of the APE tag that ends at that place, 0 when there is none.
std::int64_t apeBytes(const SoundBytes& file, std::int64_t end) {
  const std::string footer = file.at(end - kApeFooterBytes, kApeFooterBytes);
  if (!footer.starts_with("APETAGEX")) return 0;
  std::int64_t length = 0;
  for (std::size_t i = 16; i-- > 12;)
    length = length << 8 | byteOf(footer, i);
  const bool hasHeader = (byteOf(footer, 23) & 0x80) != 0;
  length += hasHeader ? kApeFooterBytes : 0;
  return length <= end ? length : 0;
}

std::int64_t endBeforeTags(const SoundBytes& file) {
  std::int64_t end = file.size();
  if (end >= kId3v1Bytes && file.holds(end - kId3v1Bytes, "TAG")) end -= kId3v1Bytes;
  return end >= kApeFooterBytes ? end - apeBytes(file, end) : end;
}

} // namespace

SoundBytes::SoundBytes(int descriptor) : file(descriptor) {
  struct stat status = {};
  if (fstat(file, &status) == 0)
    length = status.st_size;
  else
    failure = errno;
}

SoundBytes SoundBytes::part(std::int64_t begin, std::int64_t end) const {
  SoundBytes stretch(*this);
  stretch.start += begin;
  stretch.length = end - begin;
  stretch.next = 0;
  for (Correction& correction : stretch.corrections)
    correction.place -= begin;
  return stretch;
}

void SoundBytes::correct(std::int64_t place, std::string bytes) {
  corrections.push_back({place, std::move(bytes)});
}

std::size_t SoundBytes::read(void* bytes, std::size_t count) noexcept {
  const std::size_t done = readAt(next, static_cast<char*>(bytes), count);
  next += static_cast<std::int64_t>(done);
  return done;
}

std::string SoundBytes::at(std::int64_t place, std::size_t count) const {
  if (place < 0) return "";
  std::string bytes(count, '\0');
  SoundBytes stretch(*this);
  bytes.resize(stretch.readAt(place, bytes.data(), count));
  return bytes;
}

bool SoundBytes::holds(std::int64_t place, std::string_view bytes) const {
  return at(place, bytes.size()) == bytes;
}

std::size_t SoundBytes::readAt(std::int64_t place, char* bytes, std::size_t count) noexcept {
  if (place < 0 || place >= length) return 0;
  count = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(count), length - place));
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got =
        pread(file, bytes + done, count - done, start + place + static_cast<std::int64_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failure = errno;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  for (const Correction& correction : corrections) {
    for (std::size_t i = 0; i < correction.bytes.size(); ++i) {
      const std::int64_t index = correction.place + static_cast<std::int64_t>(i) - place;
      if (index >= 0 && index < static_cast<std::int64_t>(done)) bytes[index] = correction.bytes[i];
    }
  }
  return done;
}

std::int64_t leadingTagBytes(const SoundBytes& file) {
  std::int64_t place = 0;
  while (const std::int64_t length = id3v2Bytes(file, place))
    place += length;
  return place;
}

SoundBytes withoutTags(const SoundBytes& file) {
  const std::int64_t begin = std::min(leadingTagBytes(file), file.size());
  return file.part(begin, std::max(begin, endBeforeTags(file)));
}
