// All recordings of a call, rendered side by side.
#pragma once

#include "render/job/RenderJob.h"
#include "render/text/Fault.h"

#include <string>
#include <vector>

class PitchPicture;

struct BatchReports {
  bool quiet = false;     // nothing but errors
  bool tellsMore = false; // a line of statistics per file
  bool json = false;      // an object per file, in the order of the files
  bool jsonAside = false; // ... on the standard error output, for the other one carries a sound
};

// One of several settings that a recording is rendered in.
struct Variant {
  std::string name; // as it goes into a file name
  Controls controls;
};

// Names an output in `directory` after each input, with the input's extension if that can be written, else
// .wav; type: the output's, null: as the extension says. variants: settings to render each input in, whose
// names stand behind the input's: take.wav becomes take-octave-up.wav; none: in the call's own. Throws Fault
// (wrongCall) when two outputs would have one name, or an output would replace an input. Allocates.
std::vector<RenderJob> jobsInto(const std::string& directory, const std::vector<std::string>& inputs,
                                const SoundType* type, const std::vector<Variant>& variants = {});

// Runs all jobs, so many at a time; what is wrong with one does not keep the others. Prints errors, and what
// the reports say. picture: for a single job. Result: done when all went well; a single job's own status;
// couldNot when any of several failed. Throws Fault (couldNot) when a report cannot be printed. Allocates.
ExitStatus runBatch(const std::vector<RenderJob>& jobs, const RenderSettings& settings, int parallel,
                    const BatchReports& reports, PitchPicture* picture);
