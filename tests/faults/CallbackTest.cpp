// Hosts that use the effect from inside their own callback, in every way but closing it: a closed effect is
// gone, and the call that asked the host would return into nothing.
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

namespace {

// What a host does when it is asked something; one at a time.
struct Nested {
  Duo* duo = nullptr;
  int depth = 0;
  int calls = 0;
};
Nested nested;

void callEveryOpcode(AEffect* record) {
  for (int32_t opcode = -1; opcode < 81; ++opcode) {
    if (opcode == kOpClose || opcode == kOpSetSampleRate || opcode == kOpResumeOrSuspend) continue;
    char buffer[256] = "text";
    void* const place = buffer;
    const intptr_t value = opcode == kOpGetSpeakerArrangement ? reinterpret_cast<intptr_t>(&place) : 1;
    record->dispatchEntry(record, opcode, 1, value, buffer, 0.5f);
  }
}

// The same to both pedals: by the time the host is asked, the call that asks has done its work.
void useBothPedals(Duo& duo) {
  const float position = 0.1f * static_cast<float>(nested.calls % 11);
  duo->setParameter(kPedalPos, position);
  duo->loadProgram(nested.calls % 16);
  duo->selectProgram(-2);
  duo->setParameter(kColor, 1.0f - position);
  duo->setBlockSize(64 + nested.calls);
  duo.block(40);
  duo->resume();
  duo.block(40, true);
  duo->setSampleRate(nested.calls % 2 == 0 ? 8000.0f : 11025.0f);
  duo.block(40);
}

intptr_t meddlingHost(AEffect* record, int32_t request, int32_t, intptr_t, void*, float) {
  if (record && nested.duo && nested.depth < 2) {
    ++nested.depth;
    ++nested.calls;
    callEveryOpcode(record);
    nested.duo->operator->()->selectProgram(1); // which opcode 2 above did to one of them
    useBothPedals(*nested.duo);
    --nested.depth;
  }
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

intptr_t recursiveHost(AEffect*, int32_t request, int32_t, intptr_t, void*, float) {
  if (nested.depth < 3) {
    ++nested.depth;
    ++nested.calls;
    for (const char* factory : kFactoryNames)
      const ModuleEffect another(recursiveHost, factory);
    --nested.depth;
  }
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

} // namespace

TEST_CASE("a host may use the effect while the effect asks it") {
  Duo duo(8000.0f, meddlingHost);
  duo.block(100);
  void* object = duo.record()->objectRef;
  nested = {&duo};
  for (int round = 0; round < 3; ++round) {
    duo->setParameter(kPedalPos, 0.5f);
    callSlot<void, int, float>(object, Slot::setParameterAutomated, kPedalPos, 0.5f);
    duo.block(100);
    callSlot<int>(object, Slot::getMasterVersion);
    callSlot<int>(object, Slot::masterIdle);
    callSlot<bool, int>(object, Slot::isInputConnected, 0);
    callSlot<float>(object, Slot::updateSampleRate);
    callSlot<int>(object, Slot::updateBlockSize);
    callSlot<bool>(object, Slot::ioChanged);
    callSlot<bool>(object, Slot::updateDisplay);
    callSlot<bool, int>(object, Slot::beginEdit, 2);
    duo.blocks(3, 100);
  }
  CHECK(nested.calls == 3 * 9);
  nested = {};
}

// An effect that says it is an instrument asks for events whenever it resumes, and so at every new rate.
TEST_CASE("a host may use the effect while it resumes or takes a new rate") {
  Duo duo(8000.0f, meddlingHost);
  callSlot<void, bool>(duo.record()->objectRef, Slot::isSynth, true);
  duo.block(100);
  nested = {&duo};
  duo->resume();
  CHECK(nested.calls > 1); // the effect asked, and was made to ask again from inside
  duo.blocks(3, 100);
  const int before = nested.calls;
  duo->setSampleRate(22050.0f);
  CHECK(nested.calls > before + 1);
  nested = {};
  duo.blocks(3, 100);
}

TEST_CASE("a host may create effects while it is asked for its version") {
  nested = {};
  for (const char* factory : kFactoryNames) {
    ModuleEffect effect(recursiveHost, factory);
    CHECK(effect.get(2) == 0.8f);
  }
  CHECK(nested.calls == 2 * (1 + 2 + 4));
  nested = {};
}
