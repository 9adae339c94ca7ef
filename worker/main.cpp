// treadshift-worker32: opens one 32-bit module for a 64-bit program, which talks to it on the socket that is
// its standard input. It knows the record and host/, and needs the C and C++ run-times alone.

#include "worker/EffectServer.h"

#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kCouldNot = 1, kWrongCall = 2;

bool isSocket(int descriptor) {
  int kind = 0;
  socklen_t bytes = sizeof kind;
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &kind, &bytes) == 0 && kind == SOCK_STREAM;
}

// Away from the standard streams, which belong to the module's code: it shall find them as usual.
int takeSocket() {
  const int socket = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (nothing >= 0) {
    dup2(nothing, STDIN_FILENO);
    close(nothing);
  }
  return socket;
}

// Module code may never return; a worker whose program is gone must not stay. Only the program's end hangs
// up: while it waits for the worker's end it keeps its own end open.
void endWithProgram(int socket) {
  std::thread([socket] {
    struct pollfd end = {socket, 0, 0};
    while (poll(&end, 1, -1) <= 0)
      continue;
    _exit(kCouldNot);
  }).detach();
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !isSocket(STDIN_FILENO)) {
    std::fputs("treadshift-worker32: serves a 32-bit module to treadshift-render, which starts it by itself; "
               "use treadshift-render --module PATH\n",
               stderr);
    return kWrongCall;
  }
  const int socket = takeSocket();
  if (socket < 0) return kCouldNot;
  endWithProgram(socket);
  return EffectServer(socket).serve(argv[1]) ? 0 : kCouldNot;
}
