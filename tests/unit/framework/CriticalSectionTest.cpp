// The lock: its holder may take it again, others wait.
#include "framework/CriticalSection.h"

#include <doctest/doctest.h>

#include <thread>
#include <type_traits>

TEST_CASE("the lock is one mutex and nothing else") {
  CHECK(sizeof(CriticalSection) == sizeof(pthread_mutex_t));
  CHECK_FALSE(std::is_polymorphic_v<CriticalSection>);
}

// Asked without waiting, so that a lock that is none of this fails and does not hang.
TEST_CASE("a thread that holds the lock takes it again, and others only after as many unlocks") {
  CriticalSection section;
  auto& mutex = reinterpret_cast<pthread_mutex_t&>(section);
  const auto isFree = [&] {
    const bool taken = pthread_mutex_trylock(&mutex) == 0;
    if (taken) pthread_mutex_unlock(&mutex);
    return taken;
  };
  const auto isFreeForOthers = [&] {
    bool taken = false;
    std::thread([&] { taken = isFree(); }).join();
    return taken;
  };
  CHECK(isFreeForOthers());
  section.lock();
  CHECK_FALSE(isFreeForOthers());
  REQUIRE(isFree());
  {
    const CriticalSectionHolder again(section);
    const CriticalSectionHolder once(section);
    CHECK_FALSE(isFreeForOthers());
  }
  CHECK_FALSE(isFreeForOthers());
  section.unlock();
  CHECK(isFreeForOthers());
}
