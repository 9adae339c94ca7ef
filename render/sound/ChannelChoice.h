// Which channels of a recording go through the pedal.
#pragma once

#include "render/sound/SoundFormat.h"

#include <cstdint>
#include <string>

class ChannelChoice {
public:
  // Every channel, through a pedal of its own.
  ChannelChoice() = default;

  // text: each, left, right, or mix. Throws Fault (wrongCall). Allocates.
  explicit ChannelChoice(const std::string& text);

  // The channels that come out of so many. path: the recording's name for messages. Throws Fault (couldNot)
  // when the recording does not have the chosen channel. Allocates only then.
  int count(int channels, const std::string& path) const;

  // Turns frames of so many interleaved channels into frames of the chosen ones, in place. left and right
  // are the first and the second channel, mix is the mean of all. Any thread, allocates nothing.
  void apply(double* samples, std::int64_t frames, int channels) const;

private:
  enum class Kind { each, left, right, mix };
  Kind kind = Kind::each;
};
