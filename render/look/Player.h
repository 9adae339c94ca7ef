// Plays sounds on the default sound device, through whichever player the system has.
#pragma once

#include "render/file/Output.h"
#include "render/look/Subprocess.h"

#include <memory>
#include <string>
#include <vector>

class Player {
public:
  // Looks for players in PATH. Throws Fault (couldNot) naming the packages when there is none. Allocates.
  Player();

  // Plays the file to its end: with the first player that succeeds. shownName: what the user knows it as.
  // Throws Fault (couldNot) when none does. Allocates.
  void play(const std::string& path, const std::string& shownName) const;

  // Takes a sound of type AU as it comes and plays it meanwhile, with the first player that plays a moment of
  // silence. shownName: the recording. Its publish() waits until all is heard. Throws Fault (couldNot) when
  // no player works, now or later. Allocates. The Player need not outlive it.
  std::unique_ptr<Output> stream(const std::string& shownName) const;

private:
  struct Program {
    std::string name;
    std::string path;
    std::vector<std::string> options;
    std::vector<std::string> streamOptions; // to play what comes on the standard input
    bool plainFilesOnly;                    // WAV and AU
  };
  class Stream;

  const Program& worksFor(const std::string& shownName) const;
  [[noreturn]] static void fail(const std::string& shownName, const std::string& failures);

  std::vector<Program> programs;
};
