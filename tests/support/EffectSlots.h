// The effect's virtual table as a host or a test sees it: the one list of its slots, calls by slot number,
// and the exchange of slots for functions that write down their calls.
#pragma once

#include "vst/AudioEffectX.h"

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

class Q_VstListner;

// The place in the table that a pointer to a virtual member function carries in its first word: the byte
// offset, and 1 more where that marks it as virtual. ARM marks it in the second word.
template <typename MemberFunction> int slotOf(MemberFunction function) {
#if defined(__arm__) || defined(__aarch64__)
  constexpr intptr_t mark = 0;
#else
  constexpr intptr_t mark = 1;
#endif
  intptr_t firstWord;
  std::memcpy(&firstWord, &function, sizeof firstWord);
  return static_cast<int>((firstWord - mark) / static_cast<intptr_t>(sizeof(void*)));
}

// Every slot in order: name, result, arguments. A slot's number is its place in this list.
#define TREADSHIFT_AUDIO_EFFECT_SLOTS(SLOT)                                                                  \
  SLOT(dispatcher, intptr_t, int, int, intptr_t, void*, float)                                               \
  SLOT(open, void)                                                                                           \
  SLOT(close, void)                                                                                          \
  SLOT(suspend, void)                                                                                        \
  SLOT(resume, void)                                                                                         \
  SLOT(setSampleRate, void, float)                                                                           \
  SLOT(setBlockSize, void, int)                                                                              \
  SLOT(processReplacing, void, float**, float**, int)                                                        \
  SLOT(processDoubleReplacing, void, double**, double**, int)                                                \
  SLOT(setParameter, void, int, float)                                                                       \
  SLOT(getParameter, float, int)                                                                             \
  SLOT(setParameterAutomated, void, int, float)                                                              \
  SLOT(getProgram, int)                                                                                      \
  SLOT(setProgram, void, int)                                                                                \
  SLOT(setProgramName, void, char*)                                                                          \
  SLOT(getProgramName, void, char*)                                                                          \
  SLOT(getParameterLabel, void, int, char*)                                                                  \
  SLOT(getParameterDisplay, void, int, char*)                                                                \
  SLOT(getParameterName, void, int, char*)                                                                   \
  SLOT(getChunk, int, void**, bool)                                                                          \
  SLOT(setChunk, int, void*, int, bool)                                                                      \
  SLOT(setUniqueID, void, int)                                                                               \
  SLOT(setNumInputs, void, int)                                                                              \
  SLOT(setNumOutputs, void, int)                                                                             \
  SLOT(canProcessReplacing, void, bool)                                                                      \
  SLOT(canDoubleReplacing, void, bool)                                                                       \
  SLOT(programsAreChunks, void, bool)                                                                        \
  SLOT(setInitialDelay, void, int)                                                                           \
  SLOT(getEditor, AEffEditor*)                                                                               \
  SLOT(getAeffect, AEffect*)                                                                                 \
  SLOT(getSampleRate, float)                                                                                 \
  SLOT(getBlockSize, int)                                                                                    \
  SLOT(getMasterVersion, int)                                                                                \
  SLOT(getCurrentUniqueId, int)                                                                              \
  SLOT(masterIdle, int)                                                                                      \
  SLOT(isInputConnected, bool, int)                                                                          \
  SLOT(isOutputConnected, bool, int)                                                                         \
  SLOT(dB2string, void, float, char*, int)                                                                   \
  SLOT(Hz2string, void, float, char*, int)                                                                   \
  SLOT(ms2string, void, float, char*, int)                                                                   \
  SLOT(float2string, void, float, char*, int)                                                                \
  SLOT(int2string, void, int, char*, int)                                                                    \
  SLOT(__processDeprecated, void, float**, float**, int)                                                     \
  SLOT(__getVuDeprecated, float)                                                                             \
  SLOT(__hasVuDeprecated, void, bool)                                                                        \
  SLOT(__hasClipDeprecated, void, bool)                                                                      \
  SLOT(__canMonoDeprecated, void, bool)                                                                      \
  SLOT(__setRealtimeQualitiesDeprecated, void, int)                                                          \
  SLOT(__setOfflineQualitiesDeprecated, void, int)

#define TREADSHIFT_AUDIO_EFFECT_X_SLOTS(SLOT)                                                                \
  SLOT(canParameterBeAutomated, bool, int)                                                                   \
  SLOT(string2parameter, bool, int, char*)                                                                   \
  SLOT(getParameterProperties, bool, int, VstParameterProperties*)                                           \
  SLOT(beginEdit, bool, int)                                                                                 \
  SLOT(endEdit, bool, int)                                                                                   \
  SLOT(getProgramNameIndexed, bool, int, int, char*)                                                         \
  SLOT(beginSetProgram, bool)                                                                                \
  SLOT(endSetProgram, bool)                                                                                  \
  SLOT(beginLoadBank, int, VstPatchChunkInfo*)                                                               \
  SLOT(beginLoadProgram, int, VstPatchChunkInfo*)                                                            \
  SLOT(ioChanged, bool)                                                                                      \
  SLOT(updateSampleRate, float)                                                                              \
  SLOT(updateBlockSize, int)                                                                                 \
  SLOT(getInputLatency, int)                                                                                 \
  SLOT(getOutputLatency, int)                                                                                \
  SLOT(getInputProperties, bool, int, VstPinProperties*)                                                     \
  SLOT(getOutputProperties, bool, int, VstPinProperties*)                                                    \
  SLOT(setSpeakerArrangement, bool, VstSpeakerArrangement*, VstSpeakerArrangement*)                          \
  SLOT(getSpeakerArrangement, bool, VstSpeakerArrangement**, VstSpeakerArrangement**)                        \
  SLOT(setBypass, bool, bool)                                                                                \
  SLOT(setPanLaw, bool, int, float)                                                                          \
  SLOT(setProcessPrecision, bool, int)                                                                       \
  SLOT(getNumMidiInputChannels, int)                                                                         \
  SLOT(getNumMidiOutputChannels, int)                                                                        \
  SLOT(getTimeInfo, VstTimeInfo*, int)                                                                       \
  SLOT(getCurrentProcessLevel, int)                                                                          \
  SLOT(getAutomationState, int)                                                                              \
  SLOT(processEvents, int, VstEvents*)                                                                       \
  SLOT(startProcess, int)                                                                                    \
  SLOT(stopProcess, int)                                                                                     \
  SLOT(processVariableIo, bool, VstVariableIo*)                                                              \
  SLOT(setTotalSampleToProcess, int, int)                                                                    \
  SLOT(getHostVendorString, bool, char*)                                                                     \
  SLOT(getHostProductString, bool, char*)                                                                    \
  SLOT(getHostVendorVersion, int)                                                                            \
  SLOT(hostVendorSpecific, int, int, int, void*, float)                                                      \
  SLOT(canHostDo, bool, char*)                                                                               \
  SLOT(getHostLanguage, int)                                                                                 \
  SLOT(isSynth, void, bool)                                                                                  \
  SLOT(noTail, void, bool)                                                                                   \
  SLOT(getGetTailSize, int)                                                                                  \
  SLOT(getDirectory, void*)                                                                                  \
  SLOT(getEffectName, bool, char*)                                                                           \
  SLOT(getVendorString, bool, char*)                                                                         \
  SLOT(getProductString, bool, char*)                                                                        \
  SLOT(getVendorVersion, int)                                                                                \
  SLOT(vendorSpecific, int, int, int, void*, float)                                                          \
  SLOT(canDo, int, char*)                                                                                    \
  SLOT(getVstVersion, int)                                                                                   \
  SLOT(getPlugCategory, int)                                                                                 \
  SLOT(getMidiProgramName, int, int, MidiProgramName*)                                                       \
  SLOT(getCurrentMidiProgram, int, int, MidiProgramName*)                                                    \
  SLOT(getMidiProgramCategory, int, int, MidiProgramCategory*)                                               \
  SLOT(hasMidiProgramsChanged, bool, int)                                                                    \
  SLOT(getMidiKeyName, bool, int, MidiKeyName*)                                                              \
  SLOT(updateDisplay, bool)                                                                                  \
  SLOT(sizeWindow, bool, int, int)                                                                           \
  SLOT(openFileSelector, bool, VstFileSelect*)                                                               \
  SLOT(closeFileSelector, bool, VstFileSelect*)                                                              \
  SLOT(getNextShellPlugin, int, char*)                                                                       \
  SLOT(allocateArrangement, bool, VstSpeakerArrangement**, int)                                              \
  SLOT(deallocateArrangement, bool, VstSpeakerArrangement**)                                                 \
  SLOT(copySpeaker, bool, VstSpeakerProperties*, VstSpeakerProperties*)                                      \
  SLOT(matchArrangement, bool, VstSpeakerArrangement**, VstSpeakerArrangement*)                              \
  SLOT(offlineRead, bool, VstOfflineTask*, VstOfflineOption, bool)                                           \
  SLOT(offlineWrite, bool, VstOfflineTask*, VstOfflineOption)                                                \
  SLOT(offlineStart, bool, VstAudioFile*, int, int)                                                          \
  SLOT(offlineGetCurrentPass, bool)                                                                          \
  SLOT(offlineGetCurrentMetaPass, bool)                                                                      \
  SLOT(offlineNotify, bool, VstAudioFile*, int, bool)                                                        \
  SLOT(offlinePrepare, bool, VstOfflineTask*, int)                                                           \
  SLOT(offlineRun, bool, VstOfflineTask*, int)                                                               \
  SLOT(offlineGetNumPasses, int)                                                                             \
  SLOT(offlineGetNumMetaPasses, int)                                                                         \
  SLOT(__wantEventsDeprecated, int, int)                                                                     \
  SLOT(__tempoAtDeprecated, int, int)                                                                        \
  SLOT(__getNumAutomatableParametersDeprecated, int)                                                         \
  SLOT(__getParameterQuantizationDeprecated, int)                                                            \
  SLOT(__getNumCategoriesDeprecated, int)                                                                    \
  SLOT(__copyProgramDeprecated, bool, int)                                                                   \
  SLOT(__needIdleDeprecated, bool)                                                                           \
  SLOT(__getPreviousPlugDeprecated, intptr_t, int)                                                           \
  SLOT(__getNextPlugDeprecated, intptr_t, int)                                                               \
  SLOT(__inputConnectedDeprecated, void, int, bool)                                                          \
  SLOT(__outputConnectedDeprecated, void, int, bool)                                                         \
  SLOT(__willProcessReplacingDeprecated, int)                                                                \
  SLOT(__wantAsyncOperationDeprecated, void, bool)                                                           \
  SLOT(__hasExternalBufferDeprecated, void, bool)                                                            \
  SLOT(__reportCurrentPositionDeprecated, int)                                                               \
  SLOT(__reportDestinationBufferDeprecated, int)                                                             \
  SLOT(__setOutputSamplerateDeprecated, int, float)                                                          \
  SLOT(__getInputSpeakerArrangementDeprecated, VstSpeakerArrangement*)                                       \
  SLOT(__getOutputSpeakerArrangementDeprecated, VstSpeakerArrangement*)                                      \
  SLOT(__openWindowDeprecated, void*, __VstWindowDeprecated*)                                                \
  SLOT(__closeWindowDeprecated, bool, __VstWindowDeprecated*)                                                \
  SLOT(__setBlockSizeAndSampleRateDeprecated, void, int, float)                                              \
  SLOT(__getErrorTextDeprecated, bool, char*)                                                                \
  SLOT(__getIconDeprecated, int)                                                                             \
  SLOT(__setViewPositionDeprecated, bool, int, int)                                                          \
  SLOT(__fxIdleDeprecated, int)                                                                              \
  SLOT(__keysRequiredDeprecated, bool)                                                                       \
  SLOT(__getChunkFileDeprecated, bool, void*)

#define TREADSHIFT_Q_TYPE_BASE_SLOTS(SLOT)                                                                   \
  SLOT(getNumOfInJacks, int)                                                                                 \
  SLOT(getNumOfOutJacks, int)                                                                                \
  SLOT(getNumOfInSig, int, int)                                                                              \
  SLOT(getNumOfOutSig, int, int)                                                                             \
  SLOT(getStartNumInSig, int, int)                                                                           \
  SLOT(getStartNumOutSig, int, int)                                                                          \
  SLOT(getDryInSigNum, int)                                                                                  \
  SLOT(setListner, void, Q_VstListner*)                                                                      \
  SLOT(getParameterDisplayOf, void, int, float, char*)                                                       \
  SLOT(getHeaderVersion, int)                                                                                \
  SLOT(setTime, void, float)

#define TREADSHIFT_EFFECT_SLOTS(SLOT)                                                                        \
  SLOT(destroy, void)                                                                                        \
  SLOT(destroyAndFree, void)                                                                                 \
  TREADSHIFT_AUDIO_EFFECT_SLOTS(SLOT)                                                                        \
  TREADSHIFT_AUDIO_EFFECT_X_SLOTS(SLOT)                                                                      \
  TREADSHIFT_Q_TYPE_BASE_SLOTS(SLOT)                                                                         \
  SLOT(setProgramLong, void, long)

enum class Slot : int {
#define TREADSHIFT_SLOT_NUMBER(name, ...) name,
  TREADSHIFT_EFFECT_SLOTS(TREADSHIFT_SLOT_NUMBER)
#undef TREADSHIFT_SLOT_NUMBER
};

// How many slots each class of the chain has.
constexpr int kAudioEffectSlots = static_cast<int>(Slot::canParameterBeAutomated);
constexpr int kAudioEffectXSlots = static_cast<int>(Slot::getNumOfInJacks);
constexpr int kQTypeBaseSlots = static_cast<int>(Slot::setProgramLong);
constexpr int kTreadshiftSlots = kQTypeBaseSlots + 1;

inline const char* nameOf(Slot slot) {
  static const char* const names[] = {
#define TREADSHIFT_SLOT_NAME(name, ...) #name,
      TREADSHIFT_EFFECT_SLOTS(TREADSHIFT_SLOT_NAME)
#undef TREADSHIFT_SLOT_NAME
  };
  return names[static_cast<int>(slot)];
}

template <typename Function> Function slotFunction(void* object, Slot slot) {
  void* function = (*static_cast<void***>(object))[static_cast<int>(slot)];
  return reinterpret_cast<Function>(function);
}

// Calls a slot of an object's table as a host does that knows only the numbers. A virtual operation takes
// its object as the first argument of a plain C function in both widths.
template <typename Result, typename... Arguments>
Result callSlot(void* object, Slot slot, std::type_identity_t<Arguments>... arguments) {
  return slotFunction<Result (*)(void*, Arguments...)>(object, slot)(object, arguments...);
}

// A call that arrived in an exchanged slot; the arguments as text, in order.
struct SlotCall {
  Slot slot;
  void* object;
  std::string arguments;

  bool operator==(const SlotCall&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const SlotCall& call) {
  return stream << nameOf(call.slot) << '(' << call.arguments << ") of " << call.object;
}

inline std::vector<SlotCall> slotCalls; // in the order of arrival
inline intptr_t slotAnswer = 0;         // what exchanged slots answer, converted to each one's result

template <typename Argument> std::string argumentText(Argument argument) {
  std::ostringstream text;
  if constexpr (std::is_same_v<Argument, bool>)
    text << (argument ? "true" : "false");
  else if constexpr (std::is_floating_point_v<Argument>)
    text << std::hexfloat << argument << 'f';
  else if constexpr (std::is_pointer_v<Argument>)
    text << "at " << reinterpret_cast<uintptr_t>(argument);
  else
    text << argument;
  return text.str();
}

template <typename... Arguments> std::string argumentsText(Arguments... arguments) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + argumentText(arguments)), ...);
  return text;
}

template <Slot slot, typename Result, typename... Arguments>
Result recordSlotCall(void* object, Arguments... arguments) {
  slotCalls.push_back({slot, object, argumentsText(arguments...)});
  if constexpr (std::is_same_v<Result, bool>)
    return slotAnswer != 0;
  else if constexpr (std::is_pointer_v<Result>)
    return reinterpret_cast<Result>(slotAnswer);
  else if constexpr (!std::is_void_v<Result>)
    return static_cast<Result>(slotAnswer);
}

inline void* recorderOf(Slot slot) {
  static void* const recorders[] = {
#define TREADSHIFT_SLOT_RECORDER(name, ...) reinterpret_cast<void*>(recordSlotCall<Slot::name, __VA_ARGS__>),
      TREADSHIFT_EFFECT_SLOTS(TREADSHIFT_SLOT_RECORDER)
#undef TREADSHIFT_SLOT_RECORDER
  };
  return recorders[static_cast<int>(slot)];
}

// Gives an object a private copy of its virtual table, the two words in front included, in which slots can
// be exchanged; the object has its own table back when this ends. The object must live longer.
class SlotExchange {
public:
  // slots: how many the object's class has.
  SlotExchange(void* effectObject, int slots)
      : object(static_cast<void***>(effectObject)), original(*object),
        copy(original - kWordsInFront, original + slots) {
    slotCalls.clear();
    slotAnswer = 0;
    *object = copy.data() + kWordsInFront;
  }
  ~SlotExchange() { *object = original; }
  SlotExchange(const SlotExchange&) = delete;
  SlotExchange& operator=(const SlotExchange&) = delete;

  template <typename Function> void replace(Slot slot, Function* function) {
    (*object)[static_cast<int>(slot)] = reinterpret_cast<void*>(function);
  }
  void record(Slot slot) { (*object)[static_cast<int>(slot)] = recorderOf(slot); }

  // Everything but the destructors and the dispatcher, which then decodes as ever.
  void recordOperations() {
    const int count = static_cast<int>(copy.size()) - kWordsInFront;
    for (int slot = static_cast<int>(Slot::open); slot < count; ++slot)
      record(static_cast<Slot>(slot));
  }

private:
  static constexpr int kWordsInFront = 2; // distance to the whole object, type information

  void*** object;
  void** original;
  std::vector<void*> copy;
};
