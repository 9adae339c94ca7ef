#include "host/WorkerProcess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

constexpr char kNowhere[] = "/dev/null";

void check(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

class SpawnSettings {
public:
  explicit SpawnSettings(int childSocket) {
    check(posix_spawn_file_actions_init(&actions), "posix_spawn_file_actions_init");
    check(posix_spawnattr_init(&attributes), "posix_spawnattr_init");
    setDescriptors(childSocket);
    setSignals();
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;

private:
  void setDescriptors(int childSocket) {
    check(posix_spawn_file_actions_adddup2(&actions, childSocket, STDIN_FILENO), "dup2");
    check(posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, kNowhere, O_WRONLY, 0), kNowhere);
    check(posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, kNowhere, O_WRONLY, 0), kNowhere);
    check(posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1), "closefrom");
  }

  // A terminal or `timeout` signals the whole group; this process decides what that means for its work.
  void setSignals() {
    sigset_t blocked, standard;
    sigemptyset(&blocked);
    for (int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM})
      sigaddset(&blocked, number);
    sigfillset(&standard);
    check(posix_spawnattr_setsigmask(&attributes, &blocked), "sigmask");
    check(posix_spawnattr_setsigdefault(&attributes, &standard), "sigdefault");
    check(posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF), "flags");
  }
};

} // namespace

WorkerProcess::WorkerProcess(const std::string& program, const std::string& argument) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) check(errno, "socketpair");
  socket = ends[0];
  int error = 0;
  try {
    const SpawnSettings settings(ends[1]);
    char* const arguments[] = {const_cast<char*>(program.c_str()), const_cast<char*>(argument.c_str()),
                               nullptr};
    error =
        posix_spawn(&process, program.c_str(), &settings.actions, &settings.attributes, arguments, environ);
  } catch (const std::system_error& fault) {
    error = fault.code().value();
  }
  close(ends[1]);
  if (error != 0) {
    close(socket);
    check(error, program.c_str());
  }
}

WorkerProcess::~WorkerProcess() {
  close(socket);
  if (isCollected) return;
  kill(process, SIGKILL);
  collect(true);
}

WorkerProcess::Transfer WorkerProcess::send(std::span<const char> bytes, std::chrono::seconds limit) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      if (const Transfer wait = await(Way::out, limit); wait != Transfer::done) return wait;
    } else if (errno != EINTR) {
      return Transfer::hungUp;
    }
  }
  return Transfer::done;
}

WorkerProcess::Transfer WorkerProcess::receive(std::span<char> bytes, std::chrono::seconds limit) {
  while (!bytes.empty()) {
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (count < 0 && errno == EAGAIN) {
      if (const Transfer wait = await(Way::in, limit); wait != Transfer::done) return wait;
    } else if (count == 0 || errno != EINTR) {
      return Transfer::hungUp;
    }
  }
  return Transfer::done;
}

// Waits in slices of a second: while this process is stopped no more than one of them can pass.
WorkerProcess::Transfer WorkerProcess::await(Way way, std::chrono::seconds limit) const {
  constexpr int kSliceMilliseconds = 1000;
  struct pollfd end = {socket, static_cast<short>(way == Way::in ? POLLIN : POLLOUT), 0};
  for (auto slices = limit.count(); slices > 0;) {
    const int ready = poll(&end, 1, kSliceMilliseconds);
    if (ready > 0) return Transfer::done;
    if (ready == 0)
      --slices;
    else if (errno != EINTR)
      return Transfer::hungUp;
  }
  return Transfer::stalled;
}

// True when the process has ended, or was collected by somebody else.
bool WorkerProcess::collect(bool wait) {
  while (!isCollected) {
    const pid_t answer = waitpid(process, &status, wait ? 0 : WNOHANG);
    if (answer == 0) return false;
    if (answer < 0 && errno == EINTR) continue;
    isCollected = true;
    if (answer < 0) process = -1;
  }
  return true;
}

WorkerProcess::End WorkerProcess::collectAfterHangUp() {
  // A process that ends closes its socket a moment before it can be collected.
  constexpr int kAttempts = 1000;
  constexpr auto kPause = std::chrono::milliseconds(1);
  for (int attempt = 0; attempt < kAttempts && !collect(false); ++attempt)
    std::this_thread::sleep_for(kPause);
  if (!isCollected) {
    kill(process, SIGKILL);
    collect(true);
    return {Ending::unknown, 0};
  }
  if (process < 0) return {Ending::unknown, 0};
  if (WIFSIGNALED(status)) return {Ending::signalled, WTERMSIG(status)};
  return {Ending::exited, WEXITSTATUS(status)};
}
