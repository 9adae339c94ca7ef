// The record that the host sees and the object around it: bytes at their places, flags, entries.
#include "tests/support/ScriptedHost.h"
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <cstring>
#include <stdexcept>

namespace {

constexpr bool kWide = sizeof(void*) == 8;

// Reads `offset` bytes into a block of memory; one offset per width.
template <typename Value> Value at(const void* block, int offset32, int offset64) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(block) + (kWide ? offset64 : offset32), sizeof value);
  return value;
}

template <typename Function> void* code(Function* function) { return reinterpret_cast<void*>(function); }

constexpr Slot kFlagSlots[] = {Slot::__hasClipDeprecated,
                               Slot::__hasVuDeprecated,
                               Slot::__canMonoDeprecated,
                               Slot::canProcessReplacing,
                               Slot::programsAreChunks,
                               Slot::isSynth,
                               Slot::noTail,
                               Slot::__wantAsyncOperationDeprecated,
                               Slot::__hasExternalBufferDeprecated,
                               Slot::canDoubleReplacing};
constexpr int32_t kFlagBits[] = {0x2, 0x4, 0x8, 0x10, 0x20, 0x100, 0x200, 0x400, 0x800, 0x1000};

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
  CHECK(std::memcmp(record, "PtsV", 4) == 0);
  CHECK(at<int32_t>(record, 0, 0) == 0x56737450);
  CHECK(at<void*>(record, 4, 8) == code(AudioEffect::dispatchEffectClass));
  CHECK(at<void*>(record, 8, 16) == code(AudioEffect::__processClassDeprecated));
  CHECK(at<void*>(record, 12, 24) == code(AudioEffect::setParameterClass));
  CHECK(at<void*>(record, 16, 32) == code(AudioEffect::getParameterClass));
  CHECK(at<int32_t>(record, 20, 40) == 7);
  CHECK(at<int32_t>(record, 24, 44) == 3);
  CHECK(at<int32_t>(record, 28, 48) == 1);
  CHECK(at<int32_t>(record, 32, 52) == 2);
  CHECK(at<int32_t>(record, 36, 56) == 0x10);
  CHECK(at<intptr_t>(record, 40, 64) == 0);
  CHECK(at<intptr_t>(record, 44, 72) == 0);
  CHECK(at<int32_t>(record, 48, 80) == 0);
  CHECK(at<int32_t>(record, 52, 84) == 0);
  CHECK(at<int32_t>(record, 56, 88) == 0);
  CHECK(at<float>(record, 60, 92) == 1.0f);
  CHECK(at<AudioEffect*>(record, 64, 96) == &bare);
  CHECK(at<void*>(record, 68, 104) == nullptr);
  CHECK(at<int32_t>(record, 72, 112) == 0x4E6F4566);
  CHECK(at<int32_t>(record, 76, 116) == 1);
  CHECK(at<void*>(record, 80, 120) == code(AudioEffect::processClassReplacing));
  CHECK(at<void*>(record, 84, 128) == code(AudioEffect::processClassDoubleReplacing));
  for (int byte = 0; byte < 56; ++byte)
    CHECK(at<uint8_t>(record, 88 + byte, 136 + byte) == 0);
}

TEST_CASE("a record made in dirty memory is as clean") {
  alignas(BareEffect) unsigned char memory[sizeof(BareEffect)];
  std::memset(memory, 0xA5, sizeof memory);
  auto* bare = new (memory) BareEffect;
  CHECK(at<int32_t>(bare->getAeffect(), 52, 84) == 0);
  CHECK(at<intptr_t>(bare->getAeffect(), 40, 64) == 0);
  for (int byte = 0; byte < 56; ++byte)
    CHECK(at<uint8_t>(bare->getAeffect(), 88 + byte, 136 + byte) == 0);
  bare->~BareEffect();
}

TEST_CASE("the object's fields stand in the declared order") {
  BareEffect bare(ScriptedHost::callback, 7, 3);
  const void* object = &bare;
  CHECK(at<void*>(object, 4, 8) == code(ScriptedHost::callback));
  CHECK(at<AEffEditor*>(object, 8, 16) == nullptr);
  CHECK(at<float>(object, 12, 24) == 44100.0f);
  CHECK(at<int32_t>(object, 16, 28) == 1024);
  CHECK(at<int32_t>(object, 20, 32) == 7);
  CHECK(at<int32_t>(object, 24, 36) == 3);
  CHECK(at<int32_t>(object, 28, 40) == 0);
  CHECK(reinterpret_cast<const char*>(bare.getAeffect()) - reinterpret_cast<const char*>(&bare) ==
        (kWide ? 48 : 32));
}

TEST_CASE("construction asks the host nothing") {
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback);
  CHECK(host.calls.empty());
}

TEST_CASE("each flag setter sets and clears its own bit and no other") {
  BareEffect bare;
  for (std::size_t flag = 0; flag < std::size(kFlagSlots); ++flag) {
    CAPTURE(nameOf(kFlagSlots[flag]));
    for (int32_t others : {0, 0x7FFFFFFF, 0x5555, 0x2AAA}) {
      bare.effect.flags = others;
      bare.slot<void, bool>(kFlagSlots[flag], true);
      CHECK(bare.effect.flags == (others | kFlagBits[flag]));
      bare.slot<void, bool>(kFlagSlots[flag], true);
      CHECK(bare.effect.flags == (others | kFlagBits[flag]));
      bare.slot<void, bool>(kFlagSlots[flag], false);
      CHECK(bare.effect.flags == (others & ~kFlagBits[flag]));
      bare.slot<void, bool>(kFlagSlots[flag], false);
      CHECK(bare.effect.flags == (others & ~kFlagBits[flag]));
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

  record->processReplacingEntry(record, singles, singles, 11);
  record->processDoubleReplacingEntry(record, doubles, nullptr, -12);
  record->processAccumulatingEntry(record, nullptr, singles, 13);
  record->setParameterEntry(record, -3, 0.25f);
  slotAnswer = 17;
  CHECK(record->getParameterEntry(record, 4) == 17.0f);

  REQUIRE(slotCalls.size() == 5);
  CHECK(slotCalls[0].slot == Slot::processReplacing);
  CHECK(slotCalls[0].arguments == argumentsText(singles, singles, 11));
  CHECK(slotCalls[1].slot == Slot::processDoubleReplacing);
  CHECK(slotCalls[1].arguments == argumentsText(doubles, static_cast<double**>(nullptr), -12));
  CHECK(slotCalls[2].slot == Slot::__processDeprecated);
  CHECK(slotCalls[2].arguments == argumentsText(static_cast<float**>(nullptr), singles, 13));
  CHECK(slotCalls[3].slot == Slot::setParameter);
  CHECK(slotCalls[3].arguments == argumentsText(-3, 0.25f));
  CHECK(slotCalls[4].slot == Slot::getParameter);
  CHECK(slotCalls[4].arguments == argumentsText(4));
  for (const SlotCall& call : slotCalls)
    CHECK(call.object == &bare);
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
  REQUIRE(slotCalls.size() == 2);
  CHECK(slotCalls[0].slot == Slot::dispatcher);
  CHECK(slotCalls[0].arguments == argumentsText(1, 3, intptr_t{4}, static_cast<void*>(&bare), 0.5f));
  CHECK(slotCalls[1].slot == Slot::destroyAndFree);
  CHECK(slotCalls[1].object == &bare);
}

TEST_CASE("opcode 1 closes and destroys a real object") {
  bool destroyed = false;
  bool closed = false;
  struct Closing : BareEffect {
    void close() override { *closedFlag = true; }
    bool* closedFlag = nullptr;
  };
  auto* effect = new Closing;
  effect->destroyed = &destroyed;
  effect->closedFlag = &closed;
  CHECK(effect->send(1) == 1);
  CHECK(closed);
  CHECK(destroyed);
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
