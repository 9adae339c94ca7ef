// Plays interleaved sound through one effect per channel while the controls move.
#pragma once

#include "host/EffectDriver.h"
#include "render/Controls.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Whether the module's effect works at a rate in Hz; at rates too low or too high for its buffers it passes
// the sound through unchanged. Throws Fault (couldNot) when the module yields no usable effect. Allocates.
bool effectRunsAt(const std::string& modulePath, int rateHz);

// One thread uses a renderer at a time; renderers of several threads do not touch each other.
class Renderer {
public:
  // Creates and sets up the effects. modulePath: see findModule. blockFrames: largest block, 1 or more.
  // The parameters have their first block's values before the effects learn the sample rate, so that they
  // start in the chosen colour. Throws Fault (couldNot) when the module yields no usable effect. Allocates.
  Renderer(const std::string& modulePath, Controls moves, int fileRateHz, int channels, int blockFrames);

  // Suspends the effects, as far as they are still there.
  ~Renderer();

  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  // Renders the next block in place: frames from 1 to blockFrames, channels interleaved. Every parameter
  // takes the value that its course has at the block's last frame; the effect itself moves the pedal and
  // the tone there from the block before, so the sound follows the drawn line. The first block has none
  // before it and holds its own value from its first frame on. Throws Fault (couldNot) when an effect in a
  // worker process is lost; the renderer is of no use then.
  void process(double* samples, int frames);

private:
  void setUp(int blockFrames);
  void renderBlock(double* samples, int frames);
  void moveControls(double seconds);

  std::string modulePath;
  Controls controls;
  double rateHz;
  std::int64_t position = 0; // frames rendered so far
  std::array<float, kParameterCount> sentValues;
  std::vector<double> dry, wet; // one channel's block
  std::vector<std::unique_ptr<EffectDriver>> effects;
};
