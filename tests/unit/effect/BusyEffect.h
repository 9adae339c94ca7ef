// An effect in the middle of its life: sound in the line, a pedal on the move, both switches fading.
#pragma once

#include "ExposedTreadshift.h"
#include "vst/Opcodes.h"

struct BusyEffect : ExposedTreadshift {
  BusyEffect() {
    setSampleRate(44100.0f);
    block(testSound(1000));
    setParameter(kPedalPos, 0.7f);
    setParameter(kColor, 0.9f);
    setParameter(kOnOff, 0.0f);
    block(testSound(300, 1000));
  }

  // The host's program change, by opcode.
  void selectProgram(int number) {
    AEffect* record = getAeffect();
    record->dispatchEntry(record, kOpSetProgram, 0, number, nullptr, 0.0f);
  }
};
