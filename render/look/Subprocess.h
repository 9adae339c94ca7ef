// Other programs that the renderer makes use of.
#pragma once

#include "render/file/Interruption.h"

#include <string>
#include <sys/types.h>
#include <vector>

// The path of a program in the directories of PATH; empty when there is none. Allocates.
std::string findProgram(const std::string& name);

struct SubprocessEnd {
  int status;            // exit status, or 128 + number of the signal that ended it
  std::string firstLine; // of what it said on its standard error output
};

// A program that runs beside this one. When a signal ends this one, it is ended too.
class Subprocess final : private Unfinished {
public:
  // Starts the program at `path` with arguments (its own name not among them), in a directory. No shell reads
  // them. Its standard input and output lead nowhere. Throws Fault (couldNot). Allocates.
  Subprocess(const std::string& path, const std::vector<std::string>& arguments,
             const std::string& directory);

  // Waits for it, if wait() has not.
  ~Subprocess();

  // Waits for its end. Call it once.
  SubprocessEnd wait();

private:
  void abandon() noexcept override;
  int collect();

  pid_t process = -1;
  int errors = -1; // reads what it says
};
