// Plays interleaved sound through one effect per channel while the controls move.
#pragma once

#include "host/EffectDriver.h"
#include "render/course/Controls.h"

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
  // Creates and sets up the effects. modulePath: see findModule. framesPerBlock: 1 or more.
  // The parameters have their first block's values before the effects learn the sample rate, so that they
  // start in the chosen colour. Throws Fault (couldNot) when the module yields no usable effect. Allocates.
  Renderer(const std::string& modulePath, Controls courses, int fileRateHz, int channels, int framesPerBlock);

  // Suspends the effects, as far as they are still there.
  ~Renderer();

  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  // Renders the next frames in place: 1 or more, channels interleaved, in blocks of framesPerBlock counted
  // from the first one; so that only the sound's last block is shorter, every call but the last takes a
  // multiple of framesPerBlock. The more at once, the less time goes into journeys to worker processes; some
  // thousand are plenty. Every parameter takes the value that its course has at a block's last frame; the
  // effect itself moves the pedal and the tone there from the block before, so the sound follows the drawn
  // line. The first block has none before it and holds its own value from its first frame on. Throws Fault
  // (couldNot) when an effect in a worker process is lost; the renderer is of no use then.
  void process(double* samples, int frames);

  // Empties the effects' memory of the sound; everything else about them goes on. Throws Fault (couldNot).
  void forget();

private:
  void setUp();
  void render(double* samples, int frames);
  void drawMoves(int block, double seconds);

  std::string modulePath;
  Controls controls;
  double rateHz;
  int blockFrames;
  std::int64_t position = 0; // frames rendered so far
  std::array<float, kParameterCount> sentValues;
  std::vector<ParameterMove> moves;        // of the frames being rendered
  std::vector<std::vector<double>> planes; // each channel's part of them
  std::vector<std::unique_ptr<EffectDriver>> effects;
};
