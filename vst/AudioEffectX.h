// The extended effect class: opcodes 25 to 79, requests to the host, speaker arrangements.
#pragma once

#include "vst/AudioEffect.h"

// Records of the interface that this side only passes on.
struct VstEvents;
struct VstPinProperties;
struct VstAudioFile;
struct VstOfflineTask;
struct VstVariableIo;
struct VstPatchChunkInfo;
struct VstTimeInfo;
struct VstFileSelect;
struct __VstWindowDeprecated;
struct MidiProgramName;
struct MidiProgramCategory;
struct MidiKeyName;
using VstOfflineOption = int32_t;

// The virtual operations stand in slot order, behind those of AudioEffect: add nothing between them.
// Three kinds, marked at each group: answers to the host, which an effect overrides (the base answer is in
// the comment); requests to the host (number in HostRequest), never made inside a block, which answer 0,
// false or null when there is no callback; and speaker arrangements. Pointers are passed on unread, null
// included; only the operations on arrangements look at them, and only they allocate.
class AudioEffectX : public AudioEffect {
public:
  // As AudioEffect. Asks the host nothing. [host, processing stopped]
  AudioEffectX(HostCallback host, int numPrograms, int numParams);
  ~AudioEffectX() override;

  // Decodes opcodes 25 to 79 and hands every other number to AudioEffect. [as the opcode demands]
  intptr_t dispatcher(int opcode, int index, intptr_t value, void* ptr, float opt) override;

  // Asks the host for events, if the effect is a synth or itself claims to receive MIDI.
  // [host, processing stopped]
  void resume() override;

  // Answers to the host. [any thread]
  virtual bool canParameterBeAutomated(int index);                                    // true
  virtual bool string2parameter(int index, char* text);                               // false
  virtual bool getParameterProperties(int index, VstParameterProperties* properties); // false

  // Requests. [any thread]
  virtual bool beginEdit(int index);
  virtual bool endEdit(int index);

  // Answers. [host]
  virtual bool getProgramNameIndexed(int category, int index, char* text); // false
  virtual bool beginSetProgram();                                          // false
  virtual bool endSetProgram();                                            // false
  virtual int beginLoadBank(VstPatchChunkInfo* info);                      // 0
  virtual int beginLoadProgram(VstPatchChunkInfo* info);                   // 0

  // Request: tells the host of new channel counts or latency. [any thread]
  virtual bool ioChanged();

  // Requests that store the answer: the host's rate in Hz, 44100 when it names none, and its block size in
  // samples, the old one when it names none. [host, processing stopped]
  virtual float updateSampleRate();
  virtual int updateBlockSize();

  // Requests. [any thread]
  virtual int getInputLatency();  // samples
  virtual int getOutputLatency(); // samples

  // Answers. [host]
  virtual bool getInputProperties(int index, VstPinProperties* properties);                        // false
  virtual bool getOutputProperties(int index, VstPinProperties* properties);                       // false
  virtual bool setSpeakerArrangement(VstSpeakerArrangement* input, VstSpeakerArrangement* output); // false
  // Stores null through both pointers (a null pointer is skipped) and answers false.
  virtual bool getSpeakerArrangement(VstSpeakerArrangement** input, VstSpeakerArrangement** output);
  virtual bool setBypass(bool on);                 // false
  virtual bool setPanLaw(int law, float level);    // false
  virtual bool setProcessPrecision(int precision); // false
  virtual int getNumMidiInputChannels();           // 0
  virtual int getNumMidiOutputChannels();          // 0

  // Requests. filter: bit mask of the wanted time fields; null: the host knows no time. [any thread]
  virtual VstTimeInfo* getTimeInfo(int filter);
  virtual int getCurrentProcessLevel();
  virtual int getAutomationState();

  // Answers. [audio]
  virtual int processEvents(VstEvents* events);          // 0
  virtual int startProcess();                            // 0
  virtual int stopProcess();                             // 0
  virtual bool processVariableIo(VstVariableIo* record); // false
  virtual int setTotalSampleToProcess(int samples);      // samples

  // Requests. text: a buffer of at least 64 bytes. [any thread]
  virtual bool getHostVendorString(char* text);
  virtual bool getHostProductString(char* text);
  virtual int getHostVendorVersion();
  virtual int hostVendorSpecific(int index, int value, void* ptr, float opt);
  virtual bool canHostDo(char* capability); // any answer but 0 counts as yes, -1 included
  virtual int getHostLanguage();

  // The record's flags. [host, processing stopped]
  virtual void isSynth(bool state);
  virtual void noTail(bool state);

  virtual int getGetTailSize(); // answer: samples, 0 [host]
  virtual void* getDirectory(); // request [any thread]

  // Answers. [any thread]
  virtual bool getEffectName(char* text);    // false
  virtual bool getVendorString(char* text);  // false
  virtual bool getProductString(char* text); // false
  virtual int getVendorVersion();            // 0

  // Answers. [host]
  virtual int vendorSpecific(int index, int value, void* ptr, float opt); // 0
  virtual int canDo(char* capability);                                    // 0: neither yes (1) nor no (-1)

  // Answers. [any thread]
  virtual int getVstVersion();   // 2400
  virtual int getPlugCategory(); // 2 for a synth, else 0

  // Answers. [host]
  virtual int getMidiProgramName(int channel, MidiProgramName* name);             // 0
  virtual int getCurrentMidiProgram(int channel, MidiProgramName* name);          // -1: none
  virtual int getMidiProgramCategory(int channel, MidiProgramCategory* category); // 0
  virtual bool hasMidiProgramsChanged(int channel);                               // false
  virtual bool getMidiKeyName(int channel, MidiKeyName* name);                    // false

  // Requests. width, height: pixels. [any thread]
  virtual bool updateDisplay();
  virtual bool sizeWindow(int width, int height);
  virtual bool openFileSelector(VstFileSelect* selector);
  virtual bool closeFileSelector(VstFileSelect* selector);

  virtual int getNextShellPlugin(char* text); // answer: 0 [host]

  // Speaker arrangements. A record belongs to whoever holds the pointer; null pointers to pointers are
  // refused. [host]
  // Releases the record held and makes a silent one for `channels` >= 0 channels. False when memory cannot
  // be had or channels is negative: the old record is gone all the same and the pointer stays stale.
  // Allocates.
  virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, int channels);
  // Releases the record held, if any, and sets the pointer null. True.
  virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
  // Copies one speaker; the name is cut to 63 characters. False when either is null.
  virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);
  // Replaces the record held by a copy of `from`. False, with `to` untouched, when from is null; a record
  // that is its own copy already stays. Allocates.
  virtual bool matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from);

  // Requests. [any thread]
  virtual bool offlineRead(VstOfflineTask* task, VstOfflineOption option, bool readSource);
  virtual bool offlineWrite(VstOfflineTask* task, VstOfflineOption option);
  virtual bool offlineStart(VstAudioFile* files, int numFiles, int numNewFiles);
  virtual bool offlineGetCurrentPass();     // whether there is one, not its number
  virtual bool offlineGetCurrentMetaPass(); // likewise

  // Answers. [host]
  virtual bool offlineNotify(VstAudioFile* files, int count, bool start); // false
  virtual bool offlinePrepare(VstOfflineTask* tasks, int count);          // false
  virtual bool offlineRun(VstOfflineTask* tasks, int count);              // false
  virtual int offlineGetNumPasses();                                      // 0
  virtual int offlineGetNumMetaPasses();                                  // 0

  // Requests and answers of older interface versions; they keep their slots.
  virtual int __wantEventsDeprecated(int filter);                   // [any thread]
  virtual int __tempoAtDeprecated(int position);                    // [any thread]
  virtual int __getNumAutomatableParametersDeprecated();            // [any thread]
  virtual int __getParameterQuantizationDeprecated();               // [any thread]
  virtual int __getNumCategoriesDeprecated();                       // 1 [host]
  virtual bool __copyProgramDeprecated(int destination);            // false [host]
  virtual bool __needIdleDeprecated();                              // [any thread]
  virtual intptr_t __getPreviousPlugDeprecated(int input);          // the argument is not sent [any thread]
  virtual intptr_t __getNextPlugDeprecated(int output);             // likewise [any thread]
  virtual void __inputConnectedDeprecated(int input, bool state);   // [host]
  virtual void __outputConnectedDeprecated(int output, bool state); // [host]
  virtual int __willProcessReplacingDeprecated();                   // [any thread]
  virtual void __wantAsyncOperationDeprecated(bool state); // the record's flag [host, processing stopped]
  virtual void __hasExternalBufferDeprecated(bool state);  // the record's flag [host, processing stopped]
  virtual int __reportCurrentPositionDeprecated();         // 0 [host]
  virtual int __reportDestinationBufferDeprecated();       // 0 [host]
  virtual int __setOutputSamplerateDeprecated(float rate); // Hz [any thread]
  virtual VstSpeakerArrangement* __getInputSpeakerArrangementDeprecated();  // [any thread]
  virtual VstSpeakerArrangement* __getOutputSpeakerArrangementDeprecated(); // [any thread]
  virtual void* __openWindowDeprecated(__VstWindowDeprecated* window);      // [any thread]
  virtual bool __closeWindowDeprecated(__VstWindowDeprecated* window);      // [any thread]
  // Stores both. [host, processing stopped]
  virtual void __setBlockSizeAndSampleRateDeprecated(int samples, float rate);
  virtual bool __getErrorTextDeprecated(char* text);      // false [host]
  virtual int __getIconDeprecated();                      // 0 [host]
  virtual bool __setViewPositionDeprecated(int x, int y); // false [host]
  virtual int __fxIdleDeprecated();                       // 0 [host]
  virtual bool __keysRequiredDeprecated();                // false [host]
  virtual bool __getChunkFileDeprecated(void* file);      // [any thread]

  // Sends events to the host; true only when it answers exactly 1. [any thread]
  bool sendVstEventsToHost(VstEvents* events);

private:
  int askNumber(int32_t request, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                float opt = 0.0f);
  bool askYesNo(int32_t request, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr);
  template <typename Record> Record* askAddress(int32_t request, intptr_t value = 0, void* ptr = nullptr);
};

// Capabilities that hosts and effects ask each other about, by name.
namespace HostCanDos {
extern const char* const canDoSendVstEvents;
extern const char* const canDoSendVstMidiEvent;
extern const char* const canDoSendVstTimeInfo;
extern const char* const canDoReceiveVstEvents;
extern const char* const canDoReceiveVstMidiEvent;
extern const char* const canDoReportConnectionChanges;
extern const char* const canDoAcceptIOChanges;
extern const char* const canDoSizeWindow;
extern const char* const canDoOffline;
extern const char* const canDoOpenFileSelector;
extern const char* const canDoCloseFileSelector;
extern const char* const canDoStartStopProcess;
extern const char* const canDoShellCategory;
extern const char* const canDoSendVstMidiEventFlagIsRealtime;
} // namespace HostCanDos

namespace PlugCanDos {
extern const char* const canDoSendVstEvents;
extern const char* const canDoSendVstMidiEvent;
extern const char* const canDoReceiveVstEvents;
extern const char* const canDoReceiveVstMidiEvent;
extern const char* const canDoReceiveVstTimeInfo;
extern const char* const canDoOffline;
extern const char* const canDoMidiProgramNames;
extern const char* const canDoBypass;
} // namespace PlugCanDos
