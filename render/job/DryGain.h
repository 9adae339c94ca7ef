// How much of the dry sound the effect lets through, sample by sample.
#pragma once

#include "render/job/Renderer.h"

#include <string>
#include <vector>

// Colours, the pedal and the fades between settings all change the dry sound's gain, and only the module
// knows it at a sample. So another effect makes the same moves, hears a steady 1 and is made to forget it
// before its taps reach it: all that it lets out is that gain. It is the same for every channel.
class DryGain {
public:
  // The arguments are the Renderer's whose gain it is. Throws Fault (couldNot) when the module yields no
  // usable effect, or when blocks last so long that bent sound comes inside them, 4.9 ms. Allocates.
  DryGain(const std::string& modulePath, const Controls& courses, int rateHz, int framesPerBlock);

  // Takes the dry sound out of what the effect made of it. dry and bent: the same frames, channels
  // interleaved, in calls as for Renderer::process. Throws Fault (couldNot) when the effect is lost.
  // Allocates when `frames` grows.
  void takeOut(const double* dry, double* bent, int frames, int channels);

private:
  int runFrames; // whole blocks, after which the effect forgets
  Renderer effect;
  std::vector<double> gains;
};
