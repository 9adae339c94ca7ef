// One thread plays while another does everything that a host may do meanwhile. A thread checker sees what a
// plain run only survives, in a few rounds: it compares what the threads hold when they touch a place, and
// needs no unlucky moment. That blocks and program changes hold the lock from end to end is proved in
// tests/realtime.
#include "engine/PedalNumbers.h"
#include "tests/record/Module.h"
#include "tests/support/SideBySide.h"
#include "tests/support/TestSound.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kRounds = 200;
constexpr int kBlock = 32;
constexpr float kRate = 1000.0f;

bool playsSound(const ModuleEffect& effect, int round) {
  std::vector<double> samples = testSound(kBlock, kBlock * round);
  double* channels[] = {samples.data()};
  effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, kBlock);
  return std::ranges::all_of(samples, [](double x) { return std::abs(x) < 100.0; });
}

// Names, texts, queries and records; nothing of it is heard.
void askEverything(const ModuleEffect& effect, int round) {
  std::array<char, 256> buffer{};
  char name[] = "Name 0";
  name[5] = static_cast<char>('0' + round % 10);
  effect.send(kOpSetProgramName, 0, 0, name);
  for (int32_t opcode : {kOpGetProgramName, kOpGetEffectName, kOpGetVendorString, kOpGetProductString,
                         kOpCanDo, kOpGetVstVersion, kOpGetVendorVersion, kOpGetPlugCategory, kOpIdentify,
                         kOpGetProgram, kOpGetTailSize, kOpStartProcess, kOpBeginSetProgram})
    effect.send(opcode, 0, 0, buffer.data());
  for (int32_t index = 0; index < kParameterCount; ++index) {
    for (int32_t opcode : {kOpGetParameterName, kOpGetParameterLabel, kOpGetParameterDisplay,
                           kOpGetParameterProperties, kOpCanParameterBeAutomated, kOpString2Parameter})
      effect.send(opcode, index, 0, buffer.data());
    effect.get(index);
    effect.slot<void, int, float, char*>(Slot::getParameterDisplayOf, index, 0.5f, buffer.data());
  }
  for (int32_t program = 0; program < 16; ++program)
    effect.send(kOpGetProgramNameIndexed, program, 0, buffer.data());
  effect.slot<int>(Slot::getMasterVersion);
  effect.slot<float>(Slot::getSampleRate);
  effect.slot<int>(Slot::getNumOfInJacks);
}

} // namespace

TEST_CASE("parameters, programs and program numbers may change during blocks") {
  ModuleEffect effect;
  effect.send(kOpSetSampleRate, 0, 0, nullptr, kRate);
  int unsound = 0;
  sideBySide(
      kRounds, [&](int round) { unsound += !playsSound(effect, round); },
      [&](int round) {
        for (int32_t index = -1; index < 6; ++index)
          effect.set(index, static_cast<float>((round + index) % 9) / 8.0f);
        effect.slot<void, int, float>(Slot::setParameterAutomated, round % 5, 0.5f);
        effect.send(kOpSetProgram, 0, round % 20 - 2);
        effect.changeProgram(round % 18 - 1);
        askEverything(effect, round);
      });
  CHECK(unsound == 0);
}

TEST_CASE("parameters and programs may change on two threads at once") {
  ModuleEffect effect;
  for (int program = 0; program < 16; ++program) { // of each program every value is its number
    effect.changeProgram(program);
    for (int32_t index = 0; index < kParameterCount; ++index)
      effect.set(index, static_cast<float>(program) / 16.0f);
  }
  sideBySide(
      kRounds, [&](int round) { effect.changeProgram(round % 16); },
      [&](int round) {
        effect.changeProgram(15 - round % 16);
        effect.get(round % 5);
        effect.send(kOpGetProgram);
      });
  for (int program = 0; program < 16; ++program) {
    effect.changeProgram(program);
    CHECK(effect.values() == std::vector<float>(5, static_cast<float>(program) / 16.0f));
  }
}
