// The module's own effect as a host meets it: record, object, table, opcodes, exceptions.
#include "tests/record/Module.h"
#include "tests/support/OpcodeRows.h"
#include "tests/support/RecordBytes.h"
#include "tests/support/ScriptedHost.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <climits>
#include <dlfcn.h>
#include <exception>

namespace {

bool isCodeOfModule(const void* address) {
  Dl_info info{};
  return address && dladdr(address, &info) && std::string(info.dli_fname) == TREADSHIFT_MODULE;
}

} // namespace

TEST_CASE("the module's record holds the effect's values at the interface's offsets") {
  ModuleEffect effect;
  const AEffect* record = effect.record();
  checkNewRecord(record, {16, 5, 1, 1, 0x1010, 0x4B585452}); // 'KXTR'
  CHECK(isCodeOfModule(at<void*>(record, 4, 8)));
  CHECK(isCodeOfModule(at<void*>(record, 8, 16)));
  CHECK(isCodeOfModule(at<void*>(record, 12, 24)));
  CHECK(isCodeOfModule(at<void*>(record, 16, 32)));
  CHECK(isCodeOfModule(at<void*>(record, 80, 120)));
  CHECK(isCodeOfModule(at<void*>(record, 84, 128)));
}

TEST_CASE("the module's object holds its fields around the record") {
  ModuleEffect effect;
  const void* object = effect.object();
  checkNewObject(object, effect.record(), {plainHost, 16, 5});
  CHECK(isCodeOfModule(at<void*>(object, 0, 0))); // the table
  CHECK(at<double>(object, 176, 240) == 0.0);     // time
  CHECK(at<int32_t>(object, 184, 248) == 1);      // header version
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

// Values are wider than program numbers on 64 bits: a low half that is a program's number makes none of them
// one.
TEST_CASE("opcode 2 of the module is bounded above alone") {
  constexpr auto turn = static_cast<intptr_t>(kWide ? int64_t{1} << 32 : INT_MAX);
  struct Row {
    intptr_t sent;
    int called;
  };
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.recordOperations();
  for (intptr_t refused : {intptr_t{16}, intptr_t{17}, intptr_t{INT_MAX}, INTPTR_MAX, turn, turn - 1})
    CHECK(effect.send(2, 0, refused) == 0);
  CHECK(slotCalls.empty());
  for (const Row& row : {Row{15, 15}, Row{0, 0}, Row{-1, -1}, Row{-17, -17}, Row{INT_MIN, INT_MIN},
                         Row{INTPTR_MIN, INT_MIN}, Row{kWide ? -turn + 3 : -3, kWide ? INT_MIN : -3}}) {
    CAPTURE(row.sent);
    slotCalls.clear();
    CHECK(effect.send(2, 1, row.sent, &effect, 1.0f) == 0);
    CHECK(slotCalls == std::vector<SlotCall>{{Slot::setProgram, effect.object(), argumentsText(row.called)}});
  }
}

TEST_CASE("opcode 1 of the module closes and destroys through its table") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::close);
  exchange.record(Slot::destroyAndFree);
  CHECK(effect.send(1, 5, 6) == 1);
  CHECK(slotCalls == std::vector<SlotCall>{{Slot::close, effect.object(), ""},
                                           {Slot::destroyAndFree, effect.object(), ""}});
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
  CHECK(effect.send(kOpResumeOrSuspend, 0, 1) == 0);
  CHECK(effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f) == 0);
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

TEST_CASE("a host that throws while the module's effect resumes is contained") {
  ScriptedHost host;
  host.throwOn(6);
  ModuleEffect effect(ScriptedHost::callback);
  effect.slot<void, bool>(Slot::isSynth, true);
  host.calls.clear();
  CHECK(effect.send(kOpResumeOrSuspend, 0, 1) == 0);
  CHECK(host.calls == std::vector<HostCall>{{effect.record(), 6, 0, 1, nullptr, 0.0f}});
  CHECK(effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f) == 0);
  CHECK(std::uncaught_exceptions() == 0);
}
