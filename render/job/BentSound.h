// The recording through the pedal as it goes into the output: mixed, aligned, and the part that is wanted.
#pragma once

#include "render/job/DryGain.h"
#include "render/job/RenderJob.h"
#include "render/job/Renderer.h"
#include "render/sound/InputSound.h"

#include <cstdint>
#include <optional>
#include <vector>

// What the end of a recording cuts off.
struct CutTail {
  double seconds = 0.0; // until the last sample above the threshold; 0: there is none
  double peak = 0.0;
};

class BentSound {
public:
  // input: at its start; it must outlive the object. lateFrames: how far the output is shifted towards its
  // start, 0 or more. keepsRecording: whether recording() is asked for. Throws Fault (couldNot) when the
  // module yields no usable effect. Allocates.
  BentSound(const RenderSettings& settings, InputSound& input, std::int64_t lateFrames, bool keepsRecording);

  // Renders on; false at the end of the recording or of the part that is wanted. Throws Fault (couldNot).
  // Allocates.
  bool advance();

  // What the latest advance() yielded: maybe nothing, while the wanted part has not begun. The recording's
  // frames, and those of the output that stand beside them, which the caller may change.
  int frames() const { return partFrames; }
  const double* recording() const { return dry.data() + partStart; }
  double* output() { return bent.data() + partOffset; }

  // Frames of the recording rendered so far, and how many it takes to the end, negative when unknown.
  std::int64_t position() const { return framesRendered; }
  std::int64_t length() const;

  // Goes on with silence and looks how long something above the threshold sounds. Call it after the
  // recording's end, once. Nothing when the wanted part ended before. Throws Fault (couldNot). Allocates.
  std::optional<CutTail> cutTail(double threshold);

private:
  void keepDry(std::size_t samples);
  void mixInDry();
  std::int64_t end() const { return late + lastFrame; }

  InputSound& input;
  int rateHz;
  int channels;
  int framesAtOnce;
  std::int64_t late;
  std::int64_t firstFrame, lastFrame; // of the recording: the part, its end not included
  double addedDry;                    // linear
  bool keepsDry;
  Renderer renderer;
  std::optional<DryGain> dryGain;
  std::int64_t framesRendered = 0;
  std::vector<double> bent; // the frames rendered at once
  std::vector<double> dry;  // if kept: the recording's latest frames, so many more as the output is late
  int partFrames = 0;
  std::size_t partOffset = 0, partStart = 0; // samples
};
