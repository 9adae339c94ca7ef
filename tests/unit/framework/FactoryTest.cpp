// Both factories, with an effect that the test makes: what they ask, what they give, what they leave behind.
#include "framework/Factory.h"
#include "framework/Q_TypeBase.h"
#include "tests/support/Allocations.h"
#include "tests/support/EffectSlots.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <cstring>
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

} // namespace

AudioEffect* createPluginFilter(HostCallback host) { return creation(host); }

TEST_CASE("a factory asks for the version once, without a record, and gives the effect's record") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    ScriptedHost host;
    Q_TypeIF* handle = factory(ScriptedHost::callback);
    REQUIRE(handle);
    REQUIRE(host.calls.size() == 1);
    CHECK(host.calls[0] == HostCall{nullptr, 1, 0, 0, nullptr, 0.0f});
    REQUIRE(handle->effect);
    CHECK(handle->effect == static_cast<AudioEffect*>(handle->effect->objectRef)->getAeffect());
    CHECK(TestEffect::alive == 1);
    closeAndDelete(handle);
    CHECK(TestEffect::alive == 0);
  }
}

TEST_CASE("the effect is created with the host that the factory was given") {
  creation = [](HostCallback host) {
    const bool sameHost = host == plainHost;
    CHECK(sameHost);
    return createTestEffect(host);
  };
  for (Factory factory : kFactories)
    closeAndDelete(factory(plainHost));
}

TEST_CASE("the handle takes the record from the effect's own answer") {
  static AEffect other;
  static TestEffect* effect;
  struct OtherRecord : TestEffect {
    using TestEffect::TestEffect;
    AEffect* getAeffect() override { return &other; }
  };
  creation = [](HostCallback host) { return effect = new OtherRecord(host); };
  other.objectRef = nullptr;
  for (Factory factory : kFactories) {
    ScriptedHost host;
    Q_TypeIF* handle = factory(ScriptedHost::callback);
    REQUIRE(handle);
    CHECK(handle->effect == &other);
    delete effect;
    delete handle;
  }
}

TEST_CASE("any answer but 0 creates an effect, 0 creates nothing") {
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
  for (Factory factory : kFactories)
    checkCreatesNothing(
        factory, +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) { return intptr_t{0}; });
}

TEST_CASE("without a host nothing is created") {
  creation = createTestEffect;
  for (Factory factory : kFactories)
    checkCreatesNothing(factory, nullptr);
}

TEST_CASE("a host that throws is an ordinary failure, whatever it throws") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
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

TEST_CASE("without memory for the handle the host is not even asked") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    static int asked;
    asked = 0;
    allocations::FailNth first(1);
    checkCreatesNothing(
        factory, +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) -> intptr_t {
          ++asked;
          return 2400;
        });
    CHECK(asked == 0);
  }
}

TEST_CASE("whichever allocation fails, nothing leaks") {
  creation = createTestEffect;
  for (Factory factory : kFactories) {
    const long before = allocations::taken();
    closeAndDelete(factory(plainHost));
    const long needed = allocations::taken() - before;
    CHECK(needed == 2); // the handle and the effect
    for (long n = 1; n <= needed; ++n) {
      allocations::FailNth failing(n);
      checkCreatesNothing(factory, plainHost);
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

TEST_CASE("the handle is a table and a record's address") {
  creation = createTestEffect;
  CHECK(sizeof(Q_TypeIF) == 2 * sizeof(void*));
  Q_TypeIF* handle = getinterface(plainHost);
  void* words[2];
  std::memcpy(words, static_cast<void*>(handle), sizeof words);
  CHECK(words[1] == handle->effect);
  closeAndDelete(handle);
}

TEST_CASE("handle and effect go separately, in either order") {
  creation = createTestEffect;
  const long before = allocations::live();
  constexpr auto deletingDestructor = static_cast<Slot>(1);

  Q_TypeIF* handle = getinterface(plainHost);
  AEffect* record = handle->effect;
  callSlot<void>(handle, deletingDestructor);
  CHECK(TestEffect::alive == 1);
  CHECK(record->dispatchEntry(record, 58, 0, 0, nullptr, 0.0f) == 2400);
  CHECK(record->dispatchEntry(record, 1, 0, 0, nullptr, 0.0f) == 1);
  CHECK(TestEffect::alive == 0);
  CHECK(allocations::live() == before);

  handle = QTypeIF(plainHost);
  record = handle->effect;
  CHECK(record->dispatchEntry(record, 1, 0, 0, nullptr, 0.0f) == 1);
  CHECK(handle->effect == record);
  callSlot<void>(handle, deletingDestructor);
  CHECK(allocations::live() == before);
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
