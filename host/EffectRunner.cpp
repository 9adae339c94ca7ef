#include "host/EffectRunner.h"

#include <dlfcn.h>

namespace {

constexpr char kFactoryName[] = "getinterface";

// The loader's last complaint without the path that it puts in front.
std::string loadFault(const std::string& modulePath) {
  const std::string fault = dlerror();
  const std::string prefix = modulePath + ": ";
  return fault.starts_with(prefix) ? fault.substr(prefix.size()) : fault;
}

// A record that a host can go on with; the double-precision entry may be absent.
bool isRecord(const AEffect& record) {
  return record.magic == kEffectMagic && record.dispatchEntry && record.setParameterEntry &&
         record.getParameterEntry;
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
  if (!isRecord(*handle->effect)) throw EffectError("its factory created something else than an effect");
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

EffectFacts EffectRunner::facts() const {
  const bool takesDoubles = (effect->flags & kFlagCanDoubleReplacing) && effect->processDoubleReplacingEntry;
  return {.programCount = effect->programCount,
          .parameterCount = effect->parameterCount,
          .inputCount = effect->inputCount,
          .outputCount = effect->outputCount,
          .flags = effect->flags,
          .initialDelay = effect->initialDelay,
          .uniqueID = effect->uniqueID,
          .version = effect->version,
          .takesDoubles = takesDoubles};
}

int32_t EffectRunner::request(int32_t opcode, int32_t index, int32_t value, std::span<char> buffer,
                              float opt) const {
  void* const ptr = buffer.empty() ? nullptr : buffer.data();
  return static_cast<int32_t>(dispatch(opcode, index, value, ptr, opt));
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
