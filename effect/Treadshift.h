// The pitch pedal: five parameters, sixteen programs, and the pitch shifter that they steer.
#pragma once

#include "effect/TreadshiftProgram.h"
#include "engine/PitchPedal.h"
#include "framework/CriticalSection.h"
#include "framework/Q_TypeBase.h"

// The record's side of a pitch pedal, whose sound is PitchPedal's. What runs with processing stopped is in
// TreadshiftSetUp.cpp, blocks are in TreadshiftProcess.cpp, and what may come beside them, parameters,
// programs and texts, is in TreadshiftParameters.cpp.
//
// Until a usable sample rate is set, and after one that cannot be run, blocks copy input to output.
class Treadshift : public Q_TypeBase {
public:
  // Sixteen "Init" programs, the first one live; one channel in, one out. host: may be null. Allocates;
  // throws std::bad_alloc when memory cannot be had. [host, processing stopped]
  explicit Treadshift(HostCallback host);
  // Frees all that it owns. [host, processing stopped]
  ~Treadshift() override;

  // Builds everything that depends on the rate and clears the delay line. The rate in force does nothing,
  // not even clear. rate: Hz, any float; one that cannot be run, or for which memory cannot be had, leaves
  // the effect passing audio through until the next usable one. Allocates, never throws.
  // [host, processing stopped]
  void setSampleRate(float rate) override;

  // samples: the largest block to come. Reserves the scratch of such blocks, so that they never allocate; if
  // memory cannot be had, blocks try again. [host, processing stopped]
  void setBlockSize(int samples) override;

  // Clears the delay line; filters, fades and the sweep go on from where they were. Only when a parameter or
  // a sample that was no finite number has spoilt one of them for good, everything is built anew, as by a new
  // rate; then it allocates. [host, processing stopped]
  void resume() override;

  // One block: `frames` samples of inputs[0] to outputs[0], which may be the same array. Fewer than 1 frame
  // counts as 0; null lists or channels do nothing. Takes the lock; allocates for a block larger than
  // any before and than the size announced, and passes audio through if that fails. [audio]
  void processDoubleReplacing(double** inputs, double** outputs, int frames) override;

  // Does nothing: the effect is double precision only. [audio]
  void processReplacing(float** inputs, float** outputs, int frames) override;

  // index: Parameter, any other is ignored or answers 0. value: 0..1, stored unchecked in the live field
  // and in the current program, if there is one by its number. [any thread] Takes no lock.
  void setParameter(int index, float value) override;
  float getParameter(int index) override;

  // Stores the number alone; the live values go into that program from now on. [any thread]
  using Q_TypeBase::setProgram;

  // Texts of the current program: names are cut to 23 characters. While the current number is none of the
  // programs', setting does nothing and getting writes the empty string. text: 24 bytes, 32 for "Init"
  // with its number; null is ignored. [host]
  void setProgramName(char* text) override;
  void getProgramName(char* text) override;
  // The stored name. category: ignored. False for index 16 and above or a null text; a negative index
  // writes the empty string. [host]
  bool getProgramNameIndexed(int category, int index, char* text) override;

  // text: 9 bytes; null is ignored. An index outside 0..4 writes nothing. [any thread]
  void getParameterName(int index, char* text) override;
  void getParameterLabel(int index, char* text) override;
  void getParameterDisplay(int index, char* text) override;
  void getParameterDisplayOf(int index, float value, char* text) override;

  // properties: kParameterPropertiesBytes bytes, all written. False for a null record or an index outside
  // 0..4. [any thread]
  bool getParameterProperties(int index, VstParameterProperties* properties) override;

  // text: 32 bytes. False for a null text, which is ignored. [any thread]
  bool getEffectName(char* text) override;
  bool getVendorString(char* text) override;
  bool getProductString(char* text) override;

  // Constants, whatever the jack. [any thread]
  int getVendorVersion() override;          // 1000
  int getPlugCategory() override;           // 1: an effect
  int getNumOfInJacks() override;           // 1
  int getNumOfOutJacks() override;          // 1
  int getNumOfInSig(int jack) override;     // 1
  int getNumOfOutSig(int jack) override;    // 1
  int getStartNumInSig(int jack) override;  // 0
  int getStartNumOutSig(int jack) override; // 0
  int getDryInSigNum() override;            // -1

  // Makes a program current and its values live; waits for a block in progress. program: 0..15, any other
  // is ignored. [any thread]
  virtual void setProgram(long program);

  // Takes the colour of the live Color and the gains at the live PedalPos. [host, processing stopped]
  void setColor();
  // Takes the pitch at a pedal position of 0..1, within the colour's range. [host, processing stopped]
  void setPitch(float pedal);

private:
  // Through the virtual table as everywhere: a call made by the constructor itself, or inlined into it, would
  // skip the table.
  [[gnu::noinline]] void presentToHost();
  void setUp(double rate);
  int32_t announcedSamples() const;
  PedalSettings settings();

  TreadshiftProgram* programAt(int number) const;
  TreadshiftProgram* liveProgram();
  float* liveField(int index);

  CriticalSection lock;

  // Live parameters, 0..1; one thread writes while another's block reads.
  float onOff, mode, tone, color, pedalPos; // mode is shown and saved and has no part in the sound

  TreadshiftProgram* programs; // owned: programCount programs

  PitchPedal pedal;

  // Read by nothing and kept on purpose: they are part of the object's state.
  [[maybe_unused]] double halfPi = 1.57079632675;
  [[maybe_unused]] double spareTime = 0.025;     // s
  [[maybe_unused]] double spareLevel = 0.003162; // linear
  [[maybe_unused]] double spareZero = 0.0;
};
