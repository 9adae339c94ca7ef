#include "tests/record/Module.h"

#include "vst/Opcodes.h"

#include <array>
#include <dlfcn.h>
#include <stdexcept>

namespace {

void* loadedModule() {
  static void* const module = dlopen(TREADSHIFT_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (!module) throw std::runtime_error(dlerror());
  return module;
}

} // namespace

ModuleFactory moduleFactory(const char* name) {
  return reinterpret_cast<ModuleFactory>(dlsym(loadedModule(), name));
}

intptr_t plainHost(AEffect*, int32_t request, int32_t, intptr_t, void*, float) {
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

void deleteHandle(PlainHandle* handle) { callSlot<void>(handle, Slot::destroyAndFree); }

void closeEffect(AEffect* record) { record->dispatchEntry(record, kOpClose, 0, 0, nullptr, 0.0f); }

ModuleEffect::ModuleEffect(HostCallback host, const char* factory) : handle(moduleFactory(factory)(host)) {
  if (!handle) throw std::runtime_error("the factory created nothing");
}

ModuleEffect::~ModuleEffect() {
  closeEffect(record());
  deleteHandle(handle);
}

std::vector<float> ModuleEffect::values() const {
  std::vector<float> all;
  for (int32_t index = 0; index < 5; ++index)
    all.push_back(get(index));
  return all;
}

std::string ModuleEffect::programName() const {
  std::array<char, 64> text;
  text.fill('~');
  send(kOpGetProgramName, 0, 0, text.data());
  return text.data();
}

std::string ModuleEffect::programNameAt(int32_t index) const {
  std::array<char, 64> text;
  text.fill('~');
  send(kOpGetProgramNameIndexed, index, 0, text.data());
  return text.data();
}
