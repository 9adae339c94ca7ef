#include "host/EffectRunner.h"

#include <array>
#include <dlfcn.h>

namespace {

// Longest text of the interface is 64 bytes; the rest is room for effects that know no bounds.
constexpr std::size_t kTextBytes = 256;

constexpr char kFactoryName[] = "getinterface";

// The loader's last complaint without the path that it puts in front.
std::string loadFault(const std::string& modulePath) {
  const std::string fault = dlerror();
  const std::string prefix = modulePath + ": ";
  return fault.starts_with(prefix) ? fault.substr(prefix.size()) : fault;
}

} // namespace

void EffectRunner::ModuleCloser::operator()(void* module) const { dlclose(module); }

EffectRunner::EffectRunner(const std::string& modulePath, HostCallback callback)
    : module(dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (!module) throw EffectError("cannot be loaded (" + loadFault(modulePath) + ")");
  auto factory = reinterpret_cast<Factory>(dlsym(module.get(), kFactoryName));
  if (!factory) throw EffectError(std::string("exports no '") + kFactoryName + "'");
  create(factory, callback);
}

EffectRunner::EffectRunner(Factory factory, HostCallback callback) { create(factory, callback); }

void EffectRunner::create(Factory factory, HostCallback callback) {
  if (!factory) throw EffectError("has no factory to create an effect with");
  handle.reset(factory(callback ? callback : answerAsHost));
  if (!handle || !handle->effect) throw EffectError("its factory created no effect");
  effect = handle->effect;
  dispatch(kOpOpen);
}

EffectRunner::~EffectRunner() {
  if (effect) dispatch(kOpClose);
}

intptr_t EffectRunner::answerAsHost(AEffect*, int32_t request, int32_t, intptr_t, void*, float) {
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

intptr_t EffectRunner::dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) const {
  return effect->dispatchEntry(effect, opcode, index, value, ptr, opt);
}

void EffectRunner::setParameter(int32_t index, float value) const {
  effect->setParameterEntry(effect, index, value);
}

float EffectRunner::parameter(int32_t index) const { return effect->getParameterEntry(effect, index); }

void EffectRunner::process(const double* input, double* output, int32_t samples) const {
  double* inputs[] = {const_cast<double*>(input)}; // the interface knows no const; the effect only reads
  double* outputs[] = {output};
  effect->processDoubleReplacingEntry(effect, inputs, outputs, samples);
}

std::string EffectRunner::text(int32_t opcode, int32_t index) const {
  std::array<char, kTextBytes> buffer{};
  dispatch(opcode, index, 0, buffer.data());
  buffer.back() = '\0';
  return buffer.data();
}
