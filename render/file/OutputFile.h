// A file that appears under its name only when it is whole.
#pragma once

#include "render/file/Interruption.h"
#include "render/file/Output.h"

#include <string>

// Writes go to a temporary file in the output's own directory, which takes the output's place in one step.
// Until then an existing output stays as it is. The temporary file is removed when the object goes away
// unfinished, and when a signal ends the program.
class OutputFile final : public Output, private Unfinished {
public:
  // name: where the file shall appear; links are followed, wherever they lead. mayReplace: whether it may
  // take the place of a file that is there, now or when it is whole. Throws Fault (couldNot) when the place
  // cannot take a file: taken, not a regular file, write-protected, or its directory missing or not writable.
  // Allocates.
  explicit OutputFile(const std::string& name, bool mayReplace = true);

  // Removes the temporary file unless publish() has come.
  ~OutputFile() override;

  // Open for reading and writing, empty at first.
  int descriptor() const override { return file; }
  const std::string& name() const override { return path; }

  // Brings everything to the disk and gives the file its name. Throws Fault (couldNot).
  void publish() override;

private:
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;
  [[noreturn]] void failTaken() const;
  void createTemporary();
  bool takeName() const;
  void abandon() noexcept override;

  std::string path;   // as the user gave it
  std::string target; // what `path` leads to
  std::string temporaryPath;
  bool replaces;
  unsigned mode = 0; // permissions of the finished file
  int file = -1;
};

// Whether two paths lead to one and the same file. False when one of them does not exist.
bool isSameFile(const std::string& first, const std::string& second);

// The directory in which the file of that path is or would be.
std::string directoryOf(const std::string& path);
