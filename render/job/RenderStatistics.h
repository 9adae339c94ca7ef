// What can be told of a rendering when it is done.
#pragma once

#include "render/module/LatencyProbe.h"
#include "render/sound/SoundFormat.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct RenderStatistics {
  std::string inputPath, outputPath; // as the user gave them; no output: empty
  SoundInfo output;                  // as written
  double elapsedSeconds = 0.0;       // from opening to the finished output
  double peak = 0.0;                 // largest magnitude of the output before clipping; full scale is 1
  double gainDb = 0.0;               // applied to the bent sound, normalizing included
  std::int64_t clippedSamples = 0;
  std::int64_t unusableSamples = 0; // of the input, taken as silence
  std::optional<Latency> latency;   // when it was asked for and there is one
  std::vector<std::string> notices; // what the user should know about the output
  std::vector<std::string> details; // what a user may want to know

  double seconds() const { return static_cast<double>(output.frames) / output.rateHz; }
};

// One line for people: length, format, speed against real time, peak, clips, latency. Allocates.
std::string statisticsText(const RenderStatistics& statistics);

// One line of JSON, an object. Allocates.
std::string statisticsJson(const RenderStatistics& statistics);

// The same for a file that could not be rendered: its names and the reason. Allocates.
std::string failureJson(const std::string& inputPath, const std::string& outputPath,
                        const std::string& reason);
