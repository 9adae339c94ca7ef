// The order of the virtual operations: by the compiler's own numbering, and by what each slot does.
#include "tests/support/ScriptedHost.h"
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <cstring>
#include <string>

namespace {

std::string textFrom(BareEffect& bare, Slot slot, int index) {
  char text[] = "untouched";
  bare.slot<void, int, char*>(slot, index, text);
  return text;
}

} // namespace

TEST_CASE("the compiler numbers the operations as the list does") {
#define CHECK_SLOT(Class, name, Result, ...)                                                                 \
  CHECK(slotOf(static_cast<Result (Class::*)(__VA_ARGS__)>(&Class::name)) == static_cast<int>(Slot::name));
#define CHECK_AUDIO_EFFECT(name, ...) CHECK_SLOT(AudioEffect, name, __VA_ARGS__)
#define CHECK_AUDIO_EFFECT_X(name, ...) CHECK_SLOT(AudioEffectX, name, __VA_ARGS__)
  TREADSHIFT_AUDIO_EFFECT_SLOTS(CHECK_AUDIO_EFFECT)
  TREADSHIFT_AUDIO_EFFECT_X_SLOTS(CHECK_AUDIO_EFFECT_X)
#undef CHECK_AUDIO_EFFECT_X
#undef CHECK_AUDIO_EFFECT
#undef CHECK_SLOT
}

// 2 destructors and 49 operations; then 102 of the extended class.
TEST_CASE("the classes have as many slots as the lists have names") {
  CHECK(kAudioEffectSlots == 51);
  CHECK(kAudioEffectXSlots == 153);
}

TEST_CASE("slots that do nothing change no byte of the object") {
  BareEffect bare(nullptr, 16, 5);
  unsigned char before[sizeof(BareEffect)];
  std::memcpy(before, static_cast<void*>(&bare), sizeof before);
  double sampleD = 1.5;
  double* channelsD[1] = {&sampleD};
  float sampleF = 2.5f;
  float* channelsF[1] = {&sampleF};
  char text[8] = "text";

  for (Slot slot : {Slot::open, Slot::close, Slot::suspend, Slot::resume})
    bare.slot<void>(slot);
  bare.slot<void, double**, double**, int>(Slot::processDoubleReplacing, channelsD, channelsD, 1);
  bare.slot<void, float**, float**, int>(Slot::__processDeprecated, channelsF, channelsF, 1);
  bare.slot<void, int, float>(Slot::setParameter, 0, 1.0f);
  bare.slot<void, int, float>(Slot::setParameterAutomated, 0, 1.0f);
  bare.slot<void, char*>(Slot::setProgramName, text);
  bare.slot<void, int, bool>(Slot::__inputConnectedDeprecated, 1, true);
  bare.slot<void, int, bool>(Slot::__outputConnectedDeprecated, 1, true);

  CHECK(std::memcmp(before, static_cast<void*>(&bare), sizeof before) == 0);
  CHECK(sampleD == 1.5);
  CHECK(sampleF == 2.5f);
  CHECK(std::string(text) == "text");
}

TEST_CASE("storing slots store where the host or the accessors look, and tell the host nothing") {
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback);
  bare.slot<void, float>(Slot::setSampleRate, 96000.5f);
  CHECK(bare.sampleRate == 96000.5f);
  CHECK(bare.slot<float>(Slot::getSampleRate) == 96000.5f);
  struct Row {
    Slot setter;
    const int32_t& field;
    int value;
  };
  for (const Row& row :
       {Row{Slot::setBlockSize, bare.blockSize, 333}, Row{Slot::setProgram, bare.currentProgram, -4},
        Row{Slot::setUniqueID, bare.effect.uniqueID, 0x41424344},
        Row{Slot::setNumInputs, bare.effect.inputCount, 3},
        Row{Slot::setNumOutputs, bare.effect.outputCount, 5},
        Row{Slot::setInitialDelay, bare.effect.initialDelay, 77},
        Row{Slot::__setRealtimeQualitiesDeprecated, bare.effect.realtimeQualities, 8},
        Row{Slot::__setOfflineQualitiesDeprecated, bare.effect.offlineQualities, 9}}) {
    CAPTURE(nameOf(row.setter));
    bare.slot<void, int>(row.setter, row.value);
    CHECK(row.field == row.value);
  }
  CHECK(bare.slot<int>(Slot::getBlockSize) == 333);
  CHECK(bare.slot<int>(Slot::getProgram) == -4);
  bare.slot<void, int, float>(Slot::__setBlockSizeAndSampleRateDeprecated, 64, 22050.0f);
  CHECK(bare.blockSize == 64);
  CHECK(bare.sampleRate == 22050.0f);
  CHECK(host.calls.empty());
}

TEST_CASE("asking slots give the base answers") {
  BareEffect bare;
  void* chunk = &bare;
  CHECK(bare.slot<float, int>(Slot::getParameter, 0) == 0.0f);
  CHECK(bare.slot<int, void**, bool>(Slot::getChunk, &chunk, false) == 0);
  CHECK(chunk == &bare);
  CHECK(bare.slot<int, void*, int, bool>(Slot::setChunk, chunk, 4, true) == 0);
  CHECK(bare.slot<AEffEditor*>(Slot::getEditor) == nullptr);
  CHECK(bare.slot<AEffect*>(Slot::getAeffect) == &bare.effect);
  CHECK(bare.slot<float>(Slot::__getVuDeprecated) == 0.0f);
  for (Slot slot : {Slot::getParameterLabel, Slot::getParameterDisplay, Slot::getParameterName})
    CHECK(textFrom(bare, slot, 0).empty());
  char text[] = "untouched";
  bare.slot<void, char*>(Slot::getProgramName, text);
  CHECK(text[0] == '\0');
}

TEST_CASE("the extended class's answers without an opcode are 0, but for one category") {
  BareEffect bare;
  CHECK(bare.slot<int>(Slot::__getNumCategoriesDeprecated) == 1);
  CHECK(bare.slot<int>(Slot::offlineGetNumPasses) == 0);
  CHECK(bare.slot<int>(Slot::offlineGetNumMetaPasses) == 0);
  CHECK_FALSE(bare.slot<bool, int>(Slot::__copyProgramDeprecated, 1));
  CHECK(bare.slot<int>(Slot::__reportCurrentPositionDeprecated) == 0);
  CHECK(bare.slot<int>(Slot::__reportDestinationBufferDeprecated) == 0);
  char text[] = "untouched";
  CHECK_FALSE(bare.slot<bool, char*>(Slot::__getErrorTextDeprecated, text));
  CHECK(std::string(text) == "untouched");
  CHECK(bare.slot<int>(Slot::__getIconDeprecated) == 0);
  CHECK_FALSE(bare.slot<bool, int, int>(Slot::__setViewPositionDeprecated, 1, 2));
  CHECK(bare.slot<int>(Slot::__fxIdleDeprecated) == 0);
  CHECK_FALSE(bare.slot<bool>(Slot::__keysRequiredDeprecated));
}

TEST_CASE("the destructor slots end the object, the second one frees it") {
  bool destroyed = false;
  alignas(BareEffect) unsigned char memory[sizeof(BareEffect)];
  auto* placed = new (memory) BareEffect;
  placed->destroyed = &destroyed;
  callSlot<void>(placed, Slot::destroy);
  CHECK(destroyed);

  destroyed = false;
  auto* owned = new BareEffect;
  owned->destroyed = &destroyed;
  callSlot<void>(owned, Slot::destroyAndFree);
  CHECK(destroyed);
}

TEST_CASE("an exchanged slot has its own table back afterwards") {
  BareEffect bare;
  {
    SlotExchange exchange(&bare, kAudioEffectXSlots);
    exchange.record(Slot::getVstVersion);
    CHECK(bare.send(58) == 0);
    CHECK(slotCalls.size() == 1);
  }
  CHECK(bare.send(58) == 2400);
}
