// Runs treadshift-render as a user does, in a directory of its own.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// A new empty directory that goes away with everything in it.
class Workspace {
public:
  Workspace();
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  std::string path(const std::string& name) const { return directory + "/" + name; }

  // Names of everything inside, hidden files included, sorted.
  std::vector<std::string> names() const;

private:
  std::string directory;
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
  bool ignoresHangUp = false;           // as under nohup
  std::string input = "/dev/null";      // file on the standard input
  std::string directory = ".";          // to run in
  std::vector<std::string> environment; // NAME=value, over what the tests were started with
  long largestFileBytes = -1;           // limit on the size of files, none when negative
};

// Whether this system has pseudo-terminals to run a program on; bare containers have none.
bool hasTerminals();

// A running program; wait() collects it.
class Program {
public:
  explicit Program(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

  // Runs any command line; its first word is the program's path.
  static Program command(const std::vector<std::string>& words, const Surroundings& surroundings);

  bool isRunning() const;

  // The files that it has open for writing and that are or will be in a directory; they need not have a name
  // yet.
  int filesWrittenIn(const std::string& directory) const;
  void signal(int number) const;
  Outcome wait();

private:
  Program() = default;
  void start(const std::vector<std::string>& words, const Surroundings& surroundings);

  pid_t child = -1;
  int outEnd = -1, errEnd = -1; // ends to read from
};

// Runs the program to its end.
Outcome render(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

// Runs a line of shell in which the program can be called by its name.
Outcome shell(const std::string& line, const Surroundings& surroundings = {});

// A PATH of one directory, which holds only an executable script of that name; "" makes none. The shell's own
// commands are reached by their full names.
std::string pathWith(const Workspace& work, const std::string& name, const std::string& script);

bool holds(const std::string& text, const std::string& part);

std::string fileBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);
