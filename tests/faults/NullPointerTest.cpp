// Null pointers wherever a pointer goes: the call does nothing, and the sound goes on as if it had not come.
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"
#include "tests/support/EffectSlots.h"
#include "vst/Opcodes.h"

#include <climits>
#include <string>

namespace {

constexpr float kNew[kParameterCount] = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};
constexpr int kSizes[] = {INT_MIN, -1, 0, 1, 64, 48001, 1 << 20, INT_MAX};

std::string nameOf(AEffect* record) {
  char text[64] = "~";
  record->dispatchEntry(record, kOpGetProgramName, 0, 0, text, 0.0f);
  return text;
}

// Lists that are not there, or whose channel is not; the other side is as good as it gets.
template <typename Sample, typename Entry> void callWithoutChannels(AEffect* record, Entry entry, int size) {
  Sample sample = 0.25;
  Sample* channel[] = {&sample};
  Sample* none[] = {nullptr};
  entry(record, nullptr, nullptr, size);
  entry(record, channel, nullptr, size);
  entry(record, nullptr, channel, size);
  entry(record, none, none, size);
  entry(record, channel, none, size);
  entry(record, none, channel, size);
  entry(record, none, nullptr, size);
  entry(record, nullptr, none, size);
  CHECK(sample == 0.25);
}

void callEveryProcessEntry(AEffect* record, int size) {
  callWithoutChannels<double>(record, record->processDoubleReplacingEntry, size);
  callWithoutChannels<float>(record, record->processReplacingEntry, size);
  callWithoutChannels<float>(record, record->processAccumulatingEntry, size);
}

} // namespace

TEST_CASE("null lists and channels do nothing") {
  Duo duo;
  for (int size : kSizes) // no rate yet, and the first block is still to come
    callEveryProcessEntry(duo.record(), size);
  duo->setSampleRate(8000.0f);
  for (int size : kSizes)
    callEveryProcessEntry(duo.record(), size);
  duo->setParameter(kPedalPos, 0.6f);
  for (int size : kSizes) {
    CAPTURE(size);
    duo->setParameter(kColor, size % 2 == 0 ? 0.5f : 0.8f); // a fade waits for a block that is one
    callEveryProcessEntry(duo.record(), size);
    duo.block(100);
  }
  duo.blocks(10, 100);
  CHECK(duo.count(PlainEvent::SwitchOver) > 0);
}

TEST_CASE("null texts are ignored") {
  Duo duo(8000.0f);
  duo.block(100);
  AEffect* record = duo.record();
  char name[] = "Kept";
  record->dispatchEntry(record, kOpSetProgramName, 0, 0, name, 0.0f);
  for (int32_t opcode = -2; opcode < 100; ++opcode) {
    if (opcode == kOpClose) continue;
    CAPTURE(opcode);
    const float opt = opcode == kOpSetSampleRate ? 8000.0f : 0.0f; // the rate in force
    for (int32_t index : {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 15, 16, INT_MAX})
      record->dispatchEntry(record, opcode, index, 0, nullptr, opt);
    for (int index = 0; index < kParameterCount; ++index)
      CHECK(record->getParameterEntry(record, index) == kNew[index]);
    CHECK(nameOf(record) == "Kept");
    duo.block(20);
  }
  for (int index = -1; index < 6; ++index)
    callSlot<void, int, float, char*>(record->objectRef, Slot::getParameterDisplayOf, index, 0.5f, nullptr);
}
