// Opens the module or takes a factory, and drives one effect through its record, as any host does.
#pragma once

#include "framework/Q_TypeIF.h"
#include "vst/AEffect.h"
#include "vst/Opcodes.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

// What is wrong with a module or factory, in words that go on from its name: "exports no 'getinterface'".
class EffectError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// One effect from the module, from creation to its close request. Not copyable. Use one runner per audio
// channel: the effect is mono. Every operation states its thread; "host" means the thread that owns the
// runner while no block is running.
class EffectRunner {
public:
  using Factory = Q_TypeIF* (*)(HostCallback);

  // Loads the module at `modulePath` (it must have this program's pointer width), creates an effect through
  // its factory `getinterface` and opens it (opcode 0). callback: the host's services; null stands for
  // answerAsHost. Throws EffectError when the file cannot be loaded, exports no factory, or the factory
  // answers null. [host] Allocates.
  explicit EffectRunner(const std::string& modulePath, HostCallback callback = nullptr);

  // Creates and opens an effect through a factory that is already in memory; its code must outlive the
  // runner. Throws EffectError when the factory is null or answers null. [host] Allocates.
  explicit EffectRunner(Factory factory, HostCallback callback = nullptr);

  // Closes the effect (opcode 1), deletes the handle, and lets go of the module. [host]
  ~EffectRunner();

  EffectRunner(const EffectRunner&) = delete;
  EffectRunner& operator=(const EffectRunner&) = delete;

  // The plainest host there is: tells interface version 2400 and answers 0 to every other request.
  static intptr_t answerAsHost(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                               float opt);

  // The effect's record; valid as long as the runner. [any thread]
  AEffect* record() const { return effect; }

  // Sends any opcode with its arguments; unnamed ones are 0 or null. Opcode 1 is the destructor's and must
  // not be sent here. Result: the effect's answer. [as the opcode demands]
  intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f) const;

  // rateHz: any float; the effect passes audio through at rates it cannot run. [host] The effect allocates.
  void setSampleRate(float rateHz) const { dispatch(kOpSetSampleRate, 0, 0, nullptr, rateHz); }

  // samples: the largest block that will come. [host]
  void setBlockSize(int32_t samples) const { dispatch(kOpSetBlockSize, 0, samples); }

  // Clears what the effect remembers of the audio so far. [host]
  void resume() const { dispatch(kOpResumeOrSuspend, 0, 1); }
  void suspend() const { dispatch(kOpResumeOrSuspend, 0, 0); }

  // value: 0..1; an index the effect does not have is ignored (set) or answers 0 (get). [any thread]
  void setParameter(int32_t index, float value) const;
  float parameter(int32_t index) const;

  // Runs one block of `samples` samples. Input and output may be the same array. [audio] The effect
  // allocates only when the block size changes.
  void process(const double* input, double* output, int32_t samples) const;

  // Texts as the effect writes them; an index it does not have gives the empty string. [host] Allocates.
  std::string parameterName(int32_t index) const { return text(kOpGetParameterName, index); }
  std::string parameterLabel(int32_t index) const { return text(kOpGetParameterLabel, index); }
  std::string parameterDisplay(int32_t index) const { return text(kOpGetParameterDisplay, index); }
  std::string programName(int32_t index) const { return text(kOpGetProgramNameIndexed, index); }
  std::string currentProgramName() const { return text(kOpGetProgramName); }
  std::string effectName() const { return text(kOpGetEffectName); }
  std::string vendor() const { return text(kOpGetVendorString); }
  std::string product() const { return text(kOpGetProductString); }

private:
  struct ModuleCloser {
    void operator()(void* module) const;
  };

  void create(Factory factory, HostCallback callback);
  std::string text(int32_t opcode, int32_t index = 0) const;

  std::unique_ptr<void, ModuleCloser> module; // null when the factory was handed in
  std::unique_ptr<Q_TypeIF> handle;
  AEffect* effect = nullptr;
};
