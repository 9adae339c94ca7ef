// One effect as a host has it: every call goes through its record or its table, and is held against what the
// interface promises.
#pragma once

#include "framework/Q_TypeIF.h"
#include "fuzz/ProgramModel.h"
#include "fuzz/ScriptBytes.h"
#include "tests/reference/PlainPedal.h"

#include <memory>

class WatchedEffect {
public:
  // made: from a factory, not null; owned from now on.
  explicit WatchedEffect(Q_TypeIF* made);
  // Closes the effect, and deletes the handle if dropHandle() has not.
  ~WatchedEffect();
  WatchedEffect(const WatchedEffect&) = delete;
  WatchedEffect& operator=(const WatchedEffect&) = delete;

  void dropHandle();

  // The SSE control word that the host has from now on.
  void setWord(std::uint32_t hostWord);

  void setSampleRate(float rateHz);
  void setBlockSize(std::int32_t samples);
  void resumeOrSuspend(std::intptr_t value);
  void setParameter(std::int32_t index, float value);
  void selectProgram(std::intptr_t number);
  void loadProgram(long number);
  void setName(const std::string& text, bool terminated);

  // Asks for what opcodes 3, 5 to 8, 29 and the parameter entry tell.
  void checkTexts(std::int32_t index);
  // Any opcode but those that have an operation above, and opcode 1, with arguments from the script.
  void dispatchAny(ScriptBytes& script);
  // A text helper or an operation on loudspeakers, by its slot in the table.
  void callSlotOperation(ScriptBytes& script);

  // A block; its size, buffers and sound come from the script. most: samples. Result: its samples.
  int process(ScriptBytes& script, int most);
  // The entries for single precision, which do nothing.
  void processSingle(ScriptBytes& script);

private:
  struct Sound;

  std::intptr_t dispatch(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr, float opt);
  std::string textOf(std::int32_t opcode, std::int32_t index, std::size_t bytes);
  std::intptr_t expectedAnswer(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr) const;
  void checkRecord() const;
  void formatNumber(ScriptBytes& script);
  void arrangeSpeakers(ScriptBytes& script);
  void noteParameters();
  void notePeak(const double* samples, int count);
  bool twinCanFollow(int frames);
  void runBlock(const double* input, double* output, int frames);
  void checkOutput(const double* output, int frames) const;

  Q_TypeIF* handle; // null once dropped
  AEffect* record;
  ProgramModel model;
  std::uint32_t word;

  // The plain pedal that has had the same life, or null when it could not follow any more.
  std::unique_ptr<PlainPedal> twin;
  double twinStepsLeft;
  bool pedalStaysAtHeel = true; // since the effect was made: then the twin's blocks are cheap

  double rateHz = -1.0;
  bool runs = false;
  // Since the effect was made or built for a new rate: whether nothing but numbers in range went into it, and
  // the largest sample among them. The sound is bounded then.
  bool isSane = true;
  double peak = 0.0;
};
