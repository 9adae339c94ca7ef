#include "render/look/Subprocess.h"

#include "render/text/Fault.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t kKeptBytes = 4096; // of a program's complaints

// The signals as they are for a program started from a shell, whatever this one does with them.
class SpawnAttributes {
public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    sigset_t none, ours;
    sigemptyset(&none);
    sigemptyset(&ours);
    for (int number : {SIGPIPE, SIGXFSZ})
      sigaddset(&ours, number);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &ours);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  posix_spawnattr_t attributes;
};

class SpawnActions {
public:
  // inputEnd: negative for none.
  SpawnActions(int inputEnd, int errorEnd, const std::string& directory) {
    posix_spawn_file_actions_init(&actions);
    if (inputEnd < 0)
      posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    else
      posix_spawn_file_actions_adddup2(&actions, inputEnd, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errorEnd, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
  }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  posix_spawn_file_actions_t actions;
};

// Closes the ends that are not taken out of it.
struct Pipe {
  int readEnd = -1, writeEnd = -1;

  Pipe() = default;
  ~Pipe() {
    for (int end : {readEnd, writeEnd})
      if (end >= 0) close(end);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  // Result: 0, or errno.
  int open() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) return errno;
    readEnd = ends[0];
    writeEnd = ends[1];
    return 0;
  }
};

std::vector<char*> argumentList(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<char*> list = {const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments)
    list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  return list;
}

// Reads to the end, so that the program is never held up, and keeps the beginning.
std::string beginning(int end) {
  std::string text;
  char part[1024];
  for (;;) {
    const ssize_t count = read(end, part, sizeof part);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(part,
                std::min(static_cast<std::size_t>(count), kKeptBytes - std::min(kKeptBytes, text.size())));
  }
}

std::string firstLineOf(const std::string& text) {
  const std::size_t start = text.find_first_not_of(" \t\r\n");
  return start == std::string::npos ? "" : text.substr(start, text.find_first_of("\r\n", start) - start);
}

} // namespace

std::string findProgram(const std::string& name) {
  const char* const path = std::getenv("PATH");
  std::istringstream directories(path ? path : "");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
    std::error_code error;
    if (std::filesystem::is_regular_file(candidate, error) && access(candidate.c_str(), X_OK) == 0)
      return std::filesystem::absolute(candidate, error);
  }
  return "";
}

Subprocess::Subprocess(const std::string& path, const std::vector<std::string>& arguments,
                       const std::string& directory, Input kind) {
  Pipe input, said;
  int error = said.open();
  if (error == 0 && kind == Input::pipe) error = input.open();
  if (error == 0) {
    const SpawnAttributes attributes;
    const SpawnActions actions(input.readEnd, said.writeEnd, directory);
    const Holding hold;
    error = posix_spawn(&process, path.c_str(), &actions.actions, &attributes.attributes,
                        argumentList(path, arguments).data(), environ);
    if (error == 0) enlist();
  }
  if (error != 0) {
    throw Fault(ExitStatus::couldNot, "program", path,
                std::string("cannot be started: ") + std::strerror(error));
  }
  inputEnd = std::exchange(input.writeEnd, -1);
  errors = std::exchange(said.readEnd, -1);
}

Subprocess::~Subprocess() {
  endInput();
  if (process > 0) collect();
  close(errors);
}

void Subprocess::endInput() {
  if (inputEnd >= 0) close(std::exchange(inputEnd, -1));
}

SubprocessEnd Subprocess::wait() {
  endInput();
  const std::string said = beginning(errors);
  const int status = collect();
  return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), firstLineOf(said)};
}

// Off the list before it is collected, which frees its number for another process.
int Subprocess::collect() {
  siginfo_t ended;
  while (waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT) < 0 && errno == EINTR)
    continue;
  const Holding hold;
  finish();
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR)
    continue;
  process = -1;
  return status;
}

void Subprocess::abandon() noexcept { kill(process, SIGTERM); }
