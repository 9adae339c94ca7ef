#include "tests/support/LockCalls.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <ostream>
#include <pthread.h>
#include <semaphore.h>

namespace {

constexpr std::size_t kMostCalls = 1000;

struct Noted {
  const char* function;
  const void* object;
};

std::atomic<bool> noting = false;
std::atomic<std::size_t> count = 0;
Noted noted[kMostCalls]; // fixed: noting must not allocate
LockWatcher watcher = nullptr;

void note(const char* function, const void* object) {
  if (!noting) return;
  if (count < kMostCalls) noted[count++] = {function, object};
  if (!watcher) return;
  noting = false;
  watcher(function);
  noting = true;
}

// The C library's own function. Conditions have an older form, which a look-up without a version would find.
template <typename Function> Function* own(Function*, const char* name, const char* version = nullptr) {
  void* found = version ? dlvsym(RTLD_NEXT, name, version) : dlsym(RTLD_NEXT, name);
  if (!found) std::abort();
  return reinterpret_cast<Function*>(found);
}

// Notes a call of `function` on `object`, and makes it.
#define NOTE_AND_CALL(function, object, ...)                                                                 \
  static auto* const real = own(function, #function);                                                        \
  note(#function, const_cast<const void*>(static_cast<const volatile void*>(object)));                       \
  return real(object __VA_OPT__(, ) __VA_ARGS__)
#define NOTE_AND_CALL_CONDITION(function, object, ...)                                                       \
  static auto* const real = own(function, #function, "GLIBC_2.3.2");                                         \
  note(#function, object);                                                                                   \
  return real(object __VA_OPT__(, ) __VA_ARGS__)

} // namespace

#pragma GCC visibility push(default) // modules are to find these and not the C library's
extern "C" {

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept { NOTE_AND_CALL(pthread_mutex_lock, mutex); }
int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept { NOTE_AND_CALL(pthread_mutex_trylock, mutex); }
int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* until) noexcept {
  NOTE_AND_CALL(pthread_mutex_timedlock, mutex, until);
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept { NOTE_AND_CALL(pthread_mutex_unlock, mutex); }
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept { NOTE_AND_CALL(pthread_rwlock_rdlock, lock); }
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept { NOTE_AND_CALL(pthread_rwlock_wrlock, lock); }
int pthread_spin_lock(pthread_spinlock_t* lock) noexcept { NOTE_AND_CALL(pthread_spin_lock, lock); }
int sem_wait(sem_t* semaphore) { NOTE_AND_CALL(sem_wait, semaphore); }
int sem_post(sem_t* semaphore) noexcept { NOTE_AND_CALL(sem_post, semaphore); }

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  NOTE_AND_CALL_CONDITION(pthread_cond_wait, condition, mutex);
}
int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until) {
  NOTE_AND_CALL_CONDITION(pthread_cond_timedwait, condition, mutex, until);
}
int pthread_cond_signal(pthread_cond_t* condition) noexcept {
  NOTE_AND_CALL_CONDITION(pthread_cond_signal, condition);
}
int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
  NOTE_AND_CALL_CONDITION(pthread_cond_broadcast, condition);
}
}
#pragma GCC visibility pop

std::ostream& operator<<(std::ostream& stream, const LockCall& call) {
  return stream << call.function << '(' << call.object << ')';
}

void startLockCalls(LockWatcher before) {
  watcher = before;
  count = 0;
  noting = true;
}

std::vector<LockCall> endLockCalls() {
  noting = false;
  std::vector<LockCall> calls;
  std::transform(noted, noted + count, std::back_inserter(calls), [](const Noted& n) {
    return LockCall{n.function, n.object};
  });
  return calls;
}
