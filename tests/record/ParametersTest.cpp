// Parameters, programs, texts and identity of the effect, through the record and the table.
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

namespace {

constexpr char kCanary = '~';
constexpr int kBufferBytes = 64;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

enum { kOnOffIndex, kModeIndex, kToneIndex, kColorIndex, kPedalPosIndex };

using Values = std::vector<float>;
const Values kDefaults = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};

struct Buffer {
  std::array<char, kBufferBytes> bytes;
  Buffer() { bytes.fill(kCanary); }
  char* data() { return bytes.data(); }
  bool untouchedFrom(int first) const {
    for (int byte = first; byte < kBufferBytes; ++byte)
      if (bytes[byte] != kCanary) return false;
    return true;
  }
};

// A display's text; byte 8 must be 0 and everything behind it untouched.
std::string checkedDisplay(Buffer& buffer) {
  CHECK(buffer.bytes[8] == '\0');
  CHECK(buffer.untouchedFrom(9));
  return buffer.data();
}

// The value's text both ways: of the live parameter, and of a value that is handed over.
std::string display(const ModuleEffect& effect, int index, float value) {
  Buffer live;
  effect.set(index, value);
  effect.send(kOpGetParameterDisplay, index, 0, live.data());
  Buffer given;
  effect.set(index, 0.25f);
  effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, value, given.data());
  CHECK(effect.get(index) == 0.25f);
  const std::string text = checkedDisplay(live);
  CHECK(checkedDisplay(given) == text);
  return text;
}

std::string textOf(const ModuleEffect& effect, int32_t opcode, int32_t index = 0) {
  Buffer buffer;
  effect.send(opcode, index, 0, buffer.data());
  return buffer.data();
}

void setName(const ModuleEffect& effect, std::string name) {
  effect.send(kOpSetProgramName, 0, 0, name.data());
}

void checkAllProgramsFresh(const ModuleEffect& effect) {
  for (int program = 0; program < 16; ++program) {
    effect.changeProgram(program);
    CHECK(effect.values() == kDefaults);
    CHECK(effect.programNameAt(program) == "Init");
  }
}

} // namespace

TEST_CASE("a fresh effect's values and program") {
  ModuleEffect effect;
  CHECK(effect.values() == kDefaults);
  CHECK(effect.send(kOpGetProgram) == 0);
  CHECK(effect.programName() == "Init 1");
  checkAllProgramsFresh(effect);
}

TEST_CASE("parameters are stored as they come, unclamped, down to the bits") {
  ModuleEffect effect;
  for (float value : {0.0f, -0.0f, 1.0f, 0.3f, 7.5f, -2.0f, kInfinity, -kInfinity, kNaN,
                      std::numeric_limits<float>::denorm_min()}) {
    for (int index = 0; index < 5; ++index) {
      effect.set(index, value);
      CHECK(std::bit_cast<uint32_t>(effect.get(index)) == std::bit_cast<uint32_t>(value));
    }
  }
}

TEST_CASE("a parameter changes no other") {
  ModuleEffect effect;
  for (int index = 0; index < 5; ++index) {
    effect.changeProgram(index);
    Values expected = kDefaults;
    expected[index] = 0.375f;
    effect.set(index, 0.375f);
    CHECK(effect.values() == expected);
  }
}

TEST_CASE("parameters that do not exist are ignored, and read as 0") {
  ModuleEffect effect;
  for (int index : {-1, 5, 6, 1000, INT_MIN, INT_MAX}) {
    effect.set(index, 0.25f);
    CHECK(std::bit_cast<uint32_t>(effect.get(index)) == 0u);
  }
  checkAllProgramsFresh(effect);
}

TEST_CASE("parameter names, labels, and nothing for others") {
  ModuleEffect effect;
  const std::string names[] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};
  for (int index = 0; index < 5; ++index) {
    Buffer name;
    effect.send(kOpGetParameterName, index, 0, name.data());
    CHECK(std::string(name.data()) == names[index]);
    CHECK(name.untouchedFrom(static_cast<int>(names[index].size()) + 1));
    Buffer label;
    effect.send(kOpGetParameterLabel, index, 0, label.data());
    CHECK(label.bytes[0] == '\0');
    CHECK(label.untouchedFrom(1));
  }
  for (int index : {-1, 5, INT_MIN, INT_MAX}) {
    for (int32_t opcode : {kOpGetParameterName, kOpGetParameterLabel, kOpGetParameterDisplay}) {
      Buffer nothing;
      effect.send(opcode, index, 0, nothing.data());
      CHECK(nothing.untouchedFrom(0));
    }
    Buffer nothing;
    effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, 1.0f, nothing.data());
    CHECK(nothing.untouchedFrom(0));
  }
}

TEST_CASE("switches show their on state at exactly 1, and for NaN") {
  ModuleEffect effect;
  for (float value : {0.0f, 0.5f, 0.99f, std::nextafter(1.0f, 0.0f), std::nextafter(1.0f, 2.0f), 2.0f, -1.0f,
                      kInfinity, -kInfinity}) {
    CAPTURE(value);
    CHECK(display(effect, kOnOffIndex, value) == "off");
    CHECK(display(effect, kModeIndex, value) == "Guitar");
  }
  for (float value : {1.0f, kNaN, -kNaN}) {
    CAPTURE(value);
    CHECK(display(effect, kOnOffIndex, value) == "on");
    CHECK(display(effect, kModeIndex, value) == "Bass");
  }
}

TEST_CASE("Color shows eight steps, each with its lower end") {
  ModuleEffect effect;
  for (int step = 1; step < 8; ++step) {
    const float edge = 0.125f * static_cast<float>(step);
    CHECK(display(effect, kColorIndex, std::nextafter(edge, 0.0f)) == std::to_string(step - 1));
    CHECK(display(effect, kColorIndex, edge) == std::to_string(step));
    CHECK(display(effect, kColorIndex, std::nextafter(edge, 1.0f)) == std::to_string(step));
  }
  CHECK(display(effect, kColorIndex, 0.0f) == "0");
  CHECK(display(effect, kColorIndex, 0.124f) == "0");
  CHECK(display(effect, kColorIndex, 0.5f) == "4");
  CHECK(display(effect, kColorIndex, 1.0f) == "7");
  CHECK(display(effect, kColorIndex, -3.0f) == "0");
  CHECK(display(effect, kColorIndex, 9.0f) == "7");
  CHECK(display(effect, kColorIndex, -kInfinity) == "0");
  CHECK(display(effect, kColorIndex, kInfinity) == "7");
  CHECK(display(effect, kColorIndex, kNaN) == "0");
}

// -1234.567f times 10 is -12345.669921875 in single precision; with five integer digits the one decimal is
// the hundredths digit of -12345.6748.
TEST_CASE("Tone and PedalPos show ten times their value") {
  ModuleEffect effect;
  for (int index : {static_cast<int>(kToneIndex), static_cast<int>(kPedalPosIndex)}) {
    CHECK(display(effect, index, 0.0f) == " 0.00");
    CHECK(display(effect, index, 0.8f) == " 8.00");
    CHECK(display(effect, index, 0.5f) == " 5.00");
    CHECK(display(effect, index, 1.0f) == " 10.00");
    CHECK(display(effect, index, 0.1234f) == " 1.23");
    CHECK(display(effect, index, 0.99999f) == " 10.00");
    CHECK(display(effect, index, -0.25f) == "-2.50");
    CHECK(display(effect, index, 123.4567f) == " 1234.57");
    CHECK(display(effect, index, -1234.567f) == "-12345.7");
    CHECK(display(effect, index, 12345.6f) == " 123456.");
    CHECK(display(effect, index, 1000000.0f) == " 000000.");
    CHECK(display(effect, index, kNaN) == " 0.00");
  }
}

TEST_CASE("Tone and PedalPos too large to show leave bytes 0 to 7 and end byte 8") {
  ModuleEffect effect;
  for (int index : {static_cast<int>(kToneIndex), static_cast<int>(kPedalPosIndex)}) {
    for (float value : {1e7f, -1e6f, 3e38f, kInfinity, -kInfinity}) {
      CAPTURE(value);
      CHECK(display(effect, index, value) == std::string(8, kCanary));
    }
  }
}

TEST_CASE("the display formats through the table, with the product in single precision") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::float2string);
  char text[16];
  effect.set(kToneIndex, 0.3f);
  effect.send(kOpGetParameterDisplay, kToneIndex, 0, text);
  effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, kPedalPosIndex, 0.7f, text);
  REQUIRE(slotCalls.size() == 2);
  // Ten times 0.3f is 3.0000001192, a tie between steps of 2^-22 that goes to the even 3; ten times 0.7f is
  // 6.9999998808, nearest to 7 among steps of 2^-21.
  CHECK(slotCalls[0].arguments == argumentsText(3.0f, text, 8));
  CHECK(slotCalls[1].arguments == argumentsText(7.0f, text, 8));
}

TEST_CASE("a program change makes the program's values live, and edits stay in their program") {
  ModuleEffect effect;
  effect.set(kToneIndex, 0.25f);
  effect.set(kPedalPosIndex, 0.75f);
  effect.changeProgram(5);
  CHECK(effect.send(kOpGetProgram) == 5);
  CHECK(effect.values() == kDefaults);
  effect.set(kOnOffIndex, 0.0f);
  effect.changeProgram(0);
  CHECK(effect.values() == Values{1.0f, 0.0f, 0.25f, 0.5f, 0.75f});
  effect.changeProgram(5);
  CHECK(effect.values() == Values{0.0f, 0.0f, 0.8f, 0.5f, 0.0f});
  effect.changeProgram(15);
  CHECK(effect.values() == kDefaults);
}

TEST_CASE("a program change sets every parameter through the table, in index order") {
  ModuleEffect effect;
  effect.changeProgram(4);
  effect.set(kModeIndex, 1.0f);
  effect.set(kColorIndex, 0.125f);
  effect.changeProgram(0);
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::setParameter);
  effect.changeProgram(4);
  REQUIRE(slotCalls.size() == 5);
  const float expected[] = {1.0f, 1.0f, 0.8f, 0.125f, 0.0f};
  for (int index = 0; index < 5; ++index)
    CHECK(slotCalls[index].arguments == argumentsText(index, expected[index]));
  CHECK(effect.send(kOpGetProgram) == 4);
}

TEST_CASE("a program change outside 0 to 15 is ignored") {
  ModuleEffect effect;
  effect.changeProgram(3);
  effect.set(kToneIndex, 0.25f);
  std::vector<long> numbers = {-1, 16, 17, 1000, LONG_MIN, LONG_MAX};
  if (sizeof(long) == 8) numbers.push_back(static_cast<long>(int64_t{1} << 32)); // 0 in its low half
  for (long number : numbers) {
    CAPTURE(number);
    effect.changeProgram(number);
    CHECK(effect.send(kOpGetProgram) == 3);
    CHECK(effect.values() == Values{1.0f, 0.0f, 0.25f, 0.5f, 0.0f});
  }
}

TEST_CASE("the host's program change keeps the live values, and edits go to the new program") {
  ModuleEffect effect;
  effect.set(kPedalPosIndex, 0.5f);
  const Values before = effect.values();
  effect.send(kOpSetProgram, 0, 3);
  CHECK(effect.send(kOpGetProgram) == 3);
  CHECK(effect.values() == before);
  effect.set(kToneIndex, 0.375f);

  effect.changeProgram(0);
  CHECK(effect.values() == before);
  effect.changeProgram(3);
  CHECK(effect.values() == Values{1.0f, 0.0f, 0.375f, 0.5f, 0.0f});
}

TEST_CASE("the host's program change at or above 16 changes nothing") {
  ModuleEffect effect;
  effect.send(kOpSetProgram, 0, 2);
  for (intptr_t program : {16, 17, INT_MAX}) {
    CHECK(effect.send(kOpSetProgram, 0, program) == 0);
    CHECK(effect.send(kOpGetProgram) == 2);
  }
}

TEST_CASE("with a program number that is no program's, no program is read or written") {
  for (int number : {-1, -2, -1000, INT_MIN, 16, 17, 1000000, INT_MAX}) {
    CAPTURE(number);
    ModuleEffect effect;
    if (number < 0)
      effect.send(kOpSetProgram, 0, number);
    else
      effect.slot<void, int>(Slot::setProgram, number); // opcode 2 would refuse it
    CHECK(effect.send(kOpGetProgram) == number);
    CHECK(effect.values() == kDefaults);

    for (int index = 0; index < 5; ++index)
      effect.set(index, 0.375f);
    CHECK(effect.values() == Values(5, 0.375f));
    CHECK(effect.programName().empty());
    setName(effect, "Lost");
    CHECK(effect.programName().empty());
    CHECK(textOf(effect, kOpGetParameterDisplay, kToneIndex) == " 3.75");
    checkAllProgramsFresh(effect);
  }
}

TEST_CASE("after a negative number the next good one works again") {
  ModuleEffect effect;
  effect.send(kOpSetProgram, 0, -5);
  effect.send(kOpSetProgram, 0, 2);
  setName(effect, "Back");
  effect.set(kToneIndex, 0.5f);
  CHECK(effect.programName() == "Back");
  effect.changeProgram(0);
  effect.changeProgram(2);
  CHECK(effect.get(kToneIndex) == 0.5f);
}

TEST_CASE("an unnamed program shows its number, a named one its name") {
  ModuleEffect effect;
  effect.changeProgram(5);
  CHECK(effect.programName() == "Init 6");
  CHECK(effect.programNameAt(5) == "Init");
  setName(effect, "Dive");
  CHECK(effect.programName() == "Dive");
  CHECK(effect.programNameAt(5) == "Dive");
  CHECK(effect.programNameAt(4) == "Init");
  effect.changeProgram(15);
  CHECK(effect.programName() == "Init 16");
  effect.send(kOpSetProgram, 0, 9);
  CHECK(effect.programName() == "Init 10");
}

TEST_CASE("only the exact name is numbered") {
  ModuleEffect effect;
  for (const char* name : {"init", "Init ", "Initial", "Ini", "", "INIT", "Init 1"}) {
    setName(effect, name);
    CHECK(effect.programName() == name);
  }
  setName(effect, "Init");
  CHECK(effect.programName() == "Init 1");
}

TEST_CASE("names are cut to 23 characters and stay in their program") {
  ModuleEffect effect;
  effect.changeProgram(7);
  const std::string alphabet = "abcdefghijklmnopqrstuvwxyz";
  for (std::size_t length : {22u, 23u, 24u, 26u, 1000u}) {
    std::string name;
    while (name.size() < length)
      name += alphabet;
    name.resize(length);
    setName(effect, name);
    CHECK(effect.programName() == name.substr(0, 23));
    CHECK(effect.programNameAt(7) == name.substr(0, 23));
  }
  setName(effect, "short");
  CHECK(effect.programName() == "short");
  for (int program : {0, 6, 8, 15}) {
    effect.changeProgram(program);
    CHECK(effect.values() == kDefaults);
    CHECK(effect.programNameAt(program) == "Init");
  }
}

TEST_CASE("indexed names: below 16 yes, negative ones empty, the category ignored") {
  ModuleEffect effect;
  setName(effect, "First");
  for (intptr_t category : {0, -1, 1, INT_MAX, INT_MIN}) {
    Buffer first;
    CHECK(effect.send(kOpGetProgramNameIndexed, 0, category, first.data()) == 1);
    CHECK(std::string(first.data()) == "First");
    Buffer last;
    CHECK(effect.send(kOpGetProgramNameIndexed, 15, category, last.data()) == 1);
    CHECK(std::string(last.data()) == "Init");
  }
  for (int index : {16, 17, INT_MAX}) {
    Buffer none;
    CHECK(effect.send(kOpGetProgramNameIndexed, index, 0, none.data()) == 0);
    CHECK(none.untouchedFrom(0));
  }
  for (int index : {-1, -2, -16, INT_MIN}) {
    Buffer empty;
    CHECK(effect.send(kOpGetProgramNameIndexed, index, 0, empty.data()) == 1);
    CHECK(empty.bytes[0] == '\0');
    CHECK(empty.untouchedFrom(1));
  }
}

TEST_CASE("null texts are ignored") {
  ModuleEffect effect;
  setName(effect, "Kept");
  for (int32_t opcode :
       {kOpSetProgramName, kOpGetProgramName, kOpGetEffectName, kOpGetVendorString, kOpGetProductString})
    effect.send(opcode);
  for (int32_t opcode : {kOpGetParameterLabel, kOpGetParameterDisplay, kOpGetParameterName,
                         kOpGetProgramNameIndexed, kOpGetParameterProperties})
    for (int index = -1; index < 17; ++index)
      effect.send(opcode, index);
  for (int index = -1; index < 6; ++index)
    effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, 0.5f, nullptr);
  CHECK(effect.programName() == "Kept");
  CHECK(effect.values() == kDefaults);
}

TEST_CASE("identity") {
  ModuleEffect effect;
  const std::pair<int32_t, std::string> rows[] = {{kOpGetEffectName, "NEW Treadshift"},
                                                  {kOpGetVendorString, "QUON Corporation"},
                                                  {kOpGetProductString, "NEW Treadshift"}};
  for (const auto& [opcode, expected] : rows) {
    Buffer buffer;
    CHECK(effect.send(opcode, 0, 0, buffer.data()) == 1);
    CHECK(std::string(buffer.data()) == expected);
    CHECK(buffer.untouchedFrom(static_cast<int>(expected.size()) + 1));
  }
}

// The record byte by byte: 154 are cleared, then the kind of the parameter is written, and byte 152 is 1.
TEST_CASE("parameter properties, every byte of them") {
  ModuleEffect effect;
  for (int index = 0; index < 5; ++index) {
    CAPTURE(index);
    std::array<unsigned char, 200> expected;
    expected.fill(0xA5);
    auto actual = expected;
    std::fill_n(expected.begin(), 154, static_cast<unsigned char>(0));
    auto put = [&](int offset, auto value) { std::memcpy(expected.data() + offset, &value, 4); };
    if (index == kOnOffIndex || index == kModeIndex) put(76, int32_t{1});
    if (index == kToneIndex || index == kPedalPosIndex) {
      put(76, int32_t{4});
      put(0, 0.01f);
    }
    if (index == kColorIndex) {
      put(76, int32_t{2});
      put(80, int32_t{0});
      put(84, int32_t{7});
      put(88, int32_t{1});
    }
    expected[152] = 1;
    CHECK(effect.send(kOpGetParameterProperties, index, 0, actual.data()) == 1);
    for (std::size_t byte = 0; byte < expected.size(); ++byte) {
      CAPTURE(byte);
      CHECK(actual[byte] == expected[byte]);
    }
  }
}

TEST_CASE("no properties without a record or a parameter, and nothing is touched") {
  ModuleEffect effect;
  std::array<unsigned char, 200> record;
  record.fill(0xA5);
  const auto untouched = record;
  for (int index : {-1, 5, 16, INT_MIN, INT_MAX}) {
    CHECK(effect.send(kOpGetParameterProperties, index, 0, record.data()) == 0);
    CHECK(effect.send(kOpGetParameterProperties, index) == 0);
  }
  for (int index = 0; index < 5; ++index)
    CHECK(effect.send(kOpGetParameterProperties, index) == 0);
  CHECK(record == untouched);
}

TEST_CASE("the label in the properties is the label operation's text") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.replace(
      Slot::getParameterLabel,
      +[](void*, int index, char* text) { std::strcpy(text, index == kToneIndex ? "knob" : "other"); });
  std::array<char, 200> record{};
  CHECK(effect.send(kOpGetParameterProperties, kToneIndex, 0, record.data()) == 1);
  CHECK(std::string(record.data() + 12) == "knob");
}

namespace {

// What a program change does from inside its last setParameter, with another thread's block waiting.
struct LockProbe {
  const ModuleEffect* effect = nullptr;
  std::thread block;
  std::atomic<bool> blockBegan{false};
  std::atomic<bool> blockEnded{false};
  bool endedDuringChange = false;
  int numberDuringChange = -1;
};
LockProbe* probe = nullptr;

void runBlock(const ModuleEffect& effect) {
  double samples[16] = {};
  double* channels[] = {samples};
  effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, 16);
}

void probingSetParameter(void*, int index, float) {
  if (index == 0) {
    probe->numberDuringChange = static_cast<int>(probe->effect->send(kOpGetProgram));
    probe->block = std::thread([] {
      probe->blockBegan = true;
      runBlock(*probe->effect);
      probe->blockEnded = true;
    });
    while (!probe->blockBegan)
      std::this_thread::yield();
  }
  if (index == 4) {
    // Long enough for a block that is not held back to be through; one that waits is never through.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    probe->endedDuringChange = probe->blockEnded;
  }
}

} // namespace

TEST_CASE("a block waits until a program change is through") {
  ModuleEffect effect;
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  LockProbe current;
  current.effect = &effect;
  probe = &current;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.replace(Slot::setParameter, probingSetParameter);
  effect.changeProgram(6);
  current.block.join();
  CHECK(current.numberDuringChange == 6);
  CHECK_FALSE(current.endedDuringChange);
  CHECK(current.blockEnded);
}

TEST_CASE("the thread of a program change may itself run a block meanwhile") {
  ModuleEffect effect;
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  static const ModuleEffect* running;
  running = &effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.replace(
      Slot::setParameter, +[](void*, int, float) { runBlock(*running); });
  effect.changeProgram(1);
  CHECK(effect.send(kOpGetProgram) == 1);
}
