// What the user wrote, and what it asks for.
#pragma once

#include "render/command/ControlOptions.h"
#include "render/job/Batch.h"
#include "render/job/RenderJob.h"
#include "render/job/SettingsNote.h"
#include "render/text/Fault.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class CommandLine {
public:
  CommandLine();
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Takes the words in. The text to print when they ask for help or the version, which ends the call. With
  // --again the settings that a file's comment tells come before the user's own. Throws Fault: wrongCall for
  // an option that lacks its value or takes none, couldNot when the comment tells no settings. Allocates.
  std::optional<std::string> parse(int argc, char** argv);

  // Throws Fault (wrongCall) for what does not go together: unknown and repeated options, lists beside files,
  // several recordings without a directory, invalid values, and so on. The operations below count on
  // it.
  void check() const;

  // Whether there are recordings to render, so that the rest below applies.
  bool renders() const { return !files.empty(); }

  // The settings as far as the command line has them; the module is what the user gave. Throws Fault.
  RenderSettings settings() const;
  Controls controls() const { return controlsFrom(controlOptions); }

  // The inputs: all files, or all but the output's name.
  std::vector<std::string> inputs() const;

  // Whether the only input has an output to keep.
  bool namesOutput() const;

  // The settings to compare, over the controls in force; none when that is not asked for. Throws Fault.
  std::vector<Variant> variants(const Controls& controls) const;

  // The jobs for named outputs; see jobsInto for those with a directory. Throws Fault (wrongCall).
  std::vector<RenderJob> jobs(const std::vector<Variant>& variants = {}) const;

  // The job for an output of this call's own at `path`, a WAV file, or for the player. player: may be null.
  RenderJob ownJob(const std::string& path, const Player* player) const;

  int parallelJobs() const; // Throws Fault (wrongCall).
  BatchReports reports() const;

  std::string module, outDirectory, plot;
  std::string again; // a file whose settings are repeated
  ControlOptions controlOptions;
  bool show = false, play = false, quiet = false, noClobber = false, yes = false;

private:
  void addFileOptions();
  void addMixOptions();
  void addLookingOptions();
  void addOtherOptions();
  void refuseExtras() const;
  void refuseRepeats() const;
  void refuseEmptyNames() const;
  void refuseValues() const;
  void refuseFilesBesideLists() const;
  void refuseNumberOfFiles() const;
  void refuseSeveralAtOnce() const;
  void refuseUnheardOutput() const;
  void refuseVariants() const;
  bool comparesVariants() const { return controlOptions.eachColor || controlOptions.eachPreset; }
  double timeOf(const char* option, const std::string& text) const;
  void refuseDirectory(const std::string& output) const;
  RenderSettings settingsWithoutControls() const;
  void parseAll(int argc, char** argv);
  void parseAgain(const std::vector<std::string>& words);
  void refuseLostSettings() const;
  void note(RenderSettings& settings) const;
  std::string nearestOption(const std::string& name) const;
  bool given(const char* option) const;
  bool onlyLists() const;

  std::unique_ptr<CLI::App> app; // its class takes long to compile, so only the source knows it
  std::vector<std::string> files;
  std::string type, bits, channels, gain, tail, from, to, dryGain, jobCount, block, stats;
  bool normalize = false, dither = false, verbose = false, wet = false, align = false, noTags = false;
};
