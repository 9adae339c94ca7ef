#include "vst/AudioEffectX.h"

#include "vst/Opcodes.h"

#include <cstring>
#include <new>

namespace HostCanDos {
const char* const canDoSendVstEvents = "sendVstEvents";
const char* const canDoSendVstMidiEvent = "sendVstMidiEvent";
const char* const canDoSendVstTimeInfo = "sendVstTimeInfo";
const char* const canDoReceiveVstEvents = "receiveVstEvents";
const char* const canDoReceiveVstMidiEvent = "receiveVstMidiEvent";
const char* const canDoReportConnectionChanges = "reportConnectionChanges";
const char* const canDoAcceptIOChanges = "acceptIOChanges";
const char* const canDoSizeWindow = "sizeWindow";
const char* const canDoOffline = "offline";
const char* const canDoOpenFileSelector = "openFileSelector";
const char* const canDoCloseFileSelector = "closeFileSelector";
const char* const canDoStartStopProcess = "startStopProcess";
const char* const canDoShellCategory = "shellCategory";
const char* const canDoSendVstMidiEventFlagIsRealtime = "sendVstMidiEventFlagIsRealtime";
} // namespace HostCanDos

// One copy of a string serves both tables.
namespace PlugCanDos {
const char* const canDoSendVstEvents = HostCanDos::canDoSendVstEvents;
const char* const canDoSendVstMidiEvent = HostCanDos::canDoSendVstMidiEvent;
const char* const canDoReceiveVstEvents = HostCanDos::canDoReceiveVstEvents;
const char* const canDoReceiveVstMidiEvent = HostCanDos::canDoReceiveVstMidiEvent;
const char* const canDoReceiveVstTimeInfo = "receiveVstTimeInfo";
const char* const canDoOffline = HostCanDos::canDoOffline;
const char* const canDoMidiProgramNames = "midiProgramNames";
const char* const canDoBypass = "bypass";
} // namespace PlugCanDos

namespace {

constexpr float kFallbackRate = 44100.0f; // Hz
constexpr int kWantMidiEvents = 1;        // filter of the event request
constexpr int kInterfaceVersion = 2400;   // 2.4
constexpr int kCategoryUnknown = 0;
constexpr int kCategorySynth = 2;

int64_t arrangementBytes(int channels) {
  return kSpeakerArrangementHeaderBytes + int64_t{sizeof(VstSpeakerProperties)} * channels;
}

void releaseArrangement(VstSpeakerArrangement* arrangement) { delete[] reinterpret_cast<char*>(arrangement); }

char* newZeroedBytes(int64_t bytes) {
  if (bytes < 0 || bytes > PTRDIFF_MAX) return nullptr;
  return new (std::nothrow) char[static_cast<size_t>(bytes)]();
}

} // namespace

AudioEffectX::AudioEffectX(HostCallback host, int numPrograms, int numParams)
    : AudioEffect(host, numPrograms, numParams) {}

AudioEffectX::~AudioEffectX() = default;

int AudioEffectX::askNumber(int32_t request, int32_t index, intptr_t value, void* ptr, float opt) {
  return static_cast<int>(askHost(request, index, value, ptr, opt));
}

bool AudioEffectX::askYesNo(int32_t request, int32_t index, intptr_t value, void* ptr) {
  return askHost(request, index, value, ptr) != 0;
}

template <typename Record> Record* AudioEffectX::askAddress(int32_t request, intptr_t value, void* ptr) {
  return reinterpret_cast<Record*>(askHost(request, 0, value, ptr));
}

void AudioEffectX::resume() {
  const bool synth = effect.flags & kFlagIsSynth;
  if (!synth && canDo(const_cast<char*>(PlugCanDos::canDoReceiveVstMidiEvent)) != 1) return;
  __wantEventsDeprecated(kWantMidiEvents);
}

bool AudioEffectX::canParameterBeAutomated(int) { return true; }
bool AudioEffectX::string2parameter(int, char*) { return false; }
bool AudioEffectX::getParameterProperties(int, VstParameterProperties*) { return false; }

bool AudioEffectX::beginEdit(int index) { return askYesNo(kHostBeginEdit, index); }
bool AudioEffectX::endEdit(int index) { return askYesNo(kHostEndEdit, index); }

bool AudioEffectX::getProgramNameIndexed(int, int, char*) { return false; }
bool AudioEffectX::beginSetProgram() { return false; }
bool AudioEffectX::endSetProgram() { return false; }
int AudioEffectX::beginLoadBank(VstPatchChunkInfo*) { return 0; }
int AudioEffectX::beginLoadProgram(VstPatchChunkInfo*) { return 0; }

bool AudioEffectX::ioChanged() { return askYesNo(kHostIoChanged); }

// The rate falls back to 44100 Hz before the host is asked: a host that names none leaves that, not the
// rate of before.
float AudioEffectX::updateSampleRate() {
  sampleRate = kFallbackRate;
  const int answer = askNumber(kHostGetSampleRate);
  if (answer > 0) sampleRate = static_cast<float>(answer);
  return sampleRate;
}

int AudioEffectX::updateBlockSize() {
  const int answer = askNumber(kHostGetBlockSize);
  if (answer >= 1) blockSize = answer;
  return blockSize;
}

int AudioEffectX::getInputLatency() { return askNumber(kHostGetInputLatency); }
int AudioEffectX::getOutputLatency() { return askNumber(kHostGetOutputLatency); }

bool AudioEffectX::getInputProperties(int, VstPinProperties*) { return false; }
bool AudioEffectX::getOutputProperties(int, VstPinProperties*) { return false; }
bool AudioEffectX::setSpeakerArrangement(VstSpeakerArrangement*, VstSpeakerArrangement*) { return false; }

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** input, VstSpeakerArrangement** output) {
  if (input) *input = nullptr;
  if (output) *output = nullptr;
  return false;
}

bool AudioEffectX::setBypass(bool) { return false; }
bool AudioEffectX::setPanLaw(int, float) { return false; }
bool AudioEffectX::setProcessPrecision(int) { return false; }
int AudioEffectX::getNumMidiInputChannels() { return 0; }
int AudioEffectX::getNumMidiOutputChannels() { return 0; }

VstTimeInfo* AudioEffectX::getTimeInfo(int filter) { return askAddress<VstTimeInfo>(kHostGetTime, filter); }
int AudioEffectX::getCurrentProcessLevel() { return askNumber(kHostGetProcessLevel); }
int AudioEffectX::getAutomationState() { return askNumber(kHostGetAutomationState); }

int AudioEffectX::processEvents(VstEvents*) { return 0; }
int AudioEffectX::startProcess() { return 0; }
int AudioEffectX::stopProcess() { return 0; }
bool AudioEffectX::processVariableIo(VstVariableIo*) { return false; }
int AudioEffectX::setTotalSampleToProcess(int samples) { return samples; }

bool AudioEffectX::getHostVendorString(char* text) { return askYesNo(kHostGetVendorString, 0, 0, text); }
bool AudioEffectX::getHostProductString(char* text) { return askYesNo(kHostGetProductString, 0, 0, text); }
int AudioEffectX::getHostVendorVersion() { return askNumber(kHostGetVendorVersion); }

int AudioEffectX::hostVendorSpecific(int index, int value, void* ptr, float opt) {
  return askNumber(kHostVendorSpecific, index, value, ptr, opt);
}

bool AudioEffectX::canHostDo(char* capability) { return askYesNo(kHostCanDo, 0, 0, capability); }
int AudioEffectX::getHostLanguage() { return askNumber(kHostGetLanguage); }

void AudioEffectX::isSynth(bool state) { setFlag(kFlagIsSynth, state); }
void AudioEffectX::noTail(bool state) { setFlag(kFlagNoTail, state); }

int AudioEffectX::getGetTailSize() { return 0; }
void* AudioEffectX::getDirectory() { return askAddress<void>(kHostGetDirectory); }

bool AudioEffectX::getEffectName(char*) { return false; }
bool AudioEffectX::getVendorString(char*) { return false; }
bool AudioEffectX::getProductString(char*) { return false; }
int AudioEffectX::getVendorVersion() { return 0; }
int AudioEffectX::vendorSpecific(int, int, void*, float) { return 0; }
int AudioEffectX::canDo(char*) { return 0; }
int AudioEffectX::getVstVersion() { return kInterfaceVersion; }

int AudioEffectX::getPlugCategory() {
  return effect.flags & kFlagIsSynth ? kCategorySynth : kCategoryUnknown;
}

int AudioEffectX::getMidiProgramName(int, MidiProgramName*) { return 0; }
int AudioEffectX::getCurrentMidiProgram(int, MidiProgramName*) { return -1; }
int AudioEffectX::getMidiProgramCategory(int, MidiProgramCategory*) { return 0; }
bool AudioEffectX::hasMidiProgramsChanged(int) { return false; }
bool AudioEffectX::getMidiKeyName(int, MidiKeyName*) { return false; }

bool AudioEffectX::updateDisplay() { return askYesNo(kHostUpdateDisplay); }
bool AudioEffectX::sizeWindow(int width, int height) { return askYesNo(kHostSizeWindow, width, height); }

bool AudioEffectX::openFileSelector(VstFileSelect* selector) {
  return askYesNo(kHostOpenFileSelector, 0, 0, selector);
}
bool AudioEffectX::closeFileSelector(VstFileSelect* selector) {
  return askYesNo(kHostCloseFileSelector, 0, 0, selector);
}

int AudioEffectX::getNextShellPlugin(char*) { return 0; }

bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, int channels) {
  if (!arrangement) return false;
  releaseArrangement(*arrangement);
  auto* made = reinterpret_cast<VstSpeakerArrangement*>(newZeroedBytes(arrangementBytes(channels)));
  if (!made) return false;
  *arrangement = made;
  made->channelCount = channels;
  return true;
}

bool AudioEffectX::deallocateArrangement(VstSpeakerArrangement** arrangement) {
  if (!arrangement) return false;
  releaseArrangement(*arrangement);
  *arrangement = nullptr;
  return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) {
  if (!to || !from) return false;
  const size_t length = strnlen(from->name, sizeof to->name - 1);
  std::memmove(to->name, from->name, length);
  std::memset(to->name + length, 0, sizeof to->name - length);
  to->type = from->type;
  std::memmove(to->position, from->position, sizeof to->position);
  std::memmove(to->reserved, from->reserved, sizeof to->reserved);
  return true;
}

bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from) {
  if (!from) return false;
  if (to && *to == from) return true;
  if (!deallocateArrangement(to)) return false;
  if (!allocateArrangement(to, from->channelCount) || !to) return false;
  (*to)->type = from->type;
  for (int channel = 0; channel < (*to)->channelCount; ++channel) {
    if (!copySpeaker((*to)->speakers + channel, from->speakers + channel)) return false;
  }
  return true;
}

bool AudioEffectX::offlineRead(VstOfflineTask* task, VstOfflineOption option, bool readSource) {
  return askYesNo(kHostOfflineRead, readSource, option, task);
}
bool AudioEffectX::offlineWrite(VstOfflineTask* task, VstOfflineOption option) {
  return askYesNo(kHostOfflineWrite, 0, option, task);
}
bool AudioEffectX::offlineStart(VstAudioFile* files, int numFiles, int numNewFiles) {
  return askYesNo(kHostOfflineStart, numNewFiles, numFiles, files);
}
bool AudioEffectX::offlineGetCurrentPass() { return askYesNo(kHostOfflineGetPass); }
bool AudioEffectX::offlineGetCurrentMetaPass() { return askYesNo(kHostOfflineGetMetaPass); }

bool AudioEffectX::offlineNotify(VstAudioFile*, int, bool) { return false; }
bool AudioEffectX::offlinePrepare(VstOfflineTask*, int) { return false; }
bool AudioEffectX::offlineRun(VstOfflineTask*, int) { return false; }
int AudioEffectX::offlineGetNumPasses() { return 0; }
int AudioEffectX::offlineGetNumMetaPasses() { return 0; }

int AudioEffectX::__wantEventsDeprecated(int filter) { return askNumber(kHostWantEvents, 0, filter); }
int AudioEffectX::__tempoAtDeprecated(int position) { return askNumber(kHostTempoAt, 0, position); }
int AudioEffectX::__getNumAutomatableParametersDeprecated() { return askNumber(kHostCountAutomatable); }
int AudioEffectX::__getParameterQuantizationDeprecated() { return askNumber(kHostParameterQuantization); }
int AudioEffectX::__getNumCategoriesDeprecated() { return 1; }
bool AudioEffectX::__copyProgramDeprecated(int) { return false; }
bool AudioEffectX::__needIdleDeprecated() { return askYesNo(kHostNeedIdle); }
intptr_t AudioEffectX::__getPreviousPlugDeprecated(int) { return askHost(kHostGetPreviousPlug); }
intptr_t AudioEffectX::__getNextPlugDeprecated(int) { return askHost(kHostGetNextPlug); }
void AudioEffectX::__inputConnectedDeprecated(int, bool) {}
void AudioEffectX::__outputConnectedDeprecated(int, bool) {}
int AudioEffectX::__willProcessReplacingDeprecated() { return askNumber(kHostWillReplace); }
void AudioEffectX::__wantAsyncOperationDeprecated(bool state) { setFlag(kFlagAsyncOperation, state); }
void AudioEffectX::__hasExternalBufferDeprecated(bool state) { setFlag(kFlagExternalBuffer, state); }
int AudioEffectX::__reportCurrentPositionDeprecated() { return 0; }
int AudioEffectX::__reportDestinationBufferDeprecated() { return 0; }

int AudioEffectX::__setOutputSamplerateDeprecated(float rate) {
  return askNumber(kHostSetOutputRate, 0, 0, nullptr, rate);
}

VstSpeakerArrangement* AudioEffectX::__getInputSpeakerArrangementDeprecated() {
  return askAddress<VstSpeakerArrangement>(kHostGetInputSpeakers);
}
VstSpeakerArrangement* AudioEffectX::__getOutputSpeakerArrangementDeprecated() {
  return askAddress<VstSpeakerArrangement>(kHostGetOutputSpeakers);
}

void* AudioEffectX::__openWindowDeprecated(__VstWindowDeprecated* window) {
  return askAddress<void>(kHostOpenWindow, 0, window);
}
bool AudioEffectX::__closeWindowDeprecated(__VstWindowDeprecated* window) {
  return askYesNo(kHostCloseWindow, 0, 0, window);
}

void AudioEffectX::__setBlockSizeAndSampleRateDeprecated(int samples, float rate) {
  blockSize = samples;
  sampleRate = rate;
}

bool AudioEffectX::__getErrorTextDeprecated(char*) { return false; }
int AudioEffectX::__getIconDeprecated() { return 0; }
bool AudioEffectX::__setViewPositionDeprecated(int, int) { return false; }
int AudioEffectX::__fxIdleDeprecated() { return 0; }
bool AudioEffectX::__keysRequiredDeprecated() { return false; }

bool AudioEffectX::__getChunkFileDeprecated(void* file) { return askYesNo(kHostGetChunkFile, 0, 0, file); }

bool AudioEffectX::sendVstEventsToHost(VstEvents* events) {
  return askHost(kHostProcessEvents, 0, 0, events) == 1;
}
