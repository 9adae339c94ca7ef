// One call of the program: a sound file in, another out.
#pragma once

#include "render/Controls.h"

#include <string>

struct RenderJob {
  std::string inputPath;
  std::string outputPath;
  std::string modulePath; // empty: the module that belongs to this program
  Controls controls;
  int blockFrames = 256; // frames handed to the effect at once
  bool quiet = false;    // nothing but errors on the standard error output
};

// Prints one line on the standard error output, after the program's name.
void printMessage(const std::string& line);

// Renders the whole input. Throws Fault; then no output has been written and an existing one is untouched.
// Memory does not grow with the sound's length.
void runRenderJob(const RenderJob& job);
