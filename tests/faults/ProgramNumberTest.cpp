// Program numbers that are no program's, as wide as the dispatcher takes them.
#include "EndlessText.h"
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Values = std::vector<float>;
const Values kDefaults = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};

std::vector<intptr_t> negativeNumbers() {
  std::vector<intptr_t> all = {-1,    -2,          -15,     -16,        -17,
                               -1000, INT_MIN + 1, INT_MIN, INTPTR_MIN, INTPTR_MIN + 3};
  if (sizeof(intptr_t) == 8) { // negative with a low half that is a program's number, or above all
    const auto turn = static_cast<intptr_t>(int64_t{1} << 32);
    all.insert(all.end(), {-turn, -turn + 3, -turn + 15, -turn + 16, -turn + INT_MAX});
  }
  return all;
}

std::vector<intptr_t> largeNumbers() {
  std::vector<intptr_t> all = {16, 17, 1000, INT_MAX, INTPTR_MAX};
  if (sizeof(intptr_t) == 8) {
    const auto turn = static_cast<intptr_t>(int64_t{1} << 32);
    all.insert(all.end(), {turn, turn + 3, turn - 1});
  }
  return all;
}

std::string text(const ModuleEffect& effect, int32_t opcode, int32_t index = 0) {
  char buffer[64] = "~";
  effect.send(opcode, index, 0, buffer);
  return buffer;
}

// Every call that reads or writes a program or a parameter.
void checkEveryCall(const ModuleEffect& effect) {
  char name[] = "Nowhere";
  effect.send(kOpSetProgramName, 0, 0, name);
  CHECK(text(effect, kOpGetProgramName).empty());
  const char* const displays[] = {"off", "Guitar", " 3.75", "3", " 3.75"};
  const char* const names[] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};
  for (int index = 0; index < 5; ++index) {
    effect.set(index, 0.375f);
    CHECK(effect.get(index) == 0.375f);
    CHECK(text(effect, kOpGetParameterDisplay, index) == displays[index]);
    CHECK(text(effect, kOpGetParameterName, index) == names[index]);
    CHECK(text(effect, kOpGetParameterLabel, index).empty());
    char record[160];
    CHECK(effect.send(kOpGetParameterProperties, index, 0, record) == 1);
  }
  for (int program = 0; program < 16; ++program)
    CHECK(text(effect, kOpGetProgramNameIndexed, program) == "Init");
}

void checkProgramsUntouched(const ModuleEffect& effect) {
  for (int program = 0; program < 16; ++program) {
    effect.changeProgram(program);
    CHECK(effect.values() == kDefaults);
    CHECK(effect.programName() == "Init " + std::to_string(program + 1));
  }
}

} // namespace

TEST_CASE("a negative program number stays negative, at any width, and no program is touched") {
  for (intptr_t number : negativeNumbers()) {
    CAPTURE(number);
    ModuleEffect effect;
    CHECK(effect.send(kOpSetProgram, 0, number) == 0);
    CHECK(effect.send(kOpGetProgram) < 0);
    if (number >= INT_MIN) CHECK(effect.send(kOpGetProgram) == number);
    CHECK(effect.values() == kDefaults);
    checkEveryCall(effect);
    checkProgramsUntouched(effect);
  }
}

TEST_CASE("a program number of 16 or more is refused, at any width") {
  for (intptr_t number : largeNumbers()) {
    CAPTURE(number);
    ModuleEffect effect;
    effect.send(kOpSetProgram, 0, 4);
    CHECK(effect.send(kOpSetProgram, 0, number) == 0);
    CHECK(effect.send(kOpGetProgram) == 4);
    CHECK(effect.values() == kDefaults);
  }
}

TEST_CASE("an indexed name of any index stays inside a buffer of the name's size") {
  ModuleEffect effect;
  for (int index : {-1, -2, -16, -17, INT_MIN, INT_MIN + 1}) {
    CAPTURE(index);
    const EndlessText one("~");
    CHECK(effect.send(kOpGetProgramNameIndexed, index, 0, one.data()) == 1);
    CHECK(one.data()[0] == '\0');
  }
  for (int index : {16, 17, 1000, INT_MAX - 1, INT_MAX}) {
    CAPTURE(index);
    const EndlessText one("~");
    CHECK(effect.send(kOpGetProgramNameIndexed, index, 0, one.data()) == 0);
    CHECK(one.data()[0] == '~');
  }
}
