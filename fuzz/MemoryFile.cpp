#include "fuzz/MemoryFile.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

MemoryFile::MemoryFile()
    : file(memfd_create("treadshift-fuzz", MFD_CLOEXEC)), path("/proc/self/fd/" + std::to_string(file)) {
  if (file < 0) std::abort();
}

MemoryFile::~MemoryFile() { close(file); }

void MemoryFile::fill(const std::uint8_t* data, std::size_t size) {
  const bool filled = ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size) &&
                      lseek(file, 0, SEEK_SET) == 0;
  if (!filled) std::abort();
}
