// An effect that overrides nothing it need not: the base classes' own answers.
#pragma once

#include "tests/support/EffectSlots.h"
#include "vst/AudioEffectX.h"

class BareEffect : public AudioEffectX {
public:
  explicit BareEffect(HostCallback host = nullptr, int numPrograms = 16, int numParams = 5)
      : AudioEffectX(host, numPrograms, numParams) {}
  ~BareEffect() override {
    if (destroyed) *destroyed = true;
  }

  void processReplacing(float**, float**, int) override {}

  template <typename Result, typename... Arguments>
  Result slot(Slot number, std::type_identity_t<Arguments>... arguments) {
    return callSlot<Result, Arguments...>(this, number, arguments...);
  }

  intptr_t send(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                float opt = 0.0f) {
    return effect.dispatchEntry(&effect, opcode, index, value, ptr, opt);
  }

  using AudioEffect::blockSize;
  using AudioEffect::currentProgram;
  using AudioEffect::editor;
  using AudioEffect::effect;
  using AudioEffect::hostCallback;
  using AudioEffect::parameterCount;
  using AudioEffect::programCount;
  using AudioEffect::sampleRate;

  bool* destroyed = nullptr; // set when the object goes
};
