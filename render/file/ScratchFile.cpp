#include "render/file/ScratchFile.h"

#include "render/text/Fault.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Not every file system has files without a name; there a name is taken and given back at once.
int openUnlinked(const std::string& directory) {
  const int file = open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file >= 0) return file;
  std::string name = directory + "/.treadshift-render-XXXXXX";
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) unlink(name.c_str());
  return named;
}

} // namespace

std::string temporaryDirectory() {
  const char* const given = std::getenv("TMPDIR");
  return given && *given ? given : "/tmp";
}

ScratchFile::ScratchFile(const std::string& directory) : place(directory), file(openUnlinked(directory)) {
  if (!file.isOpen()) fail(errno);
}

void ScratchFile::write(const void* bytes, std::size_t count) {
  if (const int error = writeAll(file.get(), bytes, count)) fail(error);
}

void ScratchFile::rewind() {
  if (lseek(file.get(), 0, SEEK_SET) != 0) fail(errno);
}

std::size_t ScratchFile::read(void* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got = ::read(file.get(), static_cast<char*>(bytes) + done, count - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(errno);
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void ScratchFile::fail(int error) const {
  throw Fault(ExitStatus::couldNot, "temporary file in", place, std::strerror(error),
              "make room, or name another directory with TMPDIR");
}
