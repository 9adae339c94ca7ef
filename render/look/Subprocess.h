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
  enum class Input { none, pipe };

  // Starts the program at `path` with arguments (its own name not among them), in a directory. No shell reads
  // them. Its standard output leads nowhere, and so does its input unless that is a pipe from here. Throws
  // Fault (couldNot). Allocates.
  Subprocess(const std::string& path, const std::vector<std::string>& arguments, const std::string& directory,
             Input kind = Input::none);

  // Ends its input and waits for it, if wait() has not.
  ~Subprocess();

  // Where to write its input, a pipe.
  int input() const { return inputEnd; }

  // Ends its input and waits for its end. Call it once.
  SubprocessEnd wait();

private:
  void abandon() noexcept override;
  int collect();

  void endInput();

  pid_t process = -1;
  int inputEnd = -1; // writes what it reads; none when negative
  int errors = -1;   // reads what it says
};
