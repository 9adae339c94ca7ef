// Parameters, programs, texts and identity of the effect, through the record and the table.
#include "engine/PedalNumbers.h"
#include "tests/record/Module.h"
#include "tests/support/Bits.h"
#include "tests/support/NonFinite.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr char kCanary = '~';
constexpr int kBufferBytes = 64;

using Values = std::vector<float>;
const Values kDefaults = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};

// What an opcode writes into a buffer of canaries.
struct Written {
  std::array<char, kBufferBytes> bytes;
  intptr_t answer = 0;

  Written() { bytes.fill(kCanary); }
  Written(const ModuleEffect& effect, int32_t opcode, int32_t index = 0, intptr_t value = 0) : Written() {
    answer = effect.send(opcode, index, value, bytes.data());
  }
  std::string text() const { return bytes.data(); }
  bool untouchedFrom(std::size_t first) const {
    return std::all_of(bytes.begin() + first, bytes.end(), [](char byte) { return byte == kCanary; });
  }
  // The text and its terminator, and nothing behind them.
  bool is(const std::string& expected) const {
    return text() == expected && untouchedFrom(expected.size() + 1);
  }
};

// The value's text both ways: of the live parameter, and of a value that is handed over. Byte 8 must be 0 and
// everything behind it untouched.
std::string display(const ModuleEffect& effect, int index, float value) {
  effect.set(index, value);
  const Written live(effect, kOpGetParameterDisplay, index);
  Written given;
  effect.set(index, 0.25f);
  effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, value, given.bytes.data());
  CHECK(effect.get(index) == 0.25f);
  CHECK(live.bytes[8] == '\0');
  CHECK(live.untouchedFrom(9));
  CHECK(given.bytes == live.bytes);
  return live.text();
}

void setName(const ModuleEffect& effect, std::string name) {
  effect.send(kOpSetProgramName, 0, 0, name.data());
}

void checkAllProgramsFresh(const ModuleEffect& effect) {
  for (int program = 0; program < 16; ++program) {
    effect.changeProgram(program);
    CHECK(effect.values() == kDefaults);
    CHECK(effect.programName() == "Init " + std::to_string(program + 1));
    CHECK(effect.programNameAt(program) == "Init");
  }
}

} // namespace

TEST_CASE("a fresh effect's values and programs") {
  ModuleEffect effect;
  CHECK(effect.values() == kDefaults);
  CHECK(effect.send(kOpGetProgram) == 0);
  checkAllProgramsFresh(effect);
}

TEST_CASE("parameters are stored as they come, unclamped, down to the bits") {
  ModuleEffect effect;
  for (float value : {0.0f, -0.0f, 1.0f, 0.3f, 7.5f, -2.0f, kInfinity, -kInfinity, kNaN,
                      std::numeric_limits<float>::denorm_min()}) {
    for (int index = 0; index < kParameterCount; ++index) {
      Values expected = effect.values();
      expected[index] = value; // and no other
      effect.set(index, value);
      CHECK(sameBits(effect.values(), expected));
    }
  }
}

TEST_CASE("parameters that do not exist are ignored, and read as 0") {
  ModuleEffect effect;
  for (int index : {INT_MIN, INT_MIN + 1, -16, -1, 5, 6, 15, 16, 255, 65536, INT_MAX - 1, INT_MAX}) {
    CAPTURE(index);
    for (float value : {0.25f, kNaN, kInfinity})
      effect.set(index, value);
    CHECK(bitsOf(effect.get(index)) == 0u);
  }
  checkAllProgramsFresh(effect);
}

TEST_CASE("parameter names, labels, and nothing for others") {
  ModuleEffect effect;
  const std::string names[] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};
  for (int index = 0; index < kParameterCount; ++index) {
    CHECK(Written(effect, kOpGetParameterName, index).is(names[index]));
    CHECK(Written(effect, kOpGetParameterLabel, index).is(""));
  }
  for (int index : {-1, 5, INT_MIN, INT_MAX}) {
    for (int32_t opcode : {kOpGetParameterName, kOpGetParameterLabel, kOpGetParameterDisplay})
      CHECK(Written(effect, opcode, index).untouchedFrom(0));
    Written nothing;
    effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, 1.0f, nothing.bytes.data());
    CHECK(nothing.untouchedFrom(0));
  }
}

TEST_CASE("switches show their on state at exactly 1, and for NaN") {
  ModuleEffect effect;
  for (float value : {0.0f, 0.5f, std::nextafter(1.0f, 0.0f), std::nextafter(1.0f, 2.0f), 2.0f, -1.0f,
                      kInfinity, -kInfinity, 1.0f, kNaN, -kNaN}) {
    CAPTURE(value);
    const bool isOn = value == 1.0f || std::isnan(value);
    CHECK(display(effect, kOnOff, value) == (isOn ? "on" : "off"));
    CHECK(display(effect, kMode, value) == (isOn ? "Bass" : "Guitar"));
  }
}

TEST_CASE("Color shows eight steps, each with its lower end") {
  ModuleEffect effect;
  for (int step = 1; step < 8; ++step) {
    const float edge = 0.125f * static_cast<float>(step);
    CHECK(display(effect, kColor, std::nextafter(edge, 0.0f)) == std::to_string(step - 1));
    CHECK(display(effect, kColor, edge) == std::to_string(step));
  }
  for (float value : {0.0f, -3.0f, -kInfinity, kNaN})
    CHECK(display(effect, kColor, value) == "0");
  for (float value : {1.0f, 9.0f, kInfinity})
    CHECK(display(effect, kColor, value) == "7");
}

// -1234.567f times 10 is -12345.669921875 in single precision; with five integer digits the one decimal is
// the hundredths digit of -12345.6748. What is too large to show leaves bytes 0 to 7 and ends byte 8.
TEST_CASE("Tone and PedalPos show ten times their value") {
  const std::string untouched(8, kCanary);
  const std::pair<float, std::string> rows[] = {
      {0.0f, " 0.00"},        {0.8f, " 8.00"},          {1.0f, " 10.00"},       {0.1234f, " 1.23"},
      {0.99999f, " 10.00"},   {-0.25f, "-2.50"},        {kNaN, " 0.00"},        {123.4567f, " 1234.57"},
      {12345.6f, " 123456."}, {-1234.567f, "-12345.7"}, {1e6f, " 000000."},     {1e7f, untouched},
      {-1e6f, untouched},     {3e38f, untouched},       {kInfinity, untouched}, {-kInfinity, untouched}};
  ModuleEffect effect;
  for (const auto& [value, text] : rows) {
    CHECK(display(effect, kTone, value) == text);
    CHECK(display(effect, kPedalPos, value) == text);
  }
}

TEST_CASE("the display formats through the table, with the product in single precision") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::float2string);
  char text[16];
  effect.set(kTone, 0.3f);
  effect.send(kOpGetParameterDisplay, kTone, 0, text);
  effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, kPedalPos, 0.7f, text);
  // Ten times 0.3f is 3.0000001192, a tie between steps of 2^-22 that goes to the even 3; ten times 0.7f is
  // 6.9999998808, nearest to 7 among steps of 2^-21.
  CHECK(slotCalls ==
        std::vector<SlotCall>{{Slot::float2string, effect.object(), argumentsText(3.0f, text, 8)},
                              {Slot::float2string, effect.object(), argumentsText(7.0f, text, 8)}});
}

TEST_CASE("a program change makes the program's values live, and edits stay in their program") {
  ModuleEffect effect;
  effect.set(kTone, 0.25f);
  effect.set(kPedalPos, 0.75f);
  effect.changeProgram(5);
  CHECK(effect.send(kOpGetProgram) == 5);
  CHECK(effect.values() == kDefaults);
  effect.set(kOnOff, 0.0f);
  effect.changeProgram(0);
  CHECK(effect.values() == Values{1.0f, 0.0f, 0.25f, 0.5f, 0.75f});
  effect.changeProgram(5);
  CHECK(effect.values() == Values{0.0f, 0.0f, 0.8f, 0.5f, 0.0f});
  effect.changeProgram(15);
  CHECK(effect.values() == kDefaults);
}

TEST_CASE("a program change sets every parameter through the table, in index order") {
  ModuleEffect effect;
  const Values expected = {0.5f, 1.0f, 0.25f, 0.125f, 0.75f};
  effect.changeProgram(4);
  for (int index = 0; index < kParameterCount; ++index)
    effect.set(index, expected[index]);
  effect.changeProgram(0);
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.record(Slot::setParameter);
  effect.changeProgram(4);
  REQUIRE(slotCalls.size() == 5);
  for (int index = 0; index < kParameterCount; ++index)
    CHECK(slotCalls[index].arguments == argumentsText(index, expected[index]));
  CHECK(effect.send(kOpGetProgram) == 4);
}

TEST_CASE("a program change outside 0 to 15 is ignored") {
  ModuleEffect effect;
  effect.changeProgram(3);
  effect.set(kTone, 0.25f);
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
  effect.set(kPedalPos, 0.5f);
  const Values before = effect.values();
  effect.send(kOpSetProgram, 0, 3);
  CHECK(effect.send(kOpGetProgram) == 3);
  CHECK(effect.values() == before);
  effect.set(kTone, 0.375f);

  effect.changeProgram(0);
  CHECK(effect.values() == before);
  effect.changeProgram(3);
  CHECK(effect.values() == Values{1.0f, 0.0f, 0.375f, 0.5f, 0.0f});
}

TEST_CASE("with a program number that is no program's, no program is read or written") {
  const char* const displays[] = {"off", "Guitar", " 3.75", "3", " 3.75"};
  for (int number : {-1, -2, -16, -17, -1000, INT_MIN, 16, 17, 1000000, INT_MAX}) {
    CAPTURE(number);
    ModuleEffect effect;
    effect.slot<void, int>(Slot::setProgram, number); // opcode 2 would refuse the large ones
    CHECK(effect.send(kOpGetProgram) == number);
    CHECK(effect.values() == kDefaults);
    for (int index = 0; index < kParameterCount; ++index) {
      effect.set(index, 0.375f);
      CHECK(Written(effect, kOpGetParameterDisplay, index).text() == displays[index]);
    }
    CHECK(effect.values() == Values(5, 0.375f));
    setName(effect, "Lost");
    CHECK(effect.programName().empty());
    checkAllProgramsFresh(effect); // and the next good number works again
  }
}

TEST_CASE("an unnamed program shows its number, a named one its name") {
  ModuleEffect effect;
  effect.changeProgram(5);
  setName(effect, "Dive");
  CHECK(effect.programName() == "Dive");
  CHECK(effect.programNameAt(5) == "Dive");
  CHECK(effect.programNameAt(4) == "Init");
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

TEST_CASE("indexed names: below 16 yes, negative ones empty, the category ignored") {
  ModuleEffect effect;
  setName(effect, "First");
  const auto nameAt = [&](int index, intptr_t category) {
    return Written(effect, kOpGetProgramNameIndexed, index, category);
  };
  for (intptr_t category : {0, -1, 1, INT_MAX, INT_MIN}) {
    CHECK(nameAt(0, category).answer == 1);
    CHECK(nameAt(0, category).is("First"));
    CHECK(nameAt(15, category).is("Init"));
  }
  for (int index : {16, 17, 1000, INT_MAX}) {
    CHECK(nameAt(index, 0).answer == 0);
    CHECK(nameAt(index, 0).untouchedFrom(0));
  }
  for (int index : {-1, -2, -16, -17, INT_MIN}) {
    CHECK(nameAt(index, 0).answer == 1);
    CHECK(nameAt(index, 0).is(""));
  }
}

TEST_CASE("identity") {
  ModuleEffect effect;
  const std::pair<int32_t, std::string> rows[] = {{kOpGetEffectName, "NEW Treadshift"},
                                                  {kOpGetVendorString, "QUON Corporation"},
                                                  {kOpGetProductString, "NEW Treadshift"}};
  for (const auto& [opcode, expected] : rows) {
    const Written written(effect, opcode);
    CHECK(written.answer == 1);
    CHECK(written.is(expected));
  }
}

// The record byte by byte: 154 are cleared, then the kind of the parameter is written, and byte 152 is 1.
TEST_CASE("parameter properties, every byte of them") {
  ModuleEffect effect;
  for (int index = -1; index <= 5; ++index) {
    CAPTURE(index);
    std::array<unsigned char, 200> expected;
    expected.fill(0xA5);
    auto actual = expected;
    const auto put = [&](int offset, auto value) { std::memcpy(expected.data() + offset, &value, 4); };
    const bool isParameter = index >= 0 && index < 5;
    if (isParameter) {
      std::fill_n(expected.begin(), 154, static_cast<unsigned char>(0));
      expected[152] = 1;
    }
    if (index == kOnOff || index == kMode) put(76, int32_t{1});
    if (index == kTone || index == kPedalPos) {
      put(76, int32_t{4});
      put(0, 0.01f);
    }
    if (index == kColor) {
      put(76, int32_t{2});
      put(80, int32_t{0});
      put(84, int32_t{7});
      put(88, int32_t{1});
    }
    CHECK(effect.send(kOpGetParameterProperties, index, 0, actual.data()) == isParameter);
    CHECK(actual == expected);
    CHECK(effect.send(kOpGetParameterProperties, index) == 0); // no record
  }
}

TEST_CASE("the label in the properties is the label operation's text") {
  ModuleEffect effect;
  SlotExchange exchange(effect.object(), kTreadshiftSlots);
  exchange.replace(
      Slot::getParameterLabel,
      +[](void*, int index, char* text) { std::strcpy(text, index == kTone ? "knob" : "other"); });
  std::array<char, 200> record{};
  CHECK(effect.send(kOpGetParameterProperties, kTone, 0, record.data()) == 1);
  CHECK(std::string(record.data() + 12) == "knob");
}
