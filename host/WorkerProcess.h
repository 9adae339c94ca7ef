// A process that this one starts, talks to over a socket, and takes down with itself.
#pragma once

#include <chrono>
#include <span>
#include <string>
#include <sys/types.h>

// Several threads may have processes of their own at the same time; one process is used by one thread at a
// time. No operation raises SIGPIPE, and none leaves a descriptor or a zombie behind.
class WorkerProcess {
public:
  enum class Transfer { done, hungUp, stalled };

  // Starts `program` with one argument. Its standard input is the socket, its other standard streams lead
  // nowhere, and it has no other descriptor of this process. The signals by which people stop this process
  // are blocked in it: it ends when the socket hangs up. Throws std::system_error when it cannot be started.
  WorkerProcess(const std::string& program, const std::string& argument);

  // Hangs up, ends the process if it still runs, and collects it.
  ~WorkerProcess();

  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // Transfers all bytes. limit: the longest time without any progress before the transfer counts as stalled;
  // time in which this process was itself stopped does not count.
  Transfer send(std::span<const char> bytes, std::chrono::seconds limit);
  Transfer receive(std::span<char> bytes, std::chrono::seconds limit);

  enum class Ending { unknown, exited, signalled };
  struct End {
    Ending ending;
    int number; // exit status or signal
  };

  // How a process that hung up ended; unknown when it still runs, and is ended now. Call it once.
  End collectAfterHangUp();

private:
  enum class Way { in, out };
  Transfer await(Way way, std::chrono::seconds limit) const;
  bool collect(bool wait);

  int socket = -1; // this process's end
  pid_t process = -1;
  int status = 0; // as waitpid gives it
  bool isCollected = false;
};
