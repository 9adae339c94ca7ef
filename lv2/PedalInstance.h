// One pedal as an LV2 host holds it: ports, scratch, and an effect behind its record for each channel.
#pragma once

#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// The ports by their numbers in treadshift.ttl. The mono plug-in has those up to kPortPedal, and its channel
// is the left one.
enum Port : uint32_t {
  kPortInLeft,
  kPortOutLeft,
  kPortEnabled,
  kPortMode,
  kPortColor,
  kPortTone,
  kPortPedal,
  kPortInRight,
  kPortOutRight,
  kPortCount
};

// Contains no sound: it converts ports to parameters and samples to doubles and back. A rate that the effect
// cannot run passes the input through. Threads are LV2's: "instantiation" for making, activation and
// deletion, "audio" for connect and run, never two at once.
class PedalInstance {
public:
  // channels: 1 or 2. rateHz: any. announcedBlock: the host's largest block in samples, 0 or less if it told
  // none. Calls that are longer, or longer than 65536 samples, are run in parts. Throws EffectError or
  // std::bad_alloc when no effect can be had. [instantiation] Allocates.
  PedalInstance(int channels, double rateHz, int32_t announcedBlock);

  // data: one float for a control port, the block's samples for an audio port; null disconnects. A number
  // that is no port's is ignored. [audio] Allocates nothing.
  void connect(uint32_t port, void* data) noexcept;

  // Makes fresh effects, in which nothing of an earlier run sounds. Without memory for them the input passes
  // through. [instantiation] Allocates.
  void activate() noexcept;

  // Runs `samples` samples from the input ports to the output ports, which may be the same arrays in any
  // order. Control ports are read once, at its start: values out of range count as the nearest one in range,
  // a port that is not connected or holds no number leaves its parameter as it was. Samples that are no
  // finite numbers come out as they are while the pedal is switched off, and as silence would while it is on.
  // Does nothing without samples, or while an audio port is not connected. [audio] Allocates nothing, waits
  // for nothing.
  void run(uint32_t samples) noexcept;

private:
  struct Channel {
    std::unique_ptr<EffectRunner> effect; // null: no memory for it
    std::vector<double> block;            // scratch: the samples of a part of a call, in and out
    const float* input = nullptr;         // the host's
    float* output = nullptr;              // the host's
  };

  void makeEffects();
  bool isConnected() const noexcept;
  void sendParameters() noexcept;
  void sendParameter(Port port) noexcept;
  void bendPart(uint32_t start, int32_t samples) noexcept;
  void writePart(uint32_t start, int32_t samples) noexcept;
  std::span<Channel> channels() noexcept { return {channelArray.data(), channelCount}; }

  double rateHz;
  int32_t longestPart; // samples
  std::size_t channelCount;
  std::array<Channel, 2> channelArray;    // those beyond channelCount stay empty
  bool hasEffects = false;                // one for each channel
  bool hasRun = false;                    // since the effects were made
  bool isOn = true;                       // the switch as last sent
  const float* controls[kPortCount] = {}; // the host's; audio ports stay null
};
