#include "Pedal.h"

#include <cstdlib>

namespace {

// Place of setProgram(long), the last operation of the effect's virtual table: behind 51 slots of the base
// effect (two destructors and 49 operations), 102 of the extended one and 11 of the framework.
constexpr int kSetProgramSlot = 51 + 102 + 11;

using SetProgram = void (*)(void* object, long number);

} // namespace

std::string testedModule() {
  const char* const named = std::getenv("TREADSHIFT_TESTED_MODULE");
  return named ? named : TREADSHIFT_MODULE;
}

void ModulePedal::loadProgram(int number) {
  void* object = runner.record()->objectRef;
  void** table = *static_cast<void***>(object);
  reinterpret_cast<SetProgram>(table[kSetProgramSlot])(object, number);
}
