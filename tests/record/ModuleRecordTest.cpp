// The module's own effect as a host meets it: record, object, table, opcodes, exceptions.
#include "tests/record/Module.h"
#include "tests/support/OpcodeRows.h"
#include "tests/support/ScriptedHost.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <stdexcept>

namespace {

constexpr bool kWide = sizeof(void*) == 8;

template <typename Value> Value at(const void* block, int offset32, int offset64) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(block) + (kWide ? offset64 : offset32), sizeof value);
  return value;
}

bool isCodeOfModule(const void* address) {
  Dl_info info{};
  return address && dladdr(address, &info) && std::string(info.dli_fname) == TREADSHIFT_MODULE;
}

// Opcodes of the real effect that answer something else than 0 to index 0, value 0 and a text buffer.
intptr_t expectedAnswer(int32_t opcode) {
  switch (opcode) {
  case 22:
    return 0x4E764566;
  case 26:
    return 1;
  case 29:
    return 1;
  case 35:
    return 1;
  case 45:
    return 1;
  case 47:
    return 1;
  case 48:
    return 1;
  case 49:
    return 1000;
  case 56:
    return 1;
  case 58:
    return 2400;
  case 63:
    return -1;
  default:
    return 0;
  }
}

} // namespace

TEST_CASE("the module's record holds the effect's values at the interface's offsets") {
  ModuleEffect effect;
  const AEffect* record = effect.record();
  CHECK(std::memcmp(record, "PtsV", 4) == 0);
  CHECK(isCodeOfModule(at<void*>(record, 4, 8)));
  CHECK(isCodeOfModule(at<void*>(record, 8, 16)));
  CHECK(isCodeOfModule(at<void*>(record, 12, 24)));
  CHECK(isCodeOfModule(at<void*>(record, 16, 32)));
  CHECK(at<int32_t>(record, 20, 40) == 16);
  CHECK(at<int32_t>(record, 24, 44) == 5);
  CHECK(at<int32_t>(record, 28, 48) == 1);
  CHECK(at<int32_t>(record, 32, 52) == 1);
  CHECK(at<int32_t>(record, 36, 56) == 0x1010);
  CHECK(at<intptr_t>(record, 40, 64) == 0);
  CHECK(at<intptr_t>(record, 44, 72) == 0);
  CHECK(at<int32_t>(record, 48, 80) == 0);
  CHECK(at<int32_t>(record, 52, 84) == 0);
  CHECK(at<int32_t>(record, 56, 88) == 0);
  CHECK(at<float>(record, 60, 92) == 1.0f);
  CHECK(at<void*>(record, 68, 104) == nullptr);
  CHECK(at<int32_t>(record, 72, 112) == 0x4B585452); // 'KXTR'
  CHECK(at<int32_t>(record, 76, 116) == 1);
  CHECK(isCodeOfModule(at<void*>(record, 80, 120)));
  CHECK(isCodeOfModule(at<void*>(record, 84, 128)));
  for (int byte = 0; byte < 56; ++byte)
    CHECK(at<uint8_t>(record, 88 + byte, 136 + byte) == 0);
}

TEST_CASE("the module's object holds its fields around the record") {
  ModuleEffect effect;
  const char* object = static_cast<const char*>(effect.object());
  CHECK(reinterpret_cast<const char*>(effect.record()) - object == (kWide ? 48 : 32));
  CHECK(isCodeOfModule(at<void*>(object, 0, 0))); // the table
  CHECK(at<void*>(object, 4, 8) == reinterpret_cast<void*>(plainHost));
  CHECK(at<void*>(object, 8, 16) == nullptr);   // editor
  CHECK(at<float>(object, 12, 24) == 44100.0f); // rate
  CHECK(at<int32_t>(object, 16, 28) == 1024);   // block size
  CHECK(at<int32_t>(object, 20, 32) == 16);     // programs
  CHECK(at<int32_t>(object, 24, 36) == 5);      // parameters
  CHECK(at<int32_t>(object, 28, 40) == 0);      // current program
  CHECK(at<double>(object, 176, 240) == 0.0);   // time
  CHECK(at<int32_t>(object, 184, 248) == 1);    // header version

  effect.send(kOpSetBlockSize, 0, 333);
  CHECK(at<int32_t>(object, 16, 28) == 333);
  effect.send(kOpSetProgram, 0, 7);
  CHECK(at<int32_t>(object, 28, 40) == 7);
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 48000.0f);
  CHECK(at<float>(object, 12, 24) == 44100.0f); // the effect keeps its own rate elsewhere
}

TEST_CASE("every opcode of the module goes through its table") {
  ModuleEffect effect;
  checkOpcodeRows(effect.record(), kTreadshiftSlots);
}

TEST_CASE("every opcode of the module gives its own answer") {
  ModuleEffect effect;
  for (int32_t opcode = -3; opcode < 90; ++opcode) {
    if (opcode == kOpClose) continue;
    CAPTURE(opcode);
    std::array<char, 256> buffer{};
    void* arrangement = &buffer;
    const bool addressInValue = opcode == kOpSetSpeakerArrangement || opcode == kOpGetSpeakerArrangement;
    const intptr_t value = addressInValue ? reinterpret_cast<intptr_t>(&arrangement) : 0;
    CHECK(effect.send(opcode, 0, value, buffer.data(), 44100.0f) == expectedAnswer(opcode));
  }
  for (int32_t opcode : {1000, INT_MAX, INT_MIN})
    CHECK(effect.send(opcode) == 0);
  CHECK(effect.send(73, 0, 4711) == 4711);
}

TEST_CASE("opcode 12 of the module suspends on 0 and resumes on anything else") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.recordOperations();
  for (intptr_t value : {0, 1, 5, -1}) {
    slotCalls.clear();
    CHECK(effect.send(12, 0, value) == 0);
    REQUIRE(slotCalls.size() == 1);
    CHECK(slotCalls[0].slot == (value == 0 ? Slot::suspend : Slot::resume));
  }
}

TEST_CASE("opcode 2 of the module is bounded above alone") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.recordOperations();
  for (intptr_t refused : {16, 17, INT_MAX})
    effect.send(2, 0, refused);
  CHECK(slotCalls.empty());
  for (int accepted : {15, -1, INT_MIN}) {
    slotCalls.clear();
    effect.send(2, 0, accepted);
    REQUIRE(slotCalls.size() == 1);
    CHECK(slotCalls[0].arguments == argumentsText(accepted));
  }
}

TEST_CASE("opcode 1 of the module closes and destroys through its table") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::close);
  exchange.record(Slot::destroyAndFree);
  CHECK(effect.send(1, 5, 6) == 1);
  REQUIRE(slotCalls.size() == 2);
  CHECK(slotCalls[0].slot == Slot::close);
  CHECK(slotCalls[1].slot == Slot::destroyAndFree);
  CHECK(slotCalls[1].object == effect.object());
}

TEST_CASE("the module's entries go through its table") {
  ModuleEffect effect;
  AEffect* record = effect.record();
  float* singles[1] = {};
  double* doubles[1] = {};
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.recordOperations();
  record->processReplacingEntry(record, singles, nullptr, 11);
  record->processDoubleReplacingEntry(record, doubles, doubles, -12);
  record->processAccumulatingEntry(record, nullptr, singles, 13);
  record->setParameterEntry(record, -3, 0.25f);
  slotAnswer = 17;
  CHECK(record->getParameterEntry(record, 4) == 17.0f);
  REQUIRE(slotCalls.size() == 5);
  CHECK(slotCalls[0].slot == Slot::processReplacing);
  CHECK(slotCalls[0].arguments == argumentsText(singles, static_cast<float**>(nullptr), 11));
  CHECK(slotCalls[1].slot == Slot::processDoubleReplacing);
  CHECK(slotCalls[1].arguments == argumentsText(doubles, doubles, -12));
  CHECK(slotCalls[2].slot == Slot::__processDeprecated);
  CHECK(slotCalls[2].arguments == argumentsText(static_cast<float**>(nullptr), singles, 13));
  CHECK(slotCalls[3].slot == Slot::setParameter);
  CHECK(slotCalls[3].arguments == argumentsText(-3, 0.25f));
  CHECK(slotCalls[4].slot == Slot::getParameter);
  CHECK(slotCalls[4].arguments == argumentsText(4));
}

TEST_CASE("opcode 69 of the module nulls both arrangement pointers") {
  ModuleEffect effect;
  int mark = 0;
  void* input = &mark;
  void* output = &mark;
  CHECK(effect.send(69, 0, reinterpret_cast<intptr_t>(&input), &output) == 0);
  CHECK(input == nullptr);
  CHECK(output == nullptr);
}

TEST_CASE("the effect claims no capability, and resuming asks the host for nothing") {
  ScriptedHost host;
  ModuleEffect effect(ScriptedHost::callback);
  for (const char* capability : {"receiveVstMidiEvent", "bypass", "sendVstEvents", ""})
    CHECK(effect.send(kOpCanDo, 0, 0, const_cast<char*>(capability)) == 0);
  host.calls.clear();
  effect.send(kOpResumeOrSuspend, 0, 1);
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  CHECK(host.calls.empty());
}

TEST_CASE("jacks, signals, versions and category of the effect, whatever the jack") {
  ModuleEffect effect;
  CHECK(effect.slot<int>(Slot::getNumOfInJacks) == 1);
  CHECK(effect.slot<int>(Slot::getNumOfOutJacks) == 1);
  CHECK(effect.slot<int>(Slot::getDryInSigNum) == -1);
  for (int jack : {0, 1, 2, 100, -1, INT_MIN, INT_MAX}) {
    CHECK(effect.slot<int, int>(Slot::getNumOfInSig, jack) == 1);
    CHECK(effect.slot<int, int>(Slot::getNumOfOutSig, jack) == 1);
    CHECK(effect.slot<int, int>(Slot::getStartNumInSig, jack) == 0);
    CHECK(effect.slot<int, int>(Slot::getStartNumOutSig, jack) == 0);
  }
  CHECK(effect.slot<int>(Slot::getHeaderVersion) == 1);
  CHECK(effect.slot<int>(Slot::getVendorVersion) == 1000);
  CHECK(effect.slot<int>(Slot::getPlugCategory) == 1);
  effect.slot<void, Q_VstListner*>(Slot::setListner, nullptr);
  effect.slot<void, float>(Slot::setTime, 1.0f);
  CHECK(effect.slot<AEffect*>(Slot::getAeffect) == effect.record());
}

TEST_CASE("requests of the module's effect carry its record and keep addresses whole") {
  ScriptedHost host;
  ModuleEffect effect(ScriptedHost::callback);
  const auto address = static_cast<intptr_t>(kWide ? 0x8123456789ABCDEFull : 0x89ABCDEFull);
  host.answer(7, address);
  host.answer(41, address);
  host.answer(20, address);
  host.calls.clear();
  CHECK(reinterpret_cast<intptr_t>(effect.slot<VstTimeInfo*, int>(Slot::getTimeInfo, 3)) == address);
  CHECK(reinterpret_cast<intptr_t>(effect.slot<void*>(Slot::getDirectory)) == address);
  CHECK(effect.slot<intptr_t, int>(Slot::__getPreviousPlugDeprecated, 9) == address);
  effect.slot<void, int, float>(Slot::setParameterAutomated, 2, 0.25f);
  CHECK(effect.get(2) == 0.25f);
  REQUIRE(host.calls.size() == 4);
  CHECK(host.calls[0] == HostCall{effect.record(), 7, 0, 3, nullptr, 0.0f});
  CHECK(host.calls[1] == HostCall{effect.record(), 41, 0, 0, nullptr, 0.0f});
  CHECK(host.calls[2] == HostCall{effect.record(), 20, 0, 0, nullptr, 0.0f});
  CHECK(host.calls[3] == HostCall{effect.record(), 0, 2, 0, nullptr, 0.25f});
}

TEST_CASE("single-precision and accumulating processing write nothing") {
  ModuleEffect effect;
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  AEffect* record = effect.record();
  float input[4] = {1, 2, 3, 4};
  float output[4] = {5, 6, 7, 8};
  float* inputs[] = {input};
  float* outputs[] = {output};
  record->processReplacingEntry(record, inputs, outputs, 4);
  record->processAccumulatingEntry(record, inputs, outputs, 4);
  for (int sample = 0; sample < 4; ++sample)
    CHECK(output[sample] == 5.0f + static_cast<float>(sample));
}

TEST_CASE("exceptions from behind the module's entries stay inside") {
  ModuleEffect effect;
  AEffect* record = effect.record();
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.replace(
      Slot::open, +[](void*) { throw std::runtime_error("open"); });
  exchange.replace(
      Slot::canDo, +[](void*, char*) -> int { throw 1; });
  exchange.replace(
      Slot::processDoubleReplacing, +[](void*, double**, double**, int) { throw 2; });
  exchange.replace(
      Slot::processReplacing, +[](void*, float**, float**, int) { throw 3; });
  exchange.replace(
      Slot::__processDeprecated, +[](void*, float**, float**, int) { throw 4; });
  exchange.replace(
      Slot::setParameter, +[](void*, int, float) { throw 5; });
  exchange.replace(
      Slot::getParameter, +[](void*, int) -> float { throw 6; });
  CHECK(effect.send(kOpOpen) == 0);
  CHECK(effect.send(kOpCanDo) == 0);
  CHECK_NOTHROW(record->processDoubleReplacingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(record->processReplacingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(record->processAccumulatingEntry(record, nullptr, nullptr, 1));
  CHECK_NOTHROW(effect.set(0, 1.0f));
  CHECK(effect.get(0) == 0.0f);
  CHECK(std::uncaught_exceptions() == 0);
}

TEST_CASE("a host that throws while the module's effect resumes is contained") {
  ScriptedHost host;
  host.throwOn(6);
  ModuleEffect effect(ScriptedHost::callback);
  effect.slot<void, bool>(Slot::isSynth, true);
  host.calls.clear();
  CHECK(effect.send(kOpResumeOrSuspend, 0, 1) == 0);
  CHECK(host.calls.size() == 1);
  CHECK(effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f) == 0);
  CHECK(std::uncaught_exceptions() == 0);
}
