// A pitch shifter under measurement, steered by a pedal.
#pragma once

#include "quality/Sound.h"

#include <functional>
#include <memory>

// Pedal positions over time: what the pedal shows, 0 heel .. 1 toe, at a moment in seconds.
using PedalCourse = std::function<double(double seconds)>;

class Shifter {
public:
  Shifter() = default;
  virtual ~Shifter() = default;
  Shifter(const Shifter&) = delete;
  Shifter& operator=(const Shifter&) = delete;

  // From the next block on. position: 0 heel .. 1 toe.
  virtual void setPedal(double position) = 0;

  // Plays a sound in blocks, the last one shorter, and answers as many samples. What came before is still
  // remembered. blockSamples: 1 or more, at most what the shifter was made for. Allocates.
  Sound play(const Sound& input, int blockSamples);

  // The same with the pedal set anew before each block.
  Sound play(const Sound& input, int blockSamples, const PedalCourse& course);

protected:
  // One block; the arrays are not the same.
  virtual void process(const double* input, double* output, int samples) = 0;
};

// Makes a shifter that has heard nothing, at the setting that is to be measured.
using MakeShifter = std::function<std::unique_ptr<Shifter>()>;

inline constexpr int kShortBlock = 64;  // samples: the block of every measure that does not say otherwise
inline constexpr int kLongBlock = 1024; // samples
