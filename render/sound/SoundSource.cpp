#include "render/sound/SoundSource.h"

#include "render/file/ScratchFile.h"
#include "render/text/Fault.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kPartBytes = 65536;

[[noreturn]] void fail(const std::string& path, const std::string& wrong, const std::string& right) {
  throw Fault(ExitStatus::couldNot, "input", path, wrong, right);
}

int openDescriptor(const std::string& path) {
  const int descriptor = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                     : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) fail(path, std::strerror(errno), "give a sound file");
  return descriptor;
}

// The first bytes of a pipe, which stay in it; none when it cannot be looked into.
std::string peek(int pipe) {
  int copy[2] = {-1, -1};
  if (pipe2(copy, O_CLOEXEC) != 0) return "";
  char bytes[4];
  std::string start;
  if (tee(pipe, copy[1], sizeof bytes, 0) == sizeof bytes &&
      read(copy[0], bytes, sizeof bytes) == sizeof bytes)
    start.assign(bytes, sizeof bytes);
  close(copy[0]);
  close(copy[1]);
  return start;
}

bool canBeReadAsItComes(int pipe) {
  const std::string start = peek(pipe);
  return start == "RIFF" || start == ".snd";
}

int spooled(int pipe, const std::string& path) {
  ScratchFile file(temporaryDirectory());
  std::vector<char> part(kPartBytes);
  for (;;) {
    const ssize_t count = read(pipe, part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(path, std::strerror(errno), "give a sound file");
    if (count == 0) break;
    file.write(part.data(), static_cast<std::size_t>(count));
  }
  file.rewind();
  return file.release();
}

class Descriptor {
public:
  explicit Descriptor(int opened) : number(opened) {}
  ~Descriptor() {
    if (number >= 0) close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number; }
  int release() { return std::exchange(number, -1); }

private:
  int number;
};

} // namespace

SoundSource openSoundSource(const std::string& path) {
  Descriptor source(openDescriptor(path));
  struct stat status = {};
  if (fstat(source.get(), &status) != 0) fail(path, std::strerror(errno), "give a sound file");
  if (S_ISDIR(status.st_mode)) fail(path, "a directory", "give a sound file");
  if (isatty(source.get())) fail(path, "a terminal", "send a sound file into it, with < or |");
  if (S_ISREG(status.st_mode)) return {source.release(), true};
  if (S_ISFIFO(status.st_mode) && canBeReadAsItComes(source.get())) return {source.release(), false};
  return {spooled(source.get(), path), true};
}
