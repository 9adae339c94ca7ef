// The framework's layer: its fields, its slots, and the answers an effect has if it overrides none.
#include "framework/Q_TypeBase.h"
#include "tests/support/EffectSlots.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

constexpr bool kWide = sizeof(void*) == 8;

class BareBase : public Q_TypeBase {
public:
  explicit BareBase(HostCallback host = nullptr) : Q_TypeBase(host, 16, 5) {}
  void processReplacing(float**, float**, int) override {}
  using Q_TypeBase::baseTime;
  using Q_TypeBase::headerVersion;
};

std::ptrdiff_t offsetIn(const BareBase& bare, const void* field) {
  return static_cast<const char*>(field) - reinterpret_cast<const char*>(&bare);
}

} // namespace

TEST_CASE("the framework's fields follow the record") {
  BareBase bare;
  CHECK(offsetIn(bare, &bare.baseTime) == (kWide ? 240 : 176));
  CHECK(offsetIn(bare, &bare.headerVersion) == (kWide ? 248 : 184));
  CHECK(bare.baseTime == 0.0);
  CHECK(bare.headerVersion == 1);
}

TEST_CASE("the constructor hands its arguments down and asks nothing") {
  ScriptedHost host;
  class Counted : public Q_TypeBase {
  public:
    Counted() : Q_TypeBase(ScriptedHost::callback, 3, 9) {}
    void processReplacing(float**, float**, int) override {}
  } counted;
  CHECK(counted.getAeffect()->programCount == 3);
  CHECK(counted.getAeffect()->parameterCount == 9);
  CHECK(host.calls.empty());
  CHECK(counted.masterIdle() == 0);
  CHECK(host.calls.size() == 1);
}

TEST_CASE("the compiler numbers the framework's operations as the list does") {
#define CHECK_SLOT(name, Result, ...)                                                                        \
  CHECK(slotOf(static_cast<Result (Q_TypeBase::*)(__VA_ARGS__)>(&Q_TypeBase::name)) ==                       \
        static_cast<int>(Slot::name));
  TREADSHIFT_Q_TYPE_BASE_SLOTS(CHECK_SLOT)
#undef CHECK_SLOT
  CHECK(kQTypeBaseSlots == 153 + 11);
}

TEST_CASE("the base answers for jacks and signals, whatever the jack") {
  BareBase bare;
  CHECK(callSlot<int>(&bare, Slot::getNumOfInJacks) == 1);
  CHECK(callSlot<int>(&bare, Slot::getNumOfOutJacks) == 1);
  CHECK(callSlot<int>(&bare, Slot::getDryInSigNum) == -1);
  for (int jack : {0, 1, 2, 100, -1, INT_MIN, INT_MAX}) {
    CHECK(callSlot<int, int>(&bare, Slot::getNumOfInSig, jack) == 2);
    CHECK(callSlot<int, int>(&bare, Slot::getNumOfOutSig, jack) == 1);
    CHECK(callSlot<int, int>(&bare, Slot::getStartNumInSig, jack) == 0);
    CHECK(callSlot<int, int>(&bare, Slot::getStartNumOutSig, jack) == 0);
  }
}

TEST_CASE("the header version is the field's") {
  BareBase bare;
  CHECK(callSlot<int>(&bare, Slot::getHeaderVersion) == 1);
  bare.headerVersion = 42;
  CHECK(callSlot<int>(&bare, Slot::getHeaderVersion) == 42);
}

TEST_CASE("listener, time and the second display change nothing") {
  ScriptedHost host;
  BareBase bare(ScriptedHost::callback);
  unsigned char before[sizeof(BareBase)];
  std::memcpy(before, static_cast<void*>(&bare), sizeof before);
  int listener = 0;
  char text[] = "untouched";
  callSlot<void, Q_VstListner*>(&bare, Slot::setListner, reinterpret_cast<Q_VstListner*>(&listener));
  callSlot<void, Q_VstListner*>(&bare, Slot::setListner, nullptr);
  callSlot<void, float>(&bare, Slot::setTime, 12.5f);
  callSlot<void, int, float, char*>(&bare, Slot::getParameterDisplayOf, 0, 1.0f, text);
  callSlot<void, int, float, char*>(&bare, Slot::getParameterDisplayOf, 0, 1.0f, nullptr);
  CHECK(std::string(text) == "untouched");
  CHECK(std::memcmp(before, static_cast<void*>(&bare), sizeof before) == 0);
  CHECK(host.calls.empty());
}
