// One recording through the pedal: a sound file in, another out.
#pragma once

#include "render/course/Controls.h"
#include "render/file/OutputFile.h"
#include "render/job/RenderStatistics.h"
#include "render/job/SettingsNote.h"
#include "render/sound/ChannelChoice.h"
#include "render/sound/SoundFormat.h"

#include <optional>
#include <string>
#include <vector>

class PitchPicture;
class Player;
class Progress;

// What all recordings of a call have in common.
struct RenderSettings {
  std::string modulePath; // see findModule
  Controls controls;
  int blockFrames = 64; // frames handed to the effect at once
  ChannelChoice channels;
  std::optional<int> sampleFormat; // the output's, as libsndfile's constant; none: like the input's
  double tailSeconds = 0.0;        // of silence behind the recording
  bool tellsCutTail = true;        // when the recording's end cuts off bent sound
  double fromSeconds = 0.0;        // the part of the recording that becomes the output
  std::optional<double> toSeconds; // none: to its end
  bool wetAlone = false;           // takes the dry sound out of what the effect puts out
  std::optional<double> dryGainDb; // adds the recording beside it; none: does not
  bool aligns = false;             // shifts the output by the delay of the bent sound
  double gainDb = 0.0;             // on top of normalizing, if that is done
  bool normalizes = false;         // the peak becomes full scale
  bool dithers = false;
  ReplacingRule replacingRule = refuseToReplaceForeign; // about files that are there
  bool keepsTags = true;                                // of the recording
  std::vector<NotedSetting> noted;                      // for the output's comment, beside the controls
  std::string version;                                  // of the program, for the comment
  bool measuresLatency = false;
};

struct RenderJob {
  std::string inputPath;       // "-": the standard input
  std::string outputPath;      // "-": the standard output
  const SoundType* type;       // of the output
  std::string namedOutputPath; // as the user knows it; empty when the output is but for this call's own use
  std::optional<Controls> controls = {}; // in place of the settings'
  const Player* player = nullptr;        // takes the output while it is rendered, in place of a file
};

// Renders the whole input. picture: gets to hear both sides when it is not null. Throws Fault; then no output
// has been written and an existing one is untouched. Memory does not grow with the sound's length. Several
// threads may render different files.
RenderStatistics runRenderJob(const RenderJob& job, const RenderSettings& settings, Progress& progress,
                              PitchPicture* picture = nullptr);
