// A directory for the files of other programs, gone with everything in it when it is done with.
#pragma once

#include "render/file/Interruption.h"

#include <string>

class TemporaryDirectory final : private Unfinished {
public:
  // Makes it where temporary files go. Throws Fault (couldNot). Allocates.
  TemporaryDirectory();
  ~TemporaryDirectory();

  const std::string& path() const { return directory; }

private:
  void abandon() noexcept override;

  std::string directory;
};
