// Both factories, with an effect that the test makes: what they ask, what they give, what they leave behind.
#include "framework/Factory.h"
#include "framework/Q_TypeBase.h"
#include "tests/support/Allocations.h"
#include "tests/support/EffectSlots.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <exception>
#include <functional>
#include <stdexcept>

namespace {

class TestEffect : public Q_TypeBase {
public:
  explicit TestEffect(HostCallback host) : Q_TypeBase(host, 2, 1) { ++alive; }
  ~TestEffect() override { --alive; }
  void processReplacing(float**, float**, int) override {}
  static inline int alive = 0;
};

std::function<AudioEffect*(HostCallback)> creation; // what createPluginFilter does in this program

AudioEffect* createTestEffect(HostCallback host) { return new TestEffect(host); }

using Factory = Q_TypeIF* (*)(HostCallback);
constexpr Factory kFactories[] = {getinterface, QTypeIF};

// A host without memory of its own, so that allocations are the factory's alone.
intptr_t plainHost(AEffect*, int32_t request, int32_t, intptr_t, void*, float) {
  return request == 1 ? 2400 : 0;
}

void closeAndDelete(Q_TypeIF* handle) {
  AEffect* record = handle->effect;
  CHECK(record->dispatchEntry(record, 1, 0, 0, nullptr, 0.0f) == 1);
  delete handle;
}

// Null, nothing alive, nothing kept, no exception under way.
void checkCreatesNothing(Factory factory, HostCallback host) {
  const long before = allocations::live();
  Q_TypeIF* handle = factory(host);
  const long after = allocations::live();
  CHECK(handle == nullptr);
  CHECK(after == before);
  CHECK(TestEffect::alive == 0);
  CHECK(std::uncaught_exceptions() == 0);
}

int timesAsked = 0;

intptr_t countingHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
  ++timesAsked;
  return 2400;
}

} // namespace

AudioEffect* createPluginFilter(HostCallback host) { return creation(host); }

TEST_CASE("a factory asks for the version once, without a record, and gives the effect's record") {
  static HostCallback given;
  creation = [](HostCallback host) { return createTestEffect(given = host); };
  CHECK(sizeof(Q_TypeIF) == 2 * sizeof(void*)); // a table and a record's address
  for (Factory factory : kFactories) {
    ScriptedHost host;
    Q_TypeIF* handle = factory(ScriptedHost::callback);
    REQUIRE(handle);
    const bool sameHost = given == ScriptedHost::callback;
    CHECK(sameHost);
    CHECK(host.calls == std::vector<HostCall>{{nullptr, 1, 0, 0, nullptr, 0.0f}});
    REQUIRE(handle->effect);
    CHECK(handle->effect == static_cast<AudioEffect*>(handle->effect->objectRef)->getAeffect());
    CHECK(reinterpret_cast<void**>(handle)[1] == handle->effect);
    CHECK(TestEffect::alive == 1);
    closeAndDelete(handle);
    CHECK(TestEffect::alive == 0);
  }
}

TEST_CASE("the handle takes the record from the effect's own answer") {
  static AEffect other;
  static TestEffect* effect;
  struct OtherRecord : TestEffect {
    using TestEffect::TestEffect;
    AEffect* getAeffect() override { return &other; }
  };
  creation = [](HostCallback host) { return effect = new OtherRecord(host); };
  for (Factory factory : kFactories) {
    Q_TypeIF* handle = factory(plainHost);
    REQUIRE(handle);
    CHECK(handle->effect == &other);
    delete effect;
    delete handle;
  }
}

TEST_CASE("any answer but 0 creates an effect") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    ScriptedHost host;
    for (intptr_t version :
         {intptr_t{1}, intptr_t{-1}, intptr_t{2}, intptr_t{2400}, INTPTR_MIN, INTPTR_MAX}) {
      host.answer(1, version);
      Q_TypeIF* handle = factory(ScriptedHost::callback);
      REQUIRE(handle);
      closeAndDelete(handle);
    }
  }
}

TEST_CASE("no host, one that answers 0 or throws anything, gets nothing") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    checkCreatesNothing(factory, nullptr);
    checkCreatesNothing(
        factory, +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) { return intptr_t{0}; });
    checkCreatesNothing(
        factory, +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) -> intptr_t {
          throw std::runtime_error("host");
        });
    checkCreatesNothing(
        factory, +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) -> intptr_t { throw 7; });
  }
}

TEST_CASE("an effect that cannot be made is an ordinary failure") {
  for (Factory factory : kFactories) {
    creation = [](HostCallback) -> AudioEffect* { return nullptr; };
    checkCreatesNothing(factory, plainHost);
    creation = [](HostCallback) -> AudioEffect* { throw std::bad_alloc(); };
    checkCreatesNothing(factory, plainHost);
    creation = [](HostCallback) -> AudioEffect* { throw "text"; };
    checkCreatesNothing(factory, plainHost);
  }
}

// The handle's comes first, so that no effect is made in vain.
TEST_CASE("whichever allocation fails, nothing leaks, and without a handle the host is not even asked") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    const long before = allocations::taken();
    closeAndDelete(factory(plainHost));
    REQUIRE(allocations::taken() - before == 2); // the handle and the effect
    for (long n : {1, 2}) {
      timesAsked = 0;
      const allocations::FailNth failing(n);
      checkCreatesNothing(factory, countingHost);
      CHECK(timesAsked == n - 1);
    }
  }
}

TEST_CASE("every call creates an effect and a handle of its own") {
  creation = createTestEffect;
  Q_TypeIF* handles[] = {getinterface(plainHost), getinterface(plainHost), QTypeIF(plainHost)};
  CHECK(TestEffect::alive == 3);
  for (int one = 0; one < 3; ++one) {
    for (int other = 0; other < one; ++other) {
      CHECK(handles[one] != handles[other]);
      CHECK(handles[one]->effect != handles[other]->effect);
    }
  }
  for (Q_TypeIF* handle : handles)
    closeAndDelete(handle);
}

TEST_CASE("the handle's complete destructor leaves its memory and the effect") {
  creation = createTestEffect;
  Q_TypeIF* handle = getinterface(plainHost);
  AEffect* record = handle->effect;
  const long before = allocations::live();
  callSlot<void>(handle, static_cast<Slot>(0));
  CHECK(allocations::live() == before);
  CHECK(TestEffect::alive == 1);
  record->dispatchEntry(record, 1, 0, 0, nullptr, 0.0f);
  ::operator delete(static_cast<void*>(handle));
}

TEST_CASE("a new handle holds the record it is given, a null one included") {
  AEffect record{};
  CHECK(Q_TypeIF(&record).effect == &record);
  CHECK(Q_TypeIF(nullptr).effect == nullptr);
}
