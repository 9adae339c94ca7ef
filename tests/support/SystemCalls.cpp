#include "tests/support/SystemCalls.h"

#include <csignal>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kNoFilter = 77, kCallMade = 78; // exit statuses of the child
constexpr std::size_t kBytes = 4096;          // of the page that parent and child share

volatile long* callMade = nullptr; // in that page

[[noreturn]] void endChild(int status) {
  for (;;)
    syscall(SYS_exit_group, status);
}

void onSystemCall(int, siginfo_t* info, void*) {
  *callMade = info->si_syscall;
  endChild(kCallMade);
}

// A test program's own handlers of these would report the end, by system calls.
void endOnFaults() {
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV})
    std::signal(fault, SIG_DFL);
}

// From here on the process may end; any other system call raises a signal instead.
bool forbidSystemCalls() {
  struct sigaction action = {};
  action.sa_sigaction = onSystemCall;
  action.sa_flags = SA_SIGINFO;
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
  };
  const sock_fprog program = {std::size(rules), rules};
  return sigaction(SIGSYS, &action, nullptr) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// What wait() tells of a child that runs `work` with system calls forbidden.
int statusOf(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child process can be had");
  if (child == 0) {
    endOnFaults();
    if (!forbidSystemCalls()) endChild(kNoFilter);
    work();
    endChild(0);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("the child process is lost");
  return status;
}

} // namespace

std::optional<long> firstSystemCall(const std::function<void()>& work) {
  void* page = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) throw std::runtime_error("no memory to share with a child process");
  callMade = static_cast<volatile long*>(page);
  const int status = statusOf(work);
  const long number = *callMade;
  munmap(page, kBytes);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return std::nullopt;
  if (WIFEXITED(status) && WEXITSTATUS(status) == kCallMade) return number;
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoFilter)
    throw std::runtime_error("this kernel offers no system call filter");
  throw std::runtime_error("the child process ended with status " + std::to_string(status));
}
