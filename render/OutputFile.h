// A file that appears under its name only when it is whole.
#pragma once

#include <string>

// Writes go to a temporary file in the output's own directory, which takes the output's place in one step.
// Until then an existing output stays as it is. The temporary file is removed when the object goes away
// unfinished, and when a signal ends the program. One such file exists at a time.
class OutputFile {
public:
  // name: where the file shall appear; a link is followed. Throws Fault (couldNot) when the place cannot
  // take a file: not a regular file, write-protected, or its directory missing or not writable. Allocates.
  explicit OutputFile(const std::string& name);

  // Removes the temporary file unless publish() has come.
  ~OutputFile();

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Open for reading and writing, empty at first.
  int descriptor() const { return file; }
  const std::string& name() const { return path; }

  // Brings everything to the disk and gives the file its name. Throws Fault (couldNot).
  void publish();

private:
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;
  void createTemporary();

  std::string path;   // as the user gave it
  std::string target; // what `path` leads to
  std::string temporaryPath;
  unsigned mode = 0; // permissions of the finished file
  int file = -1;
};

// Whether two paths lead to one and the same file. False when one of them does not exist.
bool isSameFile(const std::string& first, const std::string& second);
