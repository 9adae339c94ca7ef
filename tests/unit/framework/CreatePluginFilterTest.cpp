// The creation of the real effect, without a module around it.
#include "framework/Factory.h"
#include "tests/support/Allocations.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <memory>
#include <new>

TEST_CASE("each call creates an effect of its own, with or without a host, and asks nothing") {
  ScriptedHost host;
  std::unique_ptr<AudioEffect> one(createPluginFilter(ScriptedHost::callback));
  std::unique_ptr<AudioEffect> other(createPluginFilter(ScriptedHost::callback));
  std::unique_ptr<AudioEffect> alone(createPluginFilter(nullptr));
  REQUIRE(one);
  REQUIRE(other);
  REQUIRE(alone);
  CHECK(one != other);
  CHECK(one->getAeffect() != other->getAeffect());
  CHECK(one->getAeffect()->objectRef == one.get());
  CHECK(host.calls.empty());
  CHECK(alone->getMasterVersion() == 1);
  CHECK(one->getMasterVersion() == 2400);
}

TEST_CASE("an effect that never had a sample rate goes without a trace") {
  const long before = allocations::live();
  delete createPluginFilter(nullptr);
  CHECK(allocations::live() == before);
}

TEST_CASE("whichever allocation fails, the creation leaves nothing behind") {
  const long before = allocations::taken();
  delete createPluginFilter(nullptr);
  const long needed = allocations::taken() - before;
  REQUIRE(needed >= 2); // the effect and its programs at least
  for (long n = 1; n <= needed; ++n) {
    const long live = allocations::live();
    bool failed = false;
    {
      allocations::FailNth failing(n);
      try {
        AudioEffect* made = createPluginFilter(nullptr);
        failed = made == nullptr;
        delete made;
      } catch (const std::bad_alloc&) {
        failed = true;
      }
    }
    const long after = allocations::live();
    CHECK(failed);
    CHECK(after == live);
  }
}
