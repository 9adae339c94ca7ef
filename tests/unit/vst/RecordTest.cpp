// The record that the host sees and the object around it: bytes at their places, flags, entries.
#include "tests/support/RecordBytes.h"
#include "tests/support/ScriptedHost.h"
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <cstring>
#include <stdexcept>

namespace {

constexpr RecordNumbers kBareNumbers = {7, 3, 1, 2, 0x10, 0x4E6F4566};

template <typename Function> void* code(Function* function) { return reinterpret_cast<void*>(function); }

struct Failing : BareEffect {
  intptr_t dispatcher(int, int, intptr_t, void*, float) override { throw std::runtime_error("dispatcher"); }
  void processReplacing(float**, float**, int) override { throw 1; }
  void processDoubleReplacing(double**, double**, int) override { throw 2; }
  void __processDeprecated(float**, float**, int) override { throw 3; }
  void setParameter(int, float) override { throw 4; }
  float getParameter(int) override { throw 5; }
};

} // namespace

TEST_CASE("a fresh record holds the constructor's values at the interface's offsets") {
  BareEffect bare(ScriptedHost::callback, 7, 3);
  const AEffect* record = bare.getAeffect();
  CHECK(sizeof(AEffect) == (kWide ? 192 : 144));
  checkNewRecord(record, kBareNumbers);
  CHECK(at<void*>(record, 4, 8) == code(AudioEffect::dispatchEffectClass));
  CHECK(at<void*>(record, 8, 16) == code(AudioEffect::__processClassDeprecated));
  CHECK(at<void*>(record, 12, 24) == code(AudioEffect::setParameterClass));
  CHECK(at<void*>(record, 16, 32) == code(AudioEffect::getParameterClass));
  CHECK(at<AudioEffect*>(record, 64, 96) == &bare);
  CHECK(at<void*>(record, 80, 120) == code(AudioEffect::processClassReplacing));
  CHECK(at<void*>(record, 84, 128) == code(AudioEffect::processClassDoubleReplacing));
}

TEST_CASE("record and object made in dirty memory are as clean, and the host is asked nothing") {
  ScriptedHost host;
  alignas(BareEffect) unsigned char memory[sizeof(BareEffect)];
  std::memset(memory, 0xA5, sizeof memory);
  auto* bare = new (memory) BareEffect(ScriptedHost::callback, 7, 3);
  checkNewRecord(bare->getAeffect(), kBareNumbers);
  checkNewObject(bare, bare->getAeffect(), {ScriptedHost::callback, 7, 3});
  CHECK(host.calls.empty());
  bare->~BareEffect();
}

TEST_CASE("each flag setter sets and clears its own bit and no other") {
  struct Row {
    Slot setter;
    int32_t bit;
  };
  const Row rows[] = {{Slot::__hasClipDeprecated, 0x2},
                      {Slot::__hasVuDeprecated, 0x4},
                      {Slot::__canMonoDeprecated, 0x8},
                      {Slot::canProcessReplacing, 0x10},
                      {Slot::programsAreChunks, 0x20},
                      {Slot::isSynth, 0x100},
                      {Slot::noTail, 0x200},
                      {Slot::__wantAsyncOperationDeprecated, 0x400},
                      {Slot::__hasExternalBufferDeprecated, 0x800},
                      {Slot::canDoubleReplacing, 0x1000}};
  BareEffect bare;
  for (const Row& row : rows) {
    CAPTURE(nameOf(row.setter));
    for (int32_t others : {0, 0x7FFFFFFF, 0x5555, 0x2AAA}) {
      bare.effect.flags = others;
      for (bool state : {true, true, false, false}) {
        bare.slot<void, bool>(row.setter, state);
        CHECK(bare.effect.flags == (state ? others | row.bit : others & ~row.bit));
      }
    }
  }
}

TEST_CASE("the record's entries reach the object's operations with their arguments") {
  BareEffect bare;
  AEffect* record = bare.getAeffect();
  float* singles[1] = {};
  double* doubles[1] = {};
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.recordOperations();
  slotAnswer = 17;
  record->processReplacingEntry(record, singles, singles, 11);
  record->processDoubleReplacingEntry(record, doubles, nullptr, -12);
  record->processAccumulatingEntry(record, nullptr, singles, 13);
  record->setParameterEntry(record, -3, 0.25f);
  CHECK(record->getParameterEntry(record, 4) == 17.0f);
  CHECK(
      slotCalls ==
      std::vector<SlotCall>{
          {Slot::processReplacing, &bare, argumentsText(singles, singles, 11)},
          {Slot::processDoubleReplacing, &bare, argumentsText(doubles, static_cast<double**>(nullptr), -12)},
          {Slot::__processDeprecated, &bare, argumentsText(static_cast<float**>(nullptr), singles, 13)},
          {Slot::setParameter, &bare, argumentsText(-3, 0.25f)},
          {Slot::getParameter, &bare, argumentsText(4)}});
}

TEST_CASE("the dispatch entry answers exactly what the object's dispatcher answers") {
  BareEffect bare;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.record(Slot::dispatcher);
  for (int32_t opcode : {0, 2, 22, 58, 79, 80, 1000, -1}) {
    for (intptr_t answer : {intptr_t{0}, intptr_t{1}, intptr_t{-1}, INTPTR_MAX, INTPTR_MIN}) {
      slotCalls.clear();
      slotAnswer = answer;
      CHECK(bare.send(opcode, -5, INTPTR_MIN + 1, &bare, 2.5f) == answer);
      REQUIRE(slotCalls.size() == 1);
      CHECK(slotCalls[0].arguments ==
            argumentsText(opcode, -5, INTPTR_MIN + 1, static_cast<void*>(&bare), 2.5f));
    }
  }
}

TEST_CASE("opcode 1 tells the dispatcher, then destroys through the table, and answers 1") {
  BareEffect bare;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.record(Slot::dispatcher);
  exchange.record(Slot::destroyAndFree);
  slotAnswer = -77;
  CHECK(bare.send(1, 3, 4, &bare, 0.5f) == 1);
  CHECK(slotCalls ==
        std::vector<SlotCall>{
            {Slot::dispatcher, &bare, argumentsText(1, 3, intptr_t{4}, static_cast<void*>(&bare), 0.5f)},
            {Slot::destroyAndFree, &bare, ""}});
}

TEST_CASE("opcode 1 destroys even when closing throws") {
  bool destroyed = false;
  auto* effect = new Failing;
  effect->destroyed = &destroyed;
  CHECK(effect->send(1) == 1);
  CHECK(destroyed);
}

TEST_CASE("no exception passes the record's entries") {
  Failing failing;
  AEffect* record = failing.getAeffect();
  CHECK(record->dispatchEntry(record, 0, 0, 0, nullptr, 0.0f) == 0);
  CHECK(record->dispatchEntry(record, 58, 0, 0, nullptr, 0.0f) == 0);
  CHECK_NOTHROW(record->processReplacingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(record->processDoubleReplacingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(record->processAccumulatingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(record->setParameterEntry(record, 0, 1.0f));
  CHECK(record->getParameterEntry(record, 0) == 0.0f);
  CHECK(std::uncaught_exceptions() == 0);
}
