// Base class of every effect: owns the record that the host sees and answers for it.
#pragma once

#include "vst/AEffect.h"
#include "vst/HostRecords.h"

#include <cstdint>

// An editor window. The order of the virtual operations is the interface; the unused slots keep the places
// between those that are called. All run on the host's user-interface thread.
class AEffEditor {
public:
  virtual ~AEffEditor() = default; // slots 0 and 1
  virtual void unusedSlot2() {}
  virtual bool getRectangle(void** rectangle) = 0; // slot 3; rectangle: place for a rectangle's address
  virtual bool onOpen(void* parentWindow) = 0;     // slot 4
  virtual void onClose() = 0;                      // slot 5
  virtual void unusedSlot6() {}
  virtual void onIdle() = 0; // slot 7
  virtual void unusedSlot8() {}
  virtual void unusedSlot9() {}
  virtual void unusedSlot10() {}
  virtual void unusedSlot11() {}
  virtual void unusedSlot12() {}
  virtual bool onKeyDown(EditorKey*) { return false; } // slot 13; true: the key was used
  virtual bool onKeyUp(EditorKey*) { return false; }   // slot 14; true: the key was used
  virtual void unusedSlot15() {}
  virtual bool onKnobMode(int) { return false; } // slot 16; true: the mode was taken
};

// The virtual operations stand in the order of their slots in the virtual table, which hosts and tests rely
// on: add nothing between them. Threads: docs/threads.md defines the tags in brackets. Nothing here
// allocates. Base operations whose comment names no action do nothing and answer 0, false or the empty
// string; pointers that they do not use are not read.
class AudioEffect {
public:
  // host: the host's services, or null for none. numPrograms, numParams: counts told to the host.
  // Fills the record; asks the host nothing. [host, processing stopped]
  AudioEffect(HostCallback host, int numPrograms, int numParams);

  // Destroys the editor, if one is set.
  virtual ~AudioEffect();

  AudioEffect(const AudioEffect&) = delete;
  AudioEffect& operator=(const AudioEffect&) = delete;

  // Decodes opcodes 0 to 24 (Opcodes.h) into the operations below; any other number answers 0.
  // [as the opcode demands]
  virtual intptr_t dispatcher(int opcode, int index, intptr_t value, void* ptr, float opt);

  virtual void open();    // [host, processing stopped]
  virtual void close();   // before destruction [host, processing stopped]
  virtual void suspend(); // processing stops [host]
  virtual void resume();  // processing starts [host, processing stopped]

  // rate: Hz; stored unchecked. [host, processing stopped]
  virtual void setSampleRate(float rate);
  // samples: the largest block to come; stored unchecked. [host, processing stopped]
  virtual void setBlockSize(int samples);

  // Single- and double-precision replacing process: `frames` samples per channel. The effect says what it
  // makes of null lists and of fewer than 1 frame. [audio]
  virtual void processReplacing(float** inputs, float** outputs, int frames) = 0;
  virtual void processDoubleReplacing(double** inputs, double** outputs, int frames);

  // value: 0..1. The effect says what it makes of an index that is no parameter's. [any thread]
  virtual void setParameter(int index, float value);
  virtual float getParameter(int index);
  // A change made by the effect itself: sets the parameter, then reports it to the host. [any thread]
  virtual void setParameterAutomated(int index, float value);

  // The current program's number; setProgram stores it unchecked. [any thread]
  virtual int getProgram();
  virtual void setProgram(int program);
  // The current program's name. text: the effect says how long; null is ignored. [host]
  virtual void setProgramName(char* text);
  virtual void getProgramName(char* text);

  // Texts of a parameter; a null text is ignored. [any thread]
  virtual void getParameterLabel(int index, char* text);
  virtual void getParameterDisplay(int index, char* text);
  virtual void getParameterName(int index, char* text);

  // Opaque state: data receives or is the chunk's address; answers its size in bytes.
  // [host, processing stopped]
  virtual int getChunk(void** data, bool onlyProgram);
  virtual int setChunk(void* data, int bytes, bool onlyProgram);

  // Store into the record; the host is not told. [host, processing stopped]
  virtual void setUniqueID(int uniqueID);
  virtual void setNumInputs(int channels);
  virtual void setNumOutputs(int channels);
  virtual void canProcessReplacing(bool state);
  virtual void canDoubleReplacing(bool state);
  virtual void programsAreChunks(bool state);
  virtual void setInitialDelay(int samples);

  // What is stored. [any thread]
  virtual AEffEditor* getEditor(); // null: none
  virtual AEffect* getAeffect();   // address of the record inside this object
  virtual float getSampleRate();   // Hz
  virtual int getBlockSize();      // samples

  // Questions to the host; the answers without a callback are 1, 0, 0, true, true. [any thread]
  virtual int getMasterVersion(); // 0 is told as 1
  virtual int getCurrentUniqueId();
  virtual int masterIdle();
  virtual bool isInputConnected(int input);   // the host answers 0 for a connected pin
  virtual bool isOutputConnected(int output); // likewise

  // Number to short text (ValueText.cpp). text holds at least maxLen + 1 bytes, of which the last is always
  // set to 0; a null text or a negative maxLen is ignored. [any thread]
  virtual void dB2string(float gain, char* text, int maxLen);    // linear gain to decibels; <= 0: "-Inf"
  virtual void Hz2string(float samples, char* text, int maxLen); // period in samples to hertz; 0: " 0.00"
  virtual void ms2string(float samples, char* text, int maxLen); // length in samples to milliseconds
  // Sign column, at most six integer digits, point, at most two decimals. Below -9999999, above 99999999:
  // the text stays as it was.
  virtual void float2string(float value, char* text, int maxLen);
  virtual void int2string(int value, char* text, int maxLen); // 100000000 and above: "Huge!"

  // Of older interface versions: these two do nothing [audio], the rest stores into the record.
  virtual void __processDeprecated(float** inputs, float** outputs, int frames);
  virtual float __getVuDeprecated();
  // [host, processing stopped]
  virtual void __hasVuDeprecated(bool state);
  virtual void __hasClipDeprecated(bool state);
  virtual void __canMonoDeprecated(bool state);
  virtual void __setRealtimeQualitiesDeprecated(int qualities);
  virtual void __setOfflineQualitiesDeprecated(int qualities);

  // Takes ownership of an editor, or lets go of it when null, and tells it by the record's flag. The editor
  // held before is not destroyed. [host, processing stopped]
  void setEditor(AEffEditor* newEditor);

  // The record's entries: each finds the object through the record and calls the virtual operation. No
  // exception passes them; a call that throws answers 0. Opcode 1 destroys the object and answers 1. record:
  // not null, of a living object. The thread is the operation's.
  static intptr_t dispatchEffectClass(AEffect* record, int32_t opcode, int32_t index, intptr_t value,
                                      void* ptr, float opt);
  static void processClassReplacing(AEffect* record, float** inputs, float** outputs, int32_t frames);
  static void processClassDoubleReplacing(AEffect* record, double** inputs, double** outputs, int32_t frames);
  static void __processClassDeprecated(AEffect* record, float** inputs, float** outputs, int32_t frames);
  static void setParameterClass(AEffect* record, int32_t index, float value);
  static float getParameterClass(AEffect* record, int32_t index);

protected:
  // Sends one request to the host and gives its answer, or withoutCallback when there is no callback. An
  // exception of the host passes. [any thread] Never inside a block.
  intptr_t askHost(int32_t request, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                   float opt = 0.0f, intptr_t withoutCallback = 0);

  // Sets or clears bits of the record's flags and leaves the others. [host, processing stopped]
  void setFlag(int32_t bits, bool state);

  HostCallback hostCallback; // null: no host services
  AEffEditor* editor;        // owned; null: none
  float sampleRate;          // Hz
  int32_t blockSize;         // samples: the largest block to come
  int32_t programCount;
  int32_t parameterCount;
  int32_t currentProgram; // may be any number that the host stored
  AEffect effect;         // the record; its address is the effect's identity at the host
};
