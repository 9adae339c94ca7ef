// Runs other people's programs and looks at what they leave.
#pragma once

#include <string>

struct CommandResult {
  int status;       // exit status, -1 when a signal ended it
  std::string text; // both outputs
};

// Runs a shell command with only the built bundle and the system's own LV2 data in sight.
CommandResult runCommand(const std::string& command);

// A new empty directory that goes away with everything in it.
class TemporaryDirectory {
public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string path(const std::string& name) const { return directory + "/" + name; }

private:
  std::string directory;
};
