#include "render/file/OutputFile.h"

#include "render/text/Fault.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

constexpr char kHiddenName[] = "/.treadshift-render-"; // and something of its own

// How the system calls an open file, so that one without a name can be given one.
std::string nameOfDescriptor(int file) { return "/proc/self/fd/" + std::to_string(file); }

// None where the file system has no such files, or the system no way to name one later.
Descriptor openNameless(const std::string& directory) {
  Descriptor file(open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (file.isOpen() && access(nameOfDescriptor(file.get()).c_str(), F_OK) != 0) return Descriptor();
  return file;
}

// Gives it a name that is free; false with errno set when it is not (EEXIST) or something else is wrong.
bool nameNameless(int file, const std::string& name) {
  return linkat(AT_FDCWD, nameOfDescriptor(file).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

} // namespace

void refuseToReplace(const std::string& path) {
  throw Fault(ExitStatus::couldNot, "output", path, "exists already",
              "give another name, or leave out --no-clobber to replace it");
}

OutputFile::OutputFile(const std::string& name, ReplacingRule replacingRule)
    : path(name), target(name), rule(std::move(replacingRule)), mode(newFileMode()) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) fail("a directory", "give the name of a file");
    if (!S_ISREG(status.st_mode)) fail("not a regular file", "give the name of a file");
    if (rule) rule(path);
    if (access(path.c_str(), W_OK) != 0) fail(std::strerror(errno), "give a file that may be written");
    mode = status.st_mode & 07777;
    target = std::filesystem::canonical(path);
  } else if (errno == ELOOP) {
    fail(std::strerror(errno), "give the name of a file");
  } else {
    target = endOfLinks(path);
  }
  create();
}

void OutputFile::create() {
  const Holding hold;
  file = openNameless(directoryOf(target));
  if (!file.isOpen()) {
    std::string name = directoryOf(target) + kHiddenName + "XXXXXX";
    file = Descriptor(mkostemp(name.data(), O_CLOEXEC));
    if (file.isOpen()) hiddenPath = name;
  }
  if (!file.isOpen()) {
    fail("cannot write in '" + directoryOf(target) + "': " + std::strerror(errno),
         "give a directory that may be written");
  }
  enlist();
}

OutputFile::~OutputFile() {
  const Holding hold;
  finish();
  abandon();
}

void OutputFile::abandon() noexcept {
  if (!hiddenPath.empty()) unlink(hiddenPath.c_str());
}

void OutputFile::publish() {
  if (fchmod(file.get(), mode) != 0 || fsync(file.get()) != 0) failUnwritten();
  if (takeFreeName()) return;
  if (rule && access(target.c_str(), F_OK) == 0) rule(path);
  if (!takeNamedFilesPlace()) failUnwritten();
}

// Some file systems cannot rename without replacing, others know no second name for a file; one of the two
// works nearly everywhere.
bool OutputFile::takeFreeName() {
  const Holding hold;
  const char* const from = hiddenPath.c_str();
  const char* const to = target.c_str();
  const bool taken = hiddenPath.empty() ? nameNameless(file.get(), target)
                                        : renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0 ||
                                              (errno == EINVAL && link(from, to) == 0 && unlink(from) == 0);
  if (taken) finishNamed();
  return taken;
}

bool OutputFile::takeNamedFilesPlace() {
  const Holding hold;
  if (hiddenPath.empty() && !nameHidden()) return false;
  if (std::rename(hiddenPath.c_str(), target.c_str()) != 0) return false;
  finishNamed();
  return true;
}

bool OutputFile::nameHidden() {
  static std::atomic<unsigned> count = 0;
  const std::string start = directoryOf(target) + kHiddenName + std::to_string(getpid()) + "-";
  for (;;) {
    const std::string name = start + std::to_string(count++);
    if (nameNameless(file.get(), name)) {
      hiddenPath = name;
      return true;
    }
    if (errno != EEXIST) return false;
  }
}

void OutputFile::finishNamed() {
  finish();
  hiddenPath.clear();
}

void OutputFile::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "output", path, wrong, right);
}

void OutputFile::failUnwritten() const {
  fail(std::string("cannot be written: ") + std::strerror(errno), "");
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
