// One recording through the pedal: a sound file in, another out.
#pragma once

#include "render/course/Controls.h"
#include "render/job/RenderStatistics.h"
#include "render/sound/ChannelChoice.h"
#include "render/sound/SoundFormat.h"

#include <optional>
#include <string>

class PitchPicture;
class Progress;

// What all recordings of a call have in common.
struct RenderSettings {
  std::string modulePath; // see findModule
  Controls controls;
  int blockFrames = 64; // frames handed to the effect at once
  ChannelChoice channels;
  std::optional<int> sampleFormat; // the output's, as libsndfile's constant; none: like the input's
  double tailSeconds = 0.0;        // of silence behind the recording
  double gainDb = 0.0;             // on top of normalizing, if that is done
  bool normalizes = false;         // the peak becomes full scale
  bool dithers = false;
  bool mayReplace = true; // files that are there
  bool measuresLatency = false;
};

struct RenderJob {
  std::string inputPath;       // "-": the standard input
  std::string outputPath;      // "-": the standard output
  const SoundType* type;       // of the output
  std::string namedOutputPath; // as the user knows it; empty when the output is but for this call's own use
};

// Renders the whole input. picture: gets to hear both sides when it is not null. Throws Fault; then no output
// has been written and an existing one is untouched. Memory does not grow with the sound's length. Several
// threads may render different files.
RenderStatistics runRenderJob(const RenderJob& job, const RenderSettings& settings, Progress& progress,
                              PitchPicture* picture = nullptr);
