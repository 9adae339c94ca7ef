// A directory of its own for command lines to find files in.
#pragma once

#include <string>

// Makes the directory and what a line may name there, and works in it until the program ends: "take.mid",
// "sweep.csv", "mine.conf", "in.wav", "dir". Everything goes away with the program.
class LineFiles {
public:
  LineFiles();
  ~LineFiles();
  LineFiles(const LineFiles&) = delete;
  LineFiles& operator=(const LineFiles&) = delete;

private:
  std::string directory;
};

// A word of a command line that leads to no place outside the working directory.
std::string confined(std::string word);
