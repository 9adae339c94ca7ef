// The lock: its holder may take it again, others wait.
#include "framework/CriticalSection.h"

#include <doctest/doctest.h>

#include <thread>
#include <type_traits>

TEST_CASE("the lock is one mutex and nothing else") {
  CHECK(sizeof(CriticalSection) == sizeof(pthread_mutex_t));
  CHECK_FALSE(std::is_polymorphic_v<CriticalSection>);
}

TEST_CASE("a thread that holds the lock takes it again") {
  CriticalSection section;
  section.lock();
  section.lock();
  {
    CriticalSectionHolder third(section);
    CriticalSectionHolder fourth(section);
  }
  section.unlock();
  section.unlock();
}

// Neither thread could count right if both were inside at once; additions that are lost show in the sum.
TEST_CASE("two threads are never inside together") {
  constexpr int kRounds = 50000;
  CriticalSection section;
  long count = 0;
  auto add = [&] {
    for (int round = 0; round < kRounds; ++round) {
      CriticalSectionHolder outer(section);
      CriticalSectionHolder inner(section);
      volatile long& shared = count;
      shared = shared + 1;
    }
  };
  std::thread other(add);
  add();
  other.join();
  CHECK(count == 2 * kRounds);
}

TEST_CASE("the lock is free only after as many unlocks as locks") {
  CriticalSection section;
  auto& mutex = reinterpret_cast<pthread_mutex_t&>(section);
  auto freeForOthers = [&] {
    bool taken = false;
    std::thread([&] {
      taken = pthread_mutex_trylock(&mutex) == 0;
      if (taken) pthread_mutex_unlock(&mutex);
    }).join();
    return taken;
  };
  CHECK(freeForOthers());
  section.lock();
  section.lock();
  CHECK_FALSE(freeForOthers());
  section.unlock();
  CHECK_FALSE(freeForOthers());
  section.unlock();
  CHECK(freeForOthers());
}
