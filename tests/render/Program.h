// Runs treadshift-render as a user does, in a directory of its own.
#pragma once

#include "SoundFiles.h"
#include "tests/support/Files.h"

#include <string>
#include <sys/types.h>
#include <vector>

using Names = std::vector<std::string>;

// Names of everything in a directory, hidden files included, sorted.
Names namesIn(const std::string& directory);

// A new empty directory that is the working one, so that files have short names; it goes away with everything
// in it.
class Workspace {
public:
  Workspace();
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  std::string path(const std::string& name) const { return directory + "/" + name; }
  Names names() const { return namesIn(directory); }

private:
  std::string before, directory;
};

struct Outcome {
  int status = -1;        // exit status, or 128 + number of the signal that ended the program
  std::string out;        // standard output
  std::string err;        // standard error output, without ...
  std::string cutTails;   // ... the lines about bent sound cut off at the end: noise always has some
  long peakKilobytes = 0; // the most memory that it had at one time
};

// What the child process has that a user's shell could give it.
struct Surroundings {
  bool errorIsTerminal = false;
  bool outputIsTerminal = false;
  bool ignoresHangUp = false; // as under nohup
  Names environment;          // NAME=value, over what the tests were started with
  long largestFileBytes = -1; // limit on the size of files, none when negative
};

// Whether this system has pseudo-terminals to run a program on; says so when it has none, as in bare
// containers.
bool hasTerminals();

// Whether all of these programs are installed; says so when one is not. names: blanks between them.
bool isInstalled(const std::string& names);

// A running program; wait() collects it.
class Program {
public:
  // Starts treadshift-render. arguments: as typed in a shell.
  explicit Program(const std::string& arguments, const Surroundings& surroundings = {});

  bool isRunning() const;

  // Blocks until there is something to read, or the program has ended. Whether there is.
  bool awaitReadable(int descriptor) const;

  // Until it has so many files open for writing that are or will be in a directory, or has ended. They need
  // not have a name yet.
  void awaitOutputs(const std::string& directory, int count = 1) const;
  void signal(int number) const;
  Outcome wait();

private:
  friend Outcome shell(const std::string& line, const Surroundings& surroundings);
  struct Line {
    std::string text;
  };
  Program(const Line& line, const Surroundings& surroundings);
  int filesWrittenIn(const std::string& directory) const;

  pid_t child = -1;
  int outEnd = -1, errEnd = -1; // ends to read from
};

// Runs the program to its end. arguments: as typed in a shell.
Outcome render(const std::string& arguments, const Surroundings& surroundings = {});

// Renders a sound, in.wav, to out.wav, which must go well and tell nothing, or something that holds `notice`.
Sound rendered(const Sound& in, const std::string& options, const std::string& notice = "");

// A call that must be refused with that status, without any output or change of a file's name. message: how
// the one line on standard error goes on behind "treadshift-render: "; with its end it is the whole line.
void checkRefused(int status, const std::string& arguments, const std::string& message,
                  const Surroundings& surroundings = {});

// Runs a line of shell in which the program can be called by its name and keeps its temporary files here.
Outcome shell(const std::string& line, const Surroundings& surroundings = {});

// A line of shell that must go well.
Outcome sh(const std::string& line);

// Surroundings with a PATH of one directory, "programs", and temporary files here. The directory gets an
// executable script of that name; "" makes none. The shell's own commands are reached by their full names.
Surroundings withProgram(const std::string& name, const std::string& script);

bool holds(const std::string& text, const std::string& part);
Names linesOf(const std::string& text);
void writeBytes(const std::string& path, const std::string& bytes);

// A named pipe into which whoever the program starts writes lines.
class Bell {
public:
  explicit Bell(const std::string& name);
  ~Bell();
  Bell(const Bell&) = delete;
  Bell& operator=(const Bell&) = delete;

  // Blocks until the next line is there: without its end, and empty when the program has ended instead.
  std::string nextLine(const Program& program) const;

private:
  int end;
};

// A recording that comes through a named pipe in two parts, so that a program waits in the middle of its
// work.
class SlowInput {
public:
  // Puts the pipe in the place of a file. firstBytes: of the file, at most what a pipe holds.
  explicit SlowInput(const std::string& name, long firstBytes = 20000);
  ~SlowInput();
  SlowInput(const SlowInput&) = delete;
  SlowInput& operator=(const SlowInput&) = delete;

  void handFirst();
  void handRest();

private:
  std::string name, bytes;
  long first;
  int input = -1;
};
