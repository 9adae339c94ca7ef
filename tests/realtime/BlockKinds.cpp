#include "tests/realtime/BlockKinds.h"

#include "engine/PedalNumbers.h"
#include "vst/Opcodes.h"

#include <cmath>

namespace {

constexpr int kLongest = 100000; // samples: the longest block of all kinds

void nothing(Stage&) {}

void movePedal(Stage& stage) { stage.effect.set(kPedalPos, static_cast<float>(stage.played % 50) / 49.0f); }

void changeAll(Stage& stage) {
  movePedal(stage);
  stage.effect.set(kOnOff, stage.played % 7 ? 1.0f : 0.0f);
  stage.effect.set(kColor, static_cast<float>(stage.played / 20 % 8) / 8.0f);
  stage.effect.set(kTone, static_cast<float>(stage.played % 9) / 8.0f);
}

void setOnOff(Stage& stage) { stage.effect.set(kOnOff, stage.played % 24 ? 1.0f : 0.0f); }
void setColor(Stage& stage) { stage.effect.set(kColor, static_cast<float>(stage.played / 30 % 8) / 8.0f); }
void setTone(Stage& stage) { stage.effect.set(kTone, static_cast<float>(stage.played % 9) / 8.0f); }

void changeProgram(Stage& stage) { stage.effect.changeProgram(stage.played % 16); }

// The programs differ in every value.
void fillPrograms(Stage& stage) {
  for (int program = 0; program < 16; ++program) {
    stage.effect.changeProgram(program);
    const float share = static_cast<float>(program) / 15.0f;
    for (int parameter = 0; parameter < 5; ++parameter)
      stage.effect.set(parameter, parameter == kOnOff ? 1.0f : share);
  }
}

void resume(Stage& stage) {
  stage.effect.send(kOpResumeOrSuspend, 0, 0);
  stage.effect.send(kOpResumeOrSuspend, 0, 1);
}

void switchOff(Stage& stage) {
  stage.effect.set(kOnOff, 0.0f);
  for (int k = 0; k < 50; ++k)
    stage.block(64);
}

// The blocks that follow it are the first ones of the new rate.
void newRate(Stage& stage) {
  stage.block(64);
  stage.effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
}

void rateThatCannotRun(Stage& stage) { stage.effect.send(kOpSetSampleRate, 0, 0, nullptr, 1.0f); }

void announceTheLongest(Stage& stage) { stage.effect.send(kOpSetBlockSize, 0, kLongest); }

int of64(int) { return 64; }
int changing(int block) { return 1 + block * 37 % kAnnounced; }

} // namespace

Stage::Stage(float rateHz) : output(kLongest) {
  for (int i = 0; i < kLongest; ++i)
    input.push_back(std::sin(0.03 * i));
  if (rateHz > 0.0f) effect.send(kOpSetSampleRate, 0, 0, nullptr, rateHz);
  effect.send(kOpSetBlockSize, 0, kAnnounced);
  effect.send(kOpResumeOrSuspend, 0, 1);
}

void Stage::block(int samples) {
  double* inputs[] = {input.data()};
  double* outputs[] = {output.data()};
  effect.record()->processDoubleReplacingEntry(effect.record(), inputs, outputs, samples);
  ++played;
}

std::vector<BlockKind> blockKinds() {
  return {
      {"the first ones of all", nothing, nothing, of64},
      {"moving pedal", nothing, movePedal, of64},
      {"On/Off fading", nothing, setOnOff, of64},
      {"Color fading", nothing, setColor, of64},
      {"Tone moving", nothing, setTone, of64},
      {"everything moving", nothing, changeAll, of64},
      {"everything moving, changing sizes", nothing, changeAll, changing},
      {"one sample", nothing, changeAll, [](int) { return 1; }},
      {"none and fewer samples", nothing, changeAll, [](int block) { return -(block % 3); }},
      {"switched off", switchOff, nothing, changing},
      {"program changes between", fillPrograms, changeProgram, of64},
      {"resumed before each", nothing, resume, changing},
      {"after a new rate", newRate, changeAll, changing},
      {"at a rate that cannot run", rateThatCannotRun, changeAll, changing},
      {"longer than a second, announced", announceTheLongest, movePedal,
       [](int block) { return block % 50 == 3 ? kLongest : 64; }},
  };
}
