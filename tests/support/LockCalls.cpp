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

void note(const char* function, const void* object) {
  if (noting && count < kMostCalls) noted[count++] = {function, object};
}

// The C library's own function. Conditions have an older form, which a look-up without a version would find.
template <typename Function> Function* own(const char* name, const char* version = nullptr) {
  void* found = version ? dlvsym(RTLD_NEXT, name, version) : dlsym(RTLD_NEXT, name);
  if (!found) std::abort();
  return reinterpret_cast<Function*>(found);
}

constexpr char kConditionVersion[] = "GLIBC_2.3.2";

} // namespace

#pragma GCC visibility push(default) // modules are to find these and not the C library's
extern "C" {

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static auto* const real = own<int(pthread_mutex_t*)>("pthread_mutex_lock");
  note("pthread_mutex_lock", mutex);
  return real(mutex);
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
  static auto* const real = own<int(pthread_mutex_t*)>("pthread_mutex_trylock");
  note("pthread_mutex_trylock", mutex);
  return real(mutex);
}
int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* until) noexcept {
  static auto* const real = own<int(pthread_mutex_t*, const timespec*)>("pthread_mutex_timedlock");
  note("pthread_mutex_timedlock", mutex);
  return real(mutex, until);
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  static auto* const real = own<int(pthread_mutex_t*)>("pthread_mutex_unlock");
  note("pthread_mutex_unlock", mutex);
  return real(mutex);
}
int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  static auto* const real = own<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
  note("pthread_rwlock_rdlock", lock);
  return real(lock);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  static auto* const real = own<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
  note("pthread_rwlock_wrlock", lock);
  return real(lock);
}
int pthread_spin_lock(pthread_spinlock_t* lock) noexcept {
  static auto* const real = own<int(pthread_spinlock_t*)>("pthread_spin_lock");
  note("pthread_spin_lock", const_cast<const int*>(lock));
  return real(lock);
}
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  static auto* const real =
      own<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait", kConditionVersion);
  note("pthread_cond_wait", condition);
  return real(condition, mutex);
}
int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until) {
  static auto* const real = own<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)>(
      "pthread_cond_timedwait", kConditionVersion);
  note("pthread_cond_timedwait", condition);
  return real(condition, mutex, until);
}
int pthread_cond_signal(pthread_cond_t* condition) noexcept {
  static auto* const real = own<int(pthread_cond_t*)>("pthread_cond_signal", kConditionVersion);
  note("pthread_cond_signal", condition);
  return real(condition);
}
int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
  static auto* const real = own<int(pthread_cond_t*)>("pthread_cond_broadcast", kConditionVersion);
  note("pthread_cond_broadcast", condition);
  return real(condition);
}
int sem_wait(sem_t* semaphore) {
  static auto* const real = own<int(sem_t*)>("sem_wait");
  note("sem_wait", semaphore);
  return real(semaphore);
}
int sem_post(sem_t* semaphore) noexcept {
  static auto* const real = own<int(sem_t*)>("sem_post");
  note("sem_post", semaphore);
  return real(semaphore);
}
}
#pragma GCC visibility pop

std::ostream& operator<<(std::ostream& stream, const LockCall& call) {
  return stream << call.function << '(' << call.object << ')';
}

void startLockCalls() {
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
