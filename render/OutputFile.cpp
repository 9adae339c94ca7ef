#include "render/OutputFile.h"

#include "render/Fault.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

// The file to remove when a signal ends the program; empty when there is none.
char unfinishedPath[PATH_MAX] = "";

void endBySignal(int number) {
  const int errnoBefore = errno;
  if (unfinishedPath[0] != '\0') {
    unlink(unfinishedPath);
    constexpr std::string_view line = "\ntreadshift-render: interrupted; no output was written\n";
    const bool onTerminal = isatty(STDERR_FILENO);
    [[maybe_unused]] const ssize_t written =
        write(STDERR_FILENO, line.data() + !onTerminal, line.size() - !onTerminal);
  }
  std::signal(number, SIG_DFL);
  raise(number);
  errno = errnoBefore;
}

// Signals that were ignored when the program was started (as by nohup) stay ignored. A limit on file size
// is left to `write`, which then says so.
void installHandlers() {
  struct sigaction action = {};
  action.sa_handler = endBySignal;
  for (int number : kEndingSignals) {
    struct sigaction before = {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

class SignalsHeld {
public:
  SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (int number : kEndingSignals)
      sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before);
  }
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
  sigset_t before;
};

unsigned newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

std::string directoryOf(const std::string& path) {
  const std::string directory = std::filesystem::path(path).parent_path();
  return directory.empty() ? "." : directory;
}

} // namespace

OutputFile::OutputFile(const std::string& name) : path(name), target(name), mode(newFileMode()) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) fail("a directory", "give the name of a file");
    if (!S_ISREG(status.st_mode)) fail("not a regular file", "give the name of a file");
    if (access(path.c_str(), W_OK) != 0) fail(std::strerror(errno), "give a file that may be written");
    mode = status.st_mode & 07777;
    target = std::filesystem::canonical(path);
  }
  createTemporary();
}

void OutputFile::createTemporary() {
  std::string name = directoryOf(target) + "/.treadshift-render-XXXXXX";
  if (name.size() >= sizeof unfinishedPath) fail("the path is too long", "give a shorter one");
  installHandlers();
  const SignalsHeld held;
  file = mkstemp(name.data());
  if (file < 0) {
    fail("cannot write in '" + directoryOf(target) + "': " + std::strerror(errno),
         "give a directory that may be written");
  }
  temporaryPath = name;
  std::strcpy(unfinishedPath, name.c_str());
}

OutputFile::~OutputFile() {
  if (file >= 0) close(file);
  const SignalsHeld held;
  if (!temporaryPath.empty()) unlink(temporaryPath.c_str());
  unfinishedPath[0] = '\0';
}

void OutputFile::publish() {
  const SignalsHeld held;
  const bool published =
      fchmod(file, mode) == 0 && fsync(file) == 0 && std::rename(temporaryPath.c_str(), target.c_str()) == 0;
  if (!published) fail(std::string("cannot be written: ") + std::strerror(errno), "");
  temporaryPath.clear();
  unfinishedPath[0] = '\0';
}

void OutputFile::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "output", path, wrong, right);
}

bool isSameFile(const std::string& first, const std::string& second) {
  struct stat a = {}, b = {};
  return stat(first.c_str(), &a) == 0 && stat(second.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
         a.st_ino == b.st_ino;
}
