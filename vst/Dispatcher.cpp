// Opcode to virtual operation, nothing else. Effects change behaviour by overriding the operations.
#include "vst/AudioEffectX.h"

#include "vst/Opcodes.h"

#include <algorithm>

namespace {

// Values may carry a pointer or a number; numbers are 32 bits wide on every target.
int number(intptr_t value) { return static_cast<int>(value); }

// A number that is negative stays so, however large it is where values are wider than 32 bits.
int negativeKept(intptr_t value) { return number(std::max<intptr_t>(value, INT32_MIN)); }

template <typename Record> Record* pointer(intptr_t value) { return reinterpret_cast<Record*>(value); }

// Beyond a byte's reach (NaN included) the conversion would be undefined: such modifiers count as none.
uint8_t modifierBits(float opt) {
  return opt > -2147483648.0f && opt < 2147483648.0f ? static_cast<uint8_t>(static_cast<int32_t>(opt)) : 0;
}

EditorKey keyFrom(int index, intptr_t value, float opt) {
  return {index, static_cast<uint8_t>(value), modifierBits(opt)};
}

} // namespace

intptr_t AudioEffect::dispatcher(int opcode, int index, intptr_t value, void* ptr, float opt) {
  char* text = static_cast<char*>(ptr);
  switch (opcode) {
  case kOpOpen:
    open();
    return 0;
  case kOpClose:
    close();
    return 0;
  case kOpSetProgram:
    // No lower bound on purpose: hosts may store a negative number.
    if (value < programCount) setProgram(negativeKept(value));
    return 0;
  case kOpGetProgram:
    return getProgram();
  case kOpSetProgramName:
    setProgramName(text);
    return 0;
  case kOpGetProgramName:
    getProgramName(text);
    return 0;
  case kOpGetParameterLabel:
    getParameterLabel(index, text);
    return 0;
  case kOpGetParameterDisplay:
    getParameterDisplay(index, text);
    return 0;
  case kOpGetParameterName:
    getParameterName(index, text);
    return 0;
  case kOpSetSampleRate:
    setSampleRate(opt);
    return 0;
  case kOpSetBlockSize:
    setBlockSize(number(value));
    return 0;
  case kOpResumeOrSuspend:
    if (value == 0)
      suspend();
    else
      resume();
    return 0;
  case kOpEditorRectangle:
    return editor ? editor->getRectangle(static_cast<void**>(ptr)) : 0;
  case kOpEditorOpen:
    return editor ? editor->onOpen(ptr) : 0;
  case kOpEditorClose:
    if (editor) editor->onClose();
    return 0;
  case kOpEditorIdle:
    if (editor) editor->onIdle();
    return 0;
  case kOpIdentify:
    return kIdentifyAnswer;
  case kOpGetChunk:
    return getChunk(static_cast<void**>(ptr), index != 0);
  case kOpSetChunk:
    return setChunk(ptr, number(value), index != 0);
  default:
    return 0;
  }
}

intptr_t AudioEffectX::dispatcher(int opcode, int index, intptr_t value, void* ptr, float opt) {
  char* text = static_cast<char*>(ptr);
  switch (opcode) {
  case kOpProcessEvents:
    return processEvents(static_cast<VstEvents*>(ptr));
  case kOpCanParameterBeAutomated:
    return canParameterBeAutomated(index);
  case kOpString2Parameter:
    return string2parameter(index, text);
  case kOpGetProgramNameIndexed:
    return getProgramNameIndexed(number(value), index, text);
  case kOpGetInputProperties:
    return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
  case kOpGetOutputProperties:
    return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
  case kOpGetPlugCategory:
    return getPlugCategory();
  case kOpOfflineNotify:
    return offlineNotify(static_cast<VstAudioFile*>(ptr), number(value), index != 0);
  case kOpOfflinePrepare:
    return offlinePrepare(static_cast<VstOfflineTask*>(ptr), number(value));
  case kOpOfflineRun:
    return offlineRun(static_cast<VstOfflineTask*>(ptr), number(value));
  case kOpProcessVariableIo:
    return processVariableIo(static_cast<VstVariableIo*>(ptr));
  case kOpSetSpeakerArrangement:
    return setSpeakerArrangement(pointer<VstSpeakerArrangement>(value),
                                 static_cast<VstSpeakerArrangement*>(ptr));
  case kOpSetBypass:
    return setBypass(value != 0);
  case kOpGetEffectName:
    return getEffectName(text);
  case kOpGetVendorString:
    return getVendorString(text);
  case kOpGetProductString:
    return getProductString(text);
  case kOpGetVendorVersion:
    return getVendorVersion();
  case kOpVendorSpecific:
    return vendorSpecific(index, number(value), ptr, opt);
  case kOpCanDo:
    return canDo(text);
  case kOpGetTailSize:
    return getGetTailSize();
  case kOpGetParameterProperties:
    return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr));
  case kOpGetVstVersion:
    return getVstVersion();
  case kOpEditorKeyDown: {
    EditorKey key = keyFrom(index, value, opt);
    return editor ? editor->onKeyDown(&key) : 0;
  }
  case kOpEditorKeyUp: {
    EditorKey key = keyFrom(index, value, opt);
    return editor ? editor->onKeyUp(&key) : 0;
  }
  case kOpEditorKnobMode:
    return editor ? editor->onKnobMode(number(value)) : 0;
  case kOpGetMidiProgramName:
    return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
  case kOpGetCurrentMidiProgram:
    return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
  case kOpGetMidiProgramCategory:
    return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
  case kOpHasMidiProgramsChanged:
    return hasMidiProgramsChanged(index);
  case kOpGetMidiKeyName:
    return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr));
  case kOpBeginSetProgram:
    return beginSetProgram();
  case kOpEndSetProgram:
    return endSetProgram();
  case kOpGetSpeakerArrangement:
    return getSpeakerArrangement(pointer<VstSpeakerArrangement*>(value),
                                 static_cast<VstSpeakerArrangement**>(ptr));
  case kOpGetNextShellPlugin:
    return getNextShellPlugin(text);
  case kOpStartProcess:
    return startProcess();
  case kOpStopProcess:
    return stopProcess();
  case kOpSetTotalSampleToProcess:
    return setTotalSampleToProcess(number(value));
  case kOpSetPanLaw:
    return setPanLaw(number(value), opt);
  case kOpBeginLoadBank:
    return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
  case kOpBeginLoadProgram:
    return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
  case kOpSetProcessPrecision:
    return setProcessPrecision(number(value));
  case kOpGetNumMidiInputChannels:
    return getNumMidiInputChannels();
  case kOpGetNumMidiOutputChannels:
    return getNumMidiOutputChannels();
  default:
    return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}
