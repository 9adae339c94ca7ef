// The built module in a test: its factories, and one effect driven through its record and its table.
#pragma once

#include "tests/support/EffectSlots.h"
#include "vst/AEffect.h"

#include <string>
#include <vector>

// The handle as a host without the classes sees it: the table's address, then the record's.
struct PlainHandle {
  void** table;
  AEffect* effect;
};

using ModuleFactory = PlainHandle* (*)(HostCallback);

// The module's exported factories; the module is loaded at the first call and stays.
ModuleFactory moduleFactory(const char* name);
inline const char* const kFactoryNames[] = {"getinterface", "QTypeIF"};

// Answers 2400 to request 1 and 0 to the rest, and takes no memory.
intptr_t plainHost(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr, float opt);

void deleteHandle(PlainHandle* handle); // through its table
void closeEffect(AEffect* record);      // opcode 1

// One effect from the module, closed at the end.
class ModuleEffect {
public:
  explicit ModuleEffect(HostCallback host = plainHost, const char* factory = kFactoryNames[0]);
  ~ModuleEffect();
  ModuleEffect(const ModuleEffect&) = delete;
  ModuleEffect& operator=(const ModuleEffect&) = delete;

  AEffect* record() const { return handle->effect; }
  void* object() const { return record()->objectRef; }

  intptr_t send(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                float opt = 0.0f) const {
    return record()->dispatchEntry(record(), opcode, index, value, ptr, opt);
  }
  void set(int32_t index, float value) const { record()->setParameterEntry(record(), index, value); }
  float get(int32_t index) const { return record()->getParameterEntry(record(), index); }
  std::vector<float> values() const; // of the five parameters

  template <typename Result, typename... Arguments>
  Result slot(Slot number, std::type_identity_t<Arguments>... arguments) const {
    return callSlot<Result, Arguments...>(object(), number, arguments...);
  }
  // The program change that makes a program's values live.
  void changeProgram(long program) const { slot<void, long>(Slot::setProgramLong, program); }

  std::string programName() const;                // opcode 5
  std::string programNameAt(int32_t index) const; // opcode 29

private:
  PlainHandle* handle;
};
