// Plays a sound file on the default sound device, through whichever player the system has.
#pragma once

#include <string>
#include <vector>

class Player {
public:
  // Looks for players in PATH. Throws Fault (couldNot) naming the packages when there is none. Allocates.
  Player();

  // Plays the file to its end: with the first player that succeeds. shownName: what the user knows it as.
  // Throws Fault (couldNot) when none does. Allocates.
  void play(const std::string& path, const std::string& shownName) const;

private:
  struct Program {
    std::string name;
    std::string path;
    std::vector<std::string> options;
    bool plainFilesOnly; // WAV and AU
  };

  std::vector<Program> programs;
};
