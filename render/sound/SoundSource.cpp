#include "render/sound/SoundSource.h"

#include "render/file/ScratchFile.h"
#include "render/sound/SoundKind.h"
#include "render/text/Fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::int64_t kCopyBytes = 65536;

[[noreturn]] void fail(const std::string& path, const std::string& wrong, const std::string& right) {
  throw Fault(ExitStatus::couldNot, "input", path, wrong, right);
}

int openDescriptor(const std::string& path) {
  const int descriptor = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                     : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) fail(path, std::strerror(errno), "give a sound file");
  return descriptor;
}

// The first bytes of a pipe, which stay in it: as many as are there, up to 64; none when it cannot be looked
// into.
std::string peek(int pipe) {
  int copy[2] = {-1, -1};
  if (pipe2(copy, O_CLOEXEC) != 0) return "";
  std::string start(64, '\0');
  const ssize_t count = tee(pipe, copy[1], start.size(), 0);
  start.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  if (read(copy[0], start.data(), start.size()) != count) start.clear();
  close(copy[0]);
  close(copy[1]);
  return start;
}

// Coded samples, too, need to be read out of order. Where the bytes that tell are not there yet, most
// probably they are none.
bool canBeReadAsItComes(int pipe) {
  const std::string start = peek(pipe);
  const auto tells = [&](std::size_t place, std::string_view bytes) {
    return start.compare(std::min(place, start.size()), bytes.size(), bytes) == 0;
  };
  if (tells(0, "RIFF")) {
    if (!tells(12, "fmt ") || start.size() < 22) return true;
    constexpr const char* kKinds[] = {"\1\0", "\3\0", "\6\0", "\7\0", "\xfe\xff"};
    return std::ranges::any_of(kKinds,
                               [&](const char* kind) { return tells(20, std::string_view(kind, 2)); });
  }
  constexpr std::size_t kKindPlace = 15;
  return tells(0, ".snd") &&
         (start.size() <= kKindPlace || start[kKindPlace] <= 7 || start[kKindPlace] == 27);
}

// A pipe's bytes on their way into a file that can be read out of order.
class Spool {
public:
  Spool(int from, const std::string& name) : pipe(from), path(name), file(temporaryDirectory()) {}

  // Until the file has so many bytes or the pipe has ended.
  void copyUpTo(std::int64_t bytes) {
    while (!hasEnded && length < bytes)
      copyPart(std::min(kCopyBytes, bytes - length));
  }

  void copyRest() {
    while (!hasEnded)
      copyPart(kCopyBytes);
  }

  // Tags that stand in front of the sound hide it.
  void copyStart() {
    std::int64_t wanted = 0;
    while (!hasEnded && length < (wanted = leadingTagBytes(bytes()) + kTellingBytes))
      copyUpTo(wanted);
  }

  SoundBytes bytes() const { return SoundBytes(file.descriptor()); }
  int release() { return file.release(); }

private:
  void copyPart(std::int64_t most) {
    part.resize(static_cast<std::size_t>(kCopyBytes));
    const ssize_t count = read(pipe, part.data(), static_cast<std::size_t>(most));
    if (count < 0 && errno == EINTR) return;
    if (count < 0) fail(path, std::strerror(errno), "give a sound file");
    hasEnded = count == 0;
    file.write(part.data(), static_cast<std::size_t>(count));
    length += count;
  }

  int pipe;
  std::string path;
  ScratchFile file;
  std::int64_t length = 0;
  bool hasEnded = false;
  std::vector<char> part;
};

int spooled(int pipe, const std::string& path) {
  Spool spool(pipe, path);
  spool.copyStart();
  const SoundBytes start = withoutTags(spool.bytes());
  if (kindOf(start) == SoundKind::none) refuseForeign(path, start.size() == 0);
  spool.copyRest();
  return spool.release();
}

} // namespace

SoundSource::SoundSource(const std::string& path) : SoundSource(openDescriptor(path)) {
  struct stat status = {};
  if (fstat(file, &status) != 0) fail(path, std::strerror(errno), "give a sound file");
  if (S_ISDIR(status.st_mode)) fail(path, "a directory", "give a sound file");
  if (isatty(file)) fail(path, "a terminal", "send a sound file into it, with < or |");
  if (S_ISREG(status.st_mode)) {
    begin = std::max<off_t>(0, lseek(file, 0, SEEK_CUR));
    return;
  }
  live = S_ISFIFO(status.st_mode) && canBeReadAsItComes(file);
  if (live) return;
  const int pipe = file;
  file = spooled(pipe, path);
  close(pipe);
}

SoundSource::~SoundSource() { close(file); }

SoundBytes SoundSource::bytes() const {
  const SoundBytes whole(file);
  return whole.part(std::min(begin, whole.size()), whole.size());
}
