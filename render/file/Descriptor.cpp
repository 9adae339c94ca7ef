#include "render/file/Descriptor.h"

#include <cerrno>
#include <unistd.h>

Descriptor::~Descriptor() {
  if (isOpen()) close(number);
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(number, other.number);
  return *this;
}

int writeAll(int descriptor, const void* bytes, std::size_t count) {
  const char* rest = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = write(descriptor, rest, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return written < 0 ? errno : ENOSPC;
    rest += written;
    count -= static_cast<std::size_t>(written);
  }
  return 0;
}
