// The module's two factories: what they ask, what they give, and that failures leave nothing behind.
#include "tests/record/Module.h"
#include "tests/support/Allocations.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <exception>

TEST_CASE("the module's factories are two functions that ask one question") {
  CHECK(reinterpret_cast<void*>(moduleFactory("getinterface")) !=
        reinterpret_cast<void*>(moduleFactory("QTypeIF")));
  for (const char* name : kFactoryNames) {
    ScriptedHost host;
    ModuleEffect effect(ScriptedHost::callback, name);
    CHECK(host.calls == std::vector<HostCall>{{nullptr, 1, 0, 0, nullptr, 0.0f}});
    const ModuleEffect other(ScriptedHost::callback, name);
    CHECK(other.record() != effect.record());
    effect.set(2, 0.125f);
    CHECK(other.get(2) == 0.8f);
    host.throwOn(1);
    CHECK(moduleFactory(name)(ScriptedHost::callback) == nullptr); // across the module's border
    CHECK(std::uncaught_exceptions() == 0);
  }
}

TEST_CASE("whichever of the module's allocations fails, nothing leaks") {
  for (const char* name : kFactoryNames) {
    const long before = allocations::taken();
    { const ModuleEffect whole(plainHost, name); }
    const long needed = allocations::taken() - before;
    REQUIRE(needed >= 3); // the handle, the effect, its programs: the counter reaches into the module
    int refusals = 0;
    for (long n = 1; n <= needed; ++n) {
      const long live = allocations::live();
      PlainHandle* handle;
      {
        const allocations::FailNth failing(n);
        handle = moduleFactory(name)(plainHost);
      }
      if (handle) {
        closeEffect(handle->effect);
        deleteHandle(handle);
      }
      const long after = allocations::live();
      refusals += handle == nullptr;
      CHECK(after == live);
      CHECK(std::uncaught_exceptions() == 0);
    }
    CHECK(refusals >= 3);
  }
}

TEST_CASE("the handle goes and the effect stays, or the other way round") {
  const long before = allocations::live();
  for (const bool handleFirst : {true, false}) {
    PlainHandle* handle = moduleFactory(kFactoryNames[handleFirst])(plainHost);
    AEffect* record = handle->effect;
    if (handleFirst) deleteHandle(handle);
    CHECK(record->getParameterEntry(record, 2) == 0.8f);
    CHECK(record->dispatchEntry(record, 58, 0, 0, nullptr, 0.0f) == 2400);
    closeEffect(record);
    if (handleFirst) continue;
    CHECK(handle->effect == record);
    deleteHandle(handle);
  }
  CHECK(allocations::live() == before);
}
