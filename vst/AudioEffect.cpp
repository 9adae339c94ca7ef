#include "vst/AudioEffect.h"

#include "vst/Opcodes.h"

#include <atomic>
#include <cfenv>
#include <cstring>

namespace {

AudioEffect* objectOf(AEffect* record) { return static_cast<AudioEffect*>(record->objectRef); }

// A C host cannot catch: whatever the call throws ends here.
template <typename Call> auto withoutThrowing(Call call) -> decltype(call()) {
  try {
    return call();
  } catch (...) {
    return decltype(call())();
  }
}

// The calling thread's floating-point environment, put back whole at the end of a scope: a host that watches
// the marks of exceptions, or works with some unusual rounding, finds nothing of the effect's arithmetic in
// it.
class HostsArithmetic {
public:
  HostsArithmetic() { std::fegetenv(&environment); }
  ~HostsArithmetic() { std::fesetenv(&environment); }
  HostsArithmetic(const HostsArithmetic&) = delete;
  HostsArithmetic& operator=(const HostsArithmetic&) = delete;

private:
  std::fenv_t environment;
};

void writeEmpty(char* text) {
  if (text) text[0] = '\0';
}

} // namespace

AudioEffect::AudioEffect(HostCallback host, int numPrograms, int numParams)
    : hostCallback(host), editor(nullptr), sampleRate(44100.0f), blockSize(1024), programCount(numPrograms),
      parameterCount(numParams), currentProgram(0) {
  std::memset(&effect, 0, sizeof effect);
  effect.magic = kEffectMagic;
  effect.dispatchEntry = dispatchEffectClass;
  effect.processAccumulatingEntry = __processClassDeprecated;
  effect.setParameterEntry = setParameterClass;
  effect.getParameterEntry = getParameterClass;
  effect.programCount = numPrograms;
  effect.parameterCount = numParams;
  effect.inputCount = 1;
  effect.outputCount = 2; // every effect sets its own; 2 against 1 is the base's default on purpose
  effect.flags = kFlagCanReplacing;
  effect.inOutRatio = 1.0f;
  effect.objectRef = this;
  effect.uniqueID = kNoUniqueID;
  effect.version = 1;
  effect.processReplacingEntry = processClassReplacing;
  effect.processDoubleReplacingEntry = processClassDoubleReplacing;
}

AudioEffect::~AudioEffect() { delete editor; }

intptr_t AudioEffect::dispatchEffectClass(AEffect* record, int32_t opcode, int32_t index, intptr_t value,
                                          void* ptr, float opt) {
  const HostsArithmetic kept;
  AudioEffect* object = objectOf(record);
  const intptr_t answer = withoutThrowing([&] { return object->dispatcher(opcode, index, value, ptr, opt); });
  if (opcode != kOpClose) return answer;
  delete object;
  return 1;
}

void AudioEffect::processClassReplacing(AEffect* record, float** inputs, float** outputs, int32_t frames) {
  withoutThrowing([&] { objectOf(record)->processReplacing(inputs, outputs, frames); });
}

void AudioEffect::processClassDoubleReplacing(AEffect* record, double** inputs, double** outputs,
                                              int32_t frames) {
  withoutThrowing([&] { objectOf(record)->processDoubleReplacing(inputs, outputs, frames); });
}

void AudioEffect::__processClassDeprecated(AEffect* record, float** inputs, float** outputs, int32_t frames) {
  withoutThrowing([&] { objectOf(record)->__processDeprecated(inputs, outputs, frames); });
}

void AudioEffect::setParameterClass(AEffect* record, int32_t index, float value) {
  withoutThrowing([&] { objectOf(record)->setParameter(index, value); });
}

float AudioEffect::getParameterClass(AEffect* record, int32_t index) {
  return withoutThrowing([&] { return objectOf(record)->getParameter(index); });
}

void AudioEffect::open() {}
void AudioEffect::close() {}
void AudioEffect::suspend() {}
void AudioEffect::resume() {}

void AudioEffect::setSampleRate(float rate) { sampleRate = rate; }
void AudioEffect::setBlockSize(int samples) { blockSize = samples; }

void AudioEffect::processDoubleReplacing(double**, double**, int) {}

void AudioEffect::setParameter(int, float) {}
float AudioEffect::getParameter(int) { return 0.0f; }

void AudioEffect::setParameterAutomated(int index, float value) {
  setParameter(index, value);
  askHost(kHostAutomate, index, 0, nullptr, value);
}

// A host may change programs on one thread while another asks for the number.
int AudioEffect::getProgram() {
  return std::atomic_ref<int32_t>(currentProgram).load(std::memory_order_relaxed);
}
void AudioEffect::setProgram(int program) {
  std::atomic_ref<int32_t>(currentProgram).store(program, std::memory_order_relaxed);
}

void AudioEffect::setProgramName(char*) {}
void AudioEffect::getProgramName(char* text) { writeEmpty(text); }
void AudioEffect::getParameterLabel(int, char* text) { writeEmpty(text); }
void AudioEffect::getParameterDisplay(int, char* text) { writeEmpty(text); }
void AudioEffect::getParameterName(int, char* text) { writeEmpty(text); }

int AudioEffect::getChunk(void**, bool) { return 0; }
int AudioEffect::setChunk(void*, int, bool) { return 0; }

void AudioEffect::setUniqueID(int uniqueID) { effect.uniqueID = uniqueID; }
void AudioEffect::setNumInputs(int channels) { effect.inputCount = channels; }
void AudioEffect::setNumOutputs(int channels) { effect.outputCount = channels; }
void AudioEffect::canProcessReplacing(bool state) { setFlag(kFlagCanReplacing, state); }
void AudioEffect::canDoubleReplacing(bool state) { setFlag(kFlagCanDoubleReplacing, state); }
void AudioEffect::programsAreChunks(bool state) { setFlag(kFlagProgramsAreChunks, state); }
void AudioEffect::setInitialDelay(int samples) { effect.initialDelay = samples; }

AEffEditor* AudioEffect::getEditor() { return editor; }
AEffect* AudioEffect::getAeffect() { return &effect; }
float AudioEffect::getSampleRate() { return sampleRate; }
int AudioEffect::getBlockSize() { return blockSize; }

int AudioEffect::getMasterVersion() {
  const int version = static_cast<int>(askHost(kHostVersion, 0, 0, nullptr, 0.0f, 1));
  return version == 0 ? 1 : version;
}

int AudioEffect::getCurrentUniqueId() { return static_cast<int>(askHost(kHostCurrentUniqueID)); }
int AudioEffect::masterIdle() { return static_cast<int>(askHost(kHostIdle)); }

// The request asks whether the pin is unconnected, so 0 means connected.
bool AudioEffect::isInputConnected(int input) { return askHost(kHostPinUnconnected, input, 0) == 0; }
bool AudioEffect::isOutputConnected(int output) { return askHost(kHostPinUnconnected, output, 1) == 0; }

void AudioEffect::__processDeprecated(float**, float**, int) {}
float AudioEffect::__getVuDeprecated() { return 0.0f; }
void AudioEffect::__hasVuDeprecated(bool state) { setFlag(kFlagHasVu, state); }
void AudioEffect::__hasClipDeprecated(bool state) { setFlag(kFlagHasClip, state); }
void AudioEffect::__canMonoDeprecated(bool state) { setFlag(kFlagCanMono, state); }
void AudioEffect::__setRealtimeQualitiesDeprecated(int qualities) { effect.realtimeQualities = qualities; }
void AudioEffect::__setOfflineQualitiesDeprecated(int qualities) { effect.offlineQualities = qualities; }

void AudioEffect::setEditor(AEffEditor* newEditor) {
  editor = newEditor;
  setFlag(kFlagHasEditor, newEditor != nullptr);
}

intptr_t AudioEffect::askHost(int32_t request, int32_t index, intptr_t value, void* ptr, float opt,
                              intptr_t withoutCallback) {
  return hostCallback ? hostCallback(&effect, request, index, value, ptr, opt) : withoutCallback;
}

void AudioEffect::setFlag(int32_t bits, bool state) {
  effect.flags = state ? effect.flags | bits : effect.flags & ~bits;
}
