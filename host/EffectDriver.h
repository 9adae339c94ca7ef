// One effect as a host drives it, wherever its code runs: in this process or in another one.
#pragma once

#include "vst/HostRecords.h"
#include "vst/Opcodes.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

// What is wrong with a module or factory, in words that go on from its name: "exports no 'getinterface'".
class EffectError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// The effect is lost by no fault of the module: its worker was ended from outside.
class EffectKilled : public EffectError {
public:
  using EffectError::EffectError;
};

// The numbers of an effect's record, at the widths that both pointer widths share.
struct EffectFacts {
  std::int32_t programCount;
  std::int32_t parameterCount;
  std::int32_t inputCount;   // audio channels in
  std::int32_t outputCount;  // audio channels out
  std::int32_t flags;        // EffectFlag bits
  std::int32_t initialDelay; // samples
  std::int32_t uniqueID;     // four characters, first one in the top byte
  std::int32_t version;
  std::int32_t takesDoubles; // 1: it says so and has the entry; else 0
};

// A parameter's new value at the start of a block.
struct ParameterMove {
  std::int32_t block; // 0 is the run's first
  std::int32_t index;
  float value; // 0..1
};

// Blocks in a row, with the moves between them. Input and output may be the same array.
struct BlockRun {
  const double* input;
  double* output;
  std::int32_t samples;                 // of the whole run
  std::int32_t blockSamples;            // of every block, 1 or more; the last one may be shorter
  std::span<const ParameterMove> moves; // by block
};

// One open effect from creation to its close request, which is the destructor's. Use one driver per audio
// channel: the effect is mono. Every operation states its thread (docs/threads.md); "host" means the thread
// that owns the driver while no block is running. An effect that runs in another process can be lost at any
// time: then every operation throws EffectError, from the one on that notices.
class EffectDriver {
public:
  EffectDriver() = default;
  virtual ~EffectDriver() = default;
  EffectDriver(const EffectDriver&) = delete;
  EffectDriver& operator=(const EffectDriver&) = delete;

  // The record's numbers as they stood when the effect was opened. [any thread]
  virtual EffectFacts facts() const = 0;

  // Sends an opcode whose answer is a number and whose `ptr`, if it has one, is a text or record without
  // pointers. buffer: what `ptr` shall point to, at least as large as the opcode asks for; the effect may
  // fill it; empty: `ptr` is null. Result: the effect's answer, as the 32-bit number that it is in both
  // widths. [as the opcode demands]
  virtual std::int32_t request(std::int32_t opcode, std::int32_t index = 0, std::int32_t value = 0,
                               std::span<char> buffer = {}, float opt = 0.0f) const = 0;

  // value: 0..1; an index the effect does not have is ignored (set) or answers 0 (get). [any thread] One at a
  // time.
  virtual void setParameter(std::int32_t index, float value) const = 0;
  virtual float parameter(std::int32_t index) const = 0;

  // Runs one block of `samples` samples. Input and output may be the same array. [audio] The effect
  // allocates only for a block longer than announced and than any before.
  virtual void process(const double* input, double* output, std::int32_t samples) const = 0;

  // Runs many blocks at once, which takes an effect in another process one journey instead of one per block,
  // and lets several of them work side by side: start each one's run, then finish each. The run's arrays must
  // stay until `finish`, and nothing else may be asked in between. [audio]
  virtual void start(const BlockRun& run) const;

  // Waits until the output of the run that was started is complete. [audio]
  virtual void finish() const {}

  // After setBlockSize, so that the effect makes its blocks' memory once. rateHz: any float; it passes audio
  // through at rates it cannot run. [host] The effect allocates.
  void setSampleRate(float rateHz) const { request(kOpSetSampleRate, 0, 0, {}, rateHz); }

  // samples: the largest block that will come. [host]
  void setBlockSize(std::int32_t samples) const { request(kOpSetBlockSize, 0, samples); }

  // Empties the effect's delay line; filters, fades and pedal go on as they were. [host]
  void resume() const { request(kOpResumeOrSuspend, 0, 1); }
  void suspend() const { request(kOpResumeOrSuspend, 0, 0); }

  // Texts as the effect writes them; an index it does not have gives the empty string. [host] Allocates.
  std::string parameterName(std::int32_t index) const { return text(kOpGetParameterName, index); }
  std::string parameterLabel(std::int32_t index) const { return text(kOpGetParameterLabel, index); }
  std::string parameterDisplay(std::int32_t index) const { return text(kOpGetParameterDisplay, index); }
  std::string programName(std::int32_t index) const { return text(kOpGetProgramNameIndexed, index); }
  std::string currentProgramName() const { return text(kOpGetProgramName); }
  std::string effectName() const { return text(kOpGetEffectName); }
  std::string vendor() const { return text(kOpGetVendorString); }
  std::string product() const { return text(kOpGetProductString); }

  // What the effect tells about a parameter; nothing when it tells nothing. [host]
  std::optional<VstParameterProperties> parameterProperties(std::int32_t index) const;

  // The effect's answer to a capability's name: 1 yes, 0 unknown, -1 no. [host] Allocates.
  std::int32_t canDo(std::string capability) const;

private:
  std::string text(std::int32_t opcode, std::int32_t index = 0) const;
};
