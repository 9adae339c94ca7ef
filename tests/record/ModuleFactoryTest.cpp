// The module's two factories: what they ask, what they give, and that failures leave nothing behind.
#include "tests/record/Module.h"
#include "tests/support/Allocations.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <exception>
#include <stdexcept>

namespace {

// Null, nothing kept, no exception under way.
void checkCreatesNothing(ModuleFactory factory, HostCallback host) {
  const long before = allocations::live();
  PlainHandle* handle = factory(host);
  const long after = allocations::live();
  CHECK(handle == nullptr);
  CHECK(after == before);
  CHECK(std::uncaught_exceptions() == 0);
}

template <int version> intptr_t hostAnswering(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
  return version;
}

intptr_t throwingHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
  throw std::runtime_error("the host failed");
}
intptr_t oddlyThrowingHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) { throw 7; }

void checkWorks(ModuleFactory factory, HostCallback host) {
  const long before = allocations::live();
  PlainHandle* handle = factory(host);
  REQUIRE(handle);
  CHECK(handle->effect->getParameterEntry(handle->effect, 2) == 0.8f);
  closeEffect(handle->effect);
  deleteHandle(handle);
  CHECK(allocations::live() == before);
}

} // namespace

TEST_CASE("the module's factories are two functions that ask one question") {
  CHECK(reinterpret_cast<void*>(moduleFactory("getinterface")) !=
        reinterpret_cast<void*>(moduleFactory("QTypeIF")));
  for (const char* name : kFactoryNames) {
    ScriptedHost host;
    ModuleEffect effect(ScriptedHost::callback, name);
    REQUIRE(host.calls.size() == 1);
    CHECK(host.calls[0] == HostCall{nullptr, 1, 0, 0, nullptr, 0.0f});
  }
}

TEST_CASE("hosts that answer anything but 0 get an effect") {
  for (const char* name : kFactoryNames) {
    checkWorks(moduleFactory(name), hostAnswering<-1>);
    checkWorks(moduleFactory(name), hostAnswering<1>);
    checkWorks(moduleFactory(name), hostAnswering<2>);
    checkWorks(moduleFactory(name), hostAnswering<2400>);
  }
}

TEST_CASE("hosts that answer 0, that throw or that are not there get null") {
  for (const char* name : kFactoryNames) {
    checkCreatesNothing(moduleFactory(name), hostAnswering<0>);
    checkCreatesNothing(moduleFactory(name), throwingHost);
    checkCreatesNothing(moduleFactory(name), oddlyThrowingHost);
    checkCreatesNothing(moduleFactory(name), nullptr);
  }
}

// A host's answer may be different every time; the factory asks once and keeps to it.
TEST_CASE("a host that answers 0 once gets an effect the next time") {
  static intptr_t nextAnswer;
  nextAnswer = 0;
  const HostCallback host = +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) {
    const intptr_t answer = nextAnswer;
    nextAnswer = 2400 - answer;
    return answer;
  };
  for (const char* name : kFactoryNames) {
    checkCreatesNothing(moduleFactory(name), host);
    checkWorks(moduleFactory(name), host);
  }
}

TEST_CASE("whichever of the module's allocations fails, nothing leaks") {
  for (const char* name : kFactoryNames) {
    const long before = allocations::taken();
    checkWorks(moduleFactory(name), plainHost);
    const long needed = allocations::taken() - before;
    REQUIRE(needed >= 3); // the handle, the effect, its programs: the counter reaches into the module
    int refusals = 0;
    for (long n = 1; n <= needed; ++n) {
      const long live = allocations::live();
      PlainHandle* handle;
      {
        allocations::FailNth failing(n);
        handle = moduleFactory(name)(plainHost);
      }
      const long after = allocations::live();
      CHECK(std::uncaught_exceptions() == 0);
      if (handle) {
        closeEffect(handle->effect);
        deleteHandle(handle);
        continue;
      }
      ++refusals;
      CHECK(after == live);
    }
    CHECK(refusals >= 3);
  }
}

TEST_CASE("every call creates an effect and a handle of its own") {
  PlainHandle* one = moduleFactory("getinterface")(plainHost);
  PlainHandle* other = moduleFactory("getinterface")(plainHost);
  PlainHandle* twin = moduleFactory("QTypeIF")(plainHost);
  REQUIRE(one);
  REQUIRE(other);
  REQUIRE(twin);
  CHECK(one != other);
  CHECK(one->effect != other->effect);
  CHECK(twin->effect != one->effect);
  CHECK(one->table == twin->table);

  one->effect->setParameterEntry(one->effect, 2, 0.125f);
  CHECK(other->effect->getParameterEntry(other->effect, 2) == 0.8f);
  for (PlainHandle* handle : {one, other, twin}) {
    closeEffect(handle->effect);
    deleteHandle(handle);
  }
}

TEST_CASE("the handle goes and the effect stays, or the other way round") {
  const long before = allocations::live();
  PlainHandle* handle = moduleFactory("getinterface")(plainHost);
  AEffect* record = handle->effect;
  deleteHandle(handle);
  CHECK(record->getParameterEntry(record, 2) == 0.8f);
  CHECK(record->dispatchEntry(record, 58, 0, 0, nullptr, 0.0f) == 2400);
  closeEffect(record);
  CHECK(allocations::live() == before);

  handle = moduleFactory("QTypeIF")(plainHost);
  record = handle->effect;
  closeEffect(record);
  CHECK(handle->effect == record);
  deleteHandle(handle);
  CHECK(allocations::live() == before);
}

TEST_CASE("an effect that ran goes without a trace") {
  const long before = allocations::live();
  {
    ModuleEffect effect;
    effect.send(10, 0, 0, nullptr, 48000.0f);
    double samples[64] = {};
    double* channels[] = {samples};
    effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, 64);
    CHECK(allocations::live() > before);
  }
  CHECK(allocations::live() == before);
}
