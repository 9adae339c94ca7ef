#include "render/file/OutputFile.h"

#include "render/text/Fault.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The mask can be asked for only by changing it, which other threads would notice.
unsigned newFileMode() {
  static const unsigned mode = [] {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
  }();
  return mode;
}

// Where a chain of links ends, whether something is there or not.
std::filesystem::path endOfLinks(std::filesystem::path path) {
  std::error_code error;
  while (std::filesystem::is_symlink(path, error))
    path = path.parent_path() / std::filesystem::read_symlink(path);
  return path;
}

} // namespace

OutputFile::OutputFile(const std::string& name, bool mayReplace)
    : path(name), target(name), replaces(mayReplace), mode(newFileMode()) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) fail("a directory", "give the name of a file");
    if (!S_ISREG(status.st_mode)) fail("not a regular file", "give the name of a file");
    if (!replaces) failTaken();
    if (access(path.c_str(), W_OK) != 0) fail(std::strerror(errno), "give a file that may be written");
    mode = status.st_mode & 07777;
    target = std::filesystem::canonical(path);
  } else if (errno == ELOOP) {
    fail(std::strerror(errno), "give the name of a file");
  } else {
    target = endOfLinks(path);
  }
  createTemporary();
}

void OutputFile::createTemporary() {
  std::string name = directoryOf(target) + "/.treadshift-render-XXXXXX";
  const Holding hold;
  file = mkostemp(name.data(), O_CLOEXEC);
  if (file < 0) {
    fail("cannot write in '" + directoryOf(target) + "': " + std::strerror(errno),
         "give a directory that may be written");
  }
  temporaryPath = name;
  enlist();
}

OutputFile::~OutputFile() {
  if (file >= 0) close(file);
  const Holding hold;
  finish();
  if (!temporaryPath.empty()) unlink(temporaryPath.c_str());
}

void OutputFile::abandon() noexcept { unlink(temporaryPath.c_str()); }

void OutputFile::publish() {
  const bool whole = fchmod(file, mode) == 0 && fsync(file) == 0;
  const Holding hold;
  if (!whole || !takeName()) {
    if (errno == EEXIST) failTaken();
    fail(std::string("cannot be written: ") + std::strerror(errno), "");
  }
  finish();
  temporaryPath.clear();
}

// Some file systems cannot rename without replacing, others know no second name for a file; one of the two
// works nearly everywhere.
bool OutputFile::takeName() const {
  const char* const from = temporaryPath.c_str();
  const char* const to = target.c_str();
  if (replaces) return std::rename(from, to) == 0;
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  return errno == EINVAL && link(from, to) == 0 && unlink(from) == 0;
}

void OutputFile::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "output", path, wrong, right);
}

void OutputFile::failTaken() const {
  fail("exists already", "give another name, or leave out --no-clobber to replace it");
}

bool isSameFile(const std::string& first, const std::string& second) {
  struct stat a = {}, b = {};
  return stat(first.c_str(), &a) == 0 && stat(second.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
         a.st_ino == b.st_ino;
}

std::string directoryOf(const std::string& path) {
  const std::string directory = std::filesystem::path(path).parent_path();
  return directory.empty() ? "." : directory;
}
