#include "render/file/TextFile.h"

#include "render/file/Descriptor.h"
#include "render/text/Fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string& subject, const std::string& path, const std::string& wrong,
                       const std::string& right) {
  throw Fault(ExitStatus::couldNot, subject, path, wrong, right);
}

std::string errorText() { return std::strerror(errno); }

} // namespace

std::string readSmallFile(const std::string& subject, const std::string& path, std::size_t largestBytes) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen() && errno == ENOENT) fail(subject, path, "no such file", "give one that is there");
  if (!file.isOpen()) fail(subject, path, "cannot be opened (" + errorText() + ")", "");
  struct stat status = {};
  if (fstat(file.get(), &status) == 0 && S_ISDIR(status.st_mode)) {
    fail(subject, path, "a directory", "give a file");
  }
  std::string bytes;
  char part[65536];
  for (;;) {
    const ssize_t count = read(file.get(), part, sizeof part);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(subject, path, "cannot be read (" + errorText() + ")", "");
    if (count == 0) return bytes;
    bytes.append(part, static_cast<std::size_t>(count));
    if (bytes.size() > largestBytes) {
      fail(subject, path, "larger than " + std::to_string(largestBytes / 1048576) + " MiB",
           "give a smaller one");
    }
  }
}

bool isPlainText(std::string_view bytes) {
  return std::none_of(bytes.begin(), bytes.end(), [](char character) {
    const auto code = static_cast<unsigned char>(character);
    return code == 0x7f ||
           (code < 0x20 && std::string_view("\t\n\r").find(character) == std::string_view::npos);
  });
}
