// One pedal as an LV2 host holds it: ports, scratch, and the effect behind its record.
#pragma once

#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <cstdint>
#include <memory>
#include <vector>

// The ports by their numbers in treadshift.ttl.
enum Port : uint32_t {
  kPortIn,
  kPortOut,
  kPortEnabled,
  kPortMode,
  kPortColor,
  kPortTone,
  kPortPedal,
  kPortCount
};

// Contains no sound: it converts ports to parameters and samples to doubles and back. A rate that the effect
// cannot run passes the input through. Threads are LV2's: "instantiation" for making, activation and
// deletion, "audio" for connect and run, never two at once.
class PedalInstance {
public:
  // rateHz: any. announcedBlock: the host's largest block in samples, 0 or less if it told none. Calls that
  // are longer, or longer than 65536 samples, are run in parts. Throws EffectError or std::bad_alloc when no
  // effect can be had. [instantiation] Allocates.
  PedalInstance(double rateHz, int32_t announcedBlock);

  // data: one float for a control port, the block's samples for an audio port; null disconnects. A number
  // that is no port's is ignored. [audio] Allocates nothing.
  void connect(uint32_t port, void* data) noexcept;

  // Makes a fresh effect, in which nothing of an earlier run sounds. Without memory for one the input passes
  // through. [instantiation] Allocates.
  void activate() noexcept;

  // Runs `samples` samples from the input port to the output port, which may be one array. Control ports are
  // read once, at its start: values out of range count as the nearest one in range, a port that is not
  // connected or holds no number leaves its parameter as it was. Samples that are no finite numbers come out
  // as they are while the pedal is switched off, and as silence would while it is on. Does nothing without
  // samples, or while an audio port is not connected. [audio] Allocates nothing, waits for nothing.
  void run(uint32_t samples) noexcept;

private:
  void makeEffects();
  void chooseEffect() noexcept;
  void sendParameters() noexcept;
  void sendParameter(Port port) noexcept;
  void runPart(const float* in, float* out, int32_t samples) noexcept;

  double rateHz;
  std::vector<double> block; // scratch: the samples of a part of a call, in and out

  // An effect takes up its first colour when it learns its rate, which takes memory, and what the port holds
  // is known only when the first block runs: one waits for each colour.
  std::unique_ptr<EffectRunner>
      waiting[kColorCount];       // fresh but for the one that runs; null: no memory for it
  EffectRunner* effect = nullptr; // the one that runs; null until the first block
  bool hasRun = false;            // since the effects were made

  bool isOn = true;             // the switch as last sent
  const float* input = nullptr; // the host's, as the next two
  float* output = nullptr;
  const float* controls[kPortCount] = {}; // audio ports stay null
};
