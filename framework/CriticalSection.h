// The effect's one lock: a recursive mutex, and its scoped holder.
#pragma once

#include <pthread.h>

// A thread that holds the lock may take it again. Locking and unlocking never allocate; a block waits here
// until a program change in progress is done.
class CriticalSection {
public:
  CriticalSection() {
    pthread_mutexattr_t attributes; // holds no resource on this platform, so nothing is to be destroyed
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
  }

  ~CriticalSection() { pthread_mutex_destroy(&mutex); }

  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void lock() { pthread_mutex_lock(&mutex); }     // [any thread]
  void unlock() { pthread_mutex_unlock(&mutex); } // [any thread] the one that locked

private:
  pthread_mutex_t mutex;
};

// Holds the lock for the life of a scope. [any thread] one scope, one thread.
class CriticalSectionHolder {
public:
  explicit CriticalSectionHolder(CriticalSection& section) : held(section) { held.lock(); }
  ~CriticalSectionHolder() { held.unlock(); }

  CriticalSectionHolder(const CriticalSectionHolder&) = delete;
  CriticalSectionHolder& operator=(const CriticalSectionHolder&) = delete;

private:
  CriticalSection& held;
};
