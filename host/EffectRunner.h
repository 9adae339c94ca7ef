// Opens the module or takes a factory, and drives one effect through its record, as any host does.
#pragma once

#include "framework/Q_TypeIF.h"
#include "host/EffectDriver.h"
#include "vst/AEffect.h"

#include <cstdint>
#include <memory>
#include <string>

// An effect in this process. Only its creation throws.
class EffectRunner : public EffectDriver {
public:
  using Factory = Q_TypeIF* (*)(HostCallback);

  // Loads the module at `modulePath` (it must have this program's pointer width), creates an effect through
  // its factory `getinterface` and opens it (opcode 0). callback: the host's services; null stands for
  // answerAsHost. Throws EffectError when the file cannot be loaded, exports no factory, or the factory
  // answers null or an effect without the record's mark or entries. [host] Allocates.
  explicit EffectRunner(const std::string& modulePath, HostCallback callback = nullptr);

  // Creates and opens an effect through a factory that is already in memory; its code must outlive the
  // runner. Throws EffectError when the factory is null, or as above for what it answers. [host] Allocates.
  explicit EffectRunner(Factory factory, HostCallback callback = nullptr);

  // Closes the effect (opcode 1), deletes the handle, and lets go of the module. [host]
  ~EffectRunner() override;

  // The plainest host there is: tells interface version 2400 and answers 0 to every other request.
  static intptr_t answerAsHost(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                               float opt);

  // The effect's record; valid as long as the runner. [any thread]
  AEffect* record() const { return effect; }

  // Sends any opcode with its arguments; unnamed ones are 0 or null. Opcode 1 is the destructor's and must
  // not be sent here. Result: the effect's answer. [as the opcode demands]
  intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f) const;

  EffectFacts facts() const override;
  int32_t request(int32_t opcode, int32_t index = 0, int32_t value = 0, std::span<char> buffer = {},
                  float opt = 0.0f) const override;
  void setParameter(int32_t index, float value) const override;
  float parameter(int32_t index) const override;
  void process(const double* input, double* output, int32_t samples) const override;

private:
  struct ModuleCloser {
    void operator()(void* module) const;
  };

  void create(Factory factory, HostCallback callback);

  std::unique_ptr<void, ModuleCloser> module; // null when the factory was handed in
  std::unique_ptr<Q_TypeIF> handle;
  AEffect* effect = nullptr;
};
