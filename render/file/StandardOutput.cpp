#include "render/file/StandardOutput.h"

#include "render/file/Descriptor.h"
#include "render/text/Fault.h"

#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kPartBytes = 65536;

void send(const char* bytes, std::size_t count) {
  if (const int error = writeAll(STDOUT_FILENO, bytes, count))
    throw Fault(ExitStatus::couldNot, "output", "-",
                std::string("cannot be written: ") + std::strerror(error));
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
