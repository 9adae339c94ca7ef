#include "render/file/Interruption.h"

#include "render/text/Console.h"

#include <csignal>
#include <mutex>
#include <thread>

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

std::mutex listHeld;
Unfinished* firstUnfinished = nullptr;

sigset_t signalsToWatch() {
  sigset_t watched;
  sigemptyset(&watched);
  for (int number : kEndingSignals) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&watched, number);
  }
  return watched;
}

[[noreturn]] void endBySignal(int number, const sigset_t& watched) {
  std::signal(number, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
  std::raise(number);
  std::abort();
}

} // namespace

// The list stays locked to the end: no thread can finish or begin anything once the abandoning has begun.
class Interruption {
public:
  [[noreturn]] static void await(const sigset_t& watched) {
    int number = 0;
    while (sigwait(&watched, &number) != 0)
      continue;
    listHeld.lock();
    if (firstUnfinished) {
      for (Unfinished* each = firstUnfinished; each; each = each->next)
        each->abandon();
      printLastMessage("interrupted; no unfinished output is left");
    }
    endBySignal(number, watched);
  }
};

Unfinished::Holding::Holding() { listHeld.lock(); }
Unfinished::Holding::~Holding() { listHeld.unlock(); }

void Unfinished::enlist() {
  next = firstUnfinished;
  firstUnfinished = this;
  enlisted = true;
}

void Unfinished::finish() {
  if (!enlisted) return;
  Unfinished** link = &firstUnfinished;
  while (*link != this)
    link = &(*link)->next;
  *link = next;
  enlisted = false;
}

// A limit on file size is left to the write, which then says so.
void guardAgainstInterruption() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  const sigset_t watched = signalsToWatch();
  pthread_sigmask(SIG_BLOCK, &watched, nullptr);
  std::thread(Interruption::await, watched).detach();
}
