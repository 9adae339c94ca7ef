// One thread plays while another does everything that a host may do meanwhile. A thread checker sees what a
// plain run only survives.
#include "tests/property/PedalPair.h"
#include "tests/record/Module.h"
#include "tests/support/Meanwhile.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace {

constexpr int kMode = 1, kTone = 2, kColor = 3, kPedalPos = 4;
constexpr int kBlock = 32;
constexpr float kRate = 1000.0f;
constexpr int kChangesHeard = 300;

using Samples = std::array<double, kBlock>;

Samples sound(int block) {
  Samples samples;
  for (int i = 0; i < kBlock; ++i)
    samples[i] = std::fmod(0.618034 * static_cast<double>(kBlock * block + i + 1), 1.0) - 0.5;
  return samples;
}

Samples playedBy(const ModuleEffect& effect, Samples samples) {
  double* channels[] = {samples.data()};
  effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, kBlock);
  return samples;
}

struct Change {
  int program, index;
  float value;
};

// Two programs that differ in three parameters.
constexpr Change kPrograms[] = {{0, kTone, 0.2f}, {0, kColor, 0.8f},  {0, kPedalPos, 0.3f},
                                {1, kTone, 0.9f}, {1, kColor, 0.55f}, {1, kPedalPos, 0.7f}};

void fillPrograms(const ModuleEffect& effect) {
  for (const Change& change : kPrograms) {
    effect.changeProgram(change.program);
    effect.set(change.index, change.value);
  }
}

// Finds out which program was in force in each block, by the sound alone: two plain pedals go on from where
// the last block ended, each with one of the programs, and one of them must have the module's bits.
class Judge {
public:
  Judge() {
    for (const Change& change : kPrograms) {
      pedal.loadProgram(change.program);
      pedal.setParameter(change.index, change.value);
    }
    pedal.setSampleRate(kRate);
  }

  // The program that was heard; none: neither, wholly.
  std::optional<int> programHeard(const Samples& input, const Samples& output) {
    for (int program : {0, 1}) {
      PlainPedal candidate = pedal;
      Samples expected;
      candidate.loadProgram(program);
      candidate.process(input.data(), expected.data(), kBlock);
      if (!std::ranges::equal(expected, output, sameSample)) continue;
      pedal = std::move(candidate);
      return program;
    }
    return std::nullopt;
  }

private:
  PlainPedal pedal;
};

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
  for (int32_t index = 0; index < 5; ++index) {
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

TEST_CASE("every block hears one program wholly, whatever another thread does") {
  ModuleEffect effect;
  fillPrograms(effect);
  effect.send(kOpSetSampleRate, 0, 0, nullptr, kRate);
  Judge judge;
  int changesHeard = 0, undecided = 0, before = 1;
  {
    const Meanwhile control([&](int round) {
      effect.changeProgram(round % 2);
      askEverything(effect, round);
      effect.send(kOpSetProgram, 0, 2 + round % 14); // the number alone
      effect.set(kMode, static_cast<float>(round % 2));
      effect.send(kOpSetProgram, 0, -1 - round % 3);
      effect.set(kMode, 0.5f);
    });
    for (int block = 0; changesHeard < kChangesHeard && undecided == 0; ++block) {
      const Samples input = sound(block);
      const std::optional<int> heard = judge.programHeard(input, playedBy(effect, input));
      undecided += !heard;
      changesHeard += heard && *heard != before;
      before = heard.value_or(before);
      std::this_thread::yield();
    }
  }
  CHECK(undecided == 0);
  CHECK(changesHeard == kChangesHeard);
}

TEST_CASE("the judge trips on a program change that is heard in part") {
  for (const Change& missing : {kPrograms[0], kPrograms[1], kPrograms[2]}) {
    CAPTURE(missing.index);
    ModuleEffect effect;
    fillPrograms(effect);
    effect.send(kOpSetSampleRate, 0, 0, nullptr, kRate);
    Judge judge;
    int block = 0;
    for (; block < 10; ++block)
      REQUIRE(judge.programHeard(sound(block), playedBy(effect, sound(block))) == 1);
    for (const Change& change : kPrograms)
      if (change.program == 0 && change.index != missing.index) effect.set(change.index, change.value);
    bool decided = true;
    for (; block < 14 && decided; ++block)
      decided = judge.programHeard(sound(block), playedBy(effect, sound(block))).has_value();
    CHECK_FALSE(decided);
  }
}

TEST_CASE("parameters and programs may change at any time of a block, and the sound stays sound") {
  ModuleEffect effect;
  effect.send(kOpSetSampleRate, 0, 0, nullptr, kRate);
  int unsound = 0;
  {
    const Meanwhile control([&](int round) {
      for (int32_t index = -1; index < 6; ++index)
        effect.set(index, static_cast<float>((round + index) % 9) / 8.0f);
      effect.slot<void, int, float>(Slot::setParameterAutomated, round % 5, 0.5f);
      effect.send(kOpSetProgram, 0, round % 20 - 2);
      effect.changeProgram(round % 18 - 1);
      askEverything(effect, round);
    });
    for (int block = 0; block < 3000; ++block) {
      for (double sample : playedBy(effect, sound(block)))
        unsound += !(std::abs(sample) < 100.0);
      std::this_thread::yield();
    }
  }
  CHECK(unsound == 0);
}

TEST_CASE("two threads that change programs and one that plays leave the programs whole") {
  ModuleEffect effect;
  for (int program = 0; program < 16; ++program) { // of each program every value is its number
    effect.changeProgram(program);
    for (int32_t index = 0; index < 5; ++index)
      effect.set(index, static_cast<float>(program) / 16.0f);
  }
  effect.send(kOpSetSampleRate, 0, 0, nullptr, kRate);
  {
    const Meanwhile upwards([&](int round) { effect.changeProgram(round % 16); });
    const Meanwhile downwards([&](int round) { effect.changeProgram(15 - round % 16); });
    for (int block = 0; block < 1000; ++block) {
      playedBy(effect, sound(block));
      std::this_thread::yield();
    }
  }
  for (int program = 0; program < 16; ++program) {
    effect.changeProgram(program);
    CHECK(effect.values() == std::vector<float>(5, static_cast<float>(program) / 16.0f));
  }
}
