#include "render/sound/OggSerial.h"

#include <cerrno>
#include <cstring>
#include <numeric>
#include <ogg/ogg.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kHeaderBytes = 27; // up to the count of segments, its last byte
constexpr std::size_t kSerialOffset = 14;
constexpr std::size_t kLargestPageBytes = kHeaderBytes + 255 + std::size_t{255} * 255;
constexpr unsigned char kSerial[4] = {'t', 's', 'f', 't'};

// The length of the page at the start of `bytes`, or 0 when none stands there whole.
std::size_t pageLength(const unsigned char* bytes, std::size_t available, std::size_t& headerLength) {
  if (available < kHeaderBytes || std::memcmp(bytes, "OggS", 4) != 0) return 0;
  headerLength = kHeaderBytes + bytes[kHeaderBytes - 1];
  if (available < headerLength) return 0;
  const std::size_t length = std::accumulate(bytes + kHeaderBytes, bytes + headerLength, headerLength);
  return length <= available ? length : 0;
}

} // namespace

bool fixOggSerial(int file) {
  std::vector<unsigned char> bytes(kLargestPageBytes);
  for (off_t position = 0;;) {
    const ssize_t available = pread(file, bytes.data(), bytes.size(), position);
    if (available <= 0) return available == 0;
    std::size_t headerLength = 0;
    const std::size_t length = pageLength(bytes.data(), static_cast<std::size_t>(available), headerLength);
    if (length == 0) return errno = EINVAL, false;
    std::memcpy(bytes.data() + kSerialOffset, kSerial, sizeof kSerial);
    ogg_page page = {bytes.data(), static_cast<long>(headerLength), bytes.data() + headerLength,
                     static_cast<long>(length - headerLength)};
    ogg_page_checksum_set(&page);
    if (pwrite(file, bytes.data(), headerLength, position) != static_cast<ssize_t>(headerLength))
      return false;
    position += static_cast<off_t>(length);
  }
}
