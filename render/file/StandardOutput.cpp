#include "render/file/StandardOutput.h"

#include "render/text/Fault.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kPartBytes = 65536;

void send(const char* bytes, std::size_t count) {
  for (std::size_t done = 0; done < count;) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes + done, count - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      throw Fault(ExitStatus::couldNot, "output", "-",
                  std::string("cannot be written: ") + std::strerror(written < 0 ? errno : ENOSPC));
    }
    done += static_cast<std::size_t>(written);
  }
}

} // namespace

StandardOutput::StandardOutput(bool streams) {
  if (isatty(STDOUT_FILENO)) {
    throw Fault(ExitStatus::wrongCall, "output", "-", "the standard output is a terminal",
                "send it to a file or a program, with > or |");
  }
  if (!streams) whole.emplace(temporaryDirectory());
}

int StandardOutput::descriptor() const { return whole ? whole->descriptor() : STDOUT_FILENO; }

void StandardOutput::publish() {
  if (!whole) return;
  whole->rewind();
  std::vector<char> part(kPartBytes);
  while (const std::size_t count = whole->read(part.data(), part.size()))
    send(part.data(), count);
}
