// The framework's layer: its fields, its slots, and the answers an effect has if it overrides none.
#include "framework/Q_TypeBase.h"
#include "tests/support/EffectSlots.h"
#include "tests/support/RecordBytes.h"
#include "tests/support/ScriptedHost.h"

#include <doctest/doctest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

class BareBase : public Q_TypeBase {
public:
  explicit BareBase(HostCallback host = nullptr) : Q_TypeBase(host, 16, 5) {}
  void processReplacing(float**, float**, int) override {}
  using Q_TypeBase::baseTime;
  using Q_TypeBase::headerVersion;
};

} // namespace

TEST_CASE("the framework's fields follow the record") {
  BareBase bare;
  CHECK(at<double>(&bare, 176, 240) == 0.0); // time
  CHECK(at<int32_t>(&bare, 184, 248) == 1);  // header version
  CHECK(callSlot<int>(&bare, Slot::getHeaderVersion) == 1);
  bare.baseTime = 2.5;
  bare.headerVersion = 42;
  CHECK(at<double>(&bare, 176, 240) == 2.5);
  CHECK(at<int32_t>(&bare, 184, 248) == 42);
  CHECK(callSlot<int>(&bare, Slot::getHeaderVersion) == 42);
}

TEST_CASE("the constructor hands its arguments down and asks nothing") {
  ScriptedHost host;
  BareBase bare(ScriptedHost::callback);
  CHECK(bare.getAeffect()->programCount == 16);
  CHECK(bare.getAeffect()->parameterCount == 5);
  CHECK(host.calls.empty());
  CHECK(bare.masterIdle() == 0);
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
