#include "render/file/TemporaryDirectory.h"

#include "render/file/ScratchFile.h"
#include "render/text/Fault.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

TemporaryDirectory::TemporaryDirectory() {
  std::string name = temporaryDirectory() + "/treadshift-render-XXXXXX";
  const Holding hold;
  if (!mkdtemp(name.data())) {
    throw Fault(ExitStatus::couldNot, "temporary directory in", temporaryDirectory(), std::strerror(errno),
                "make room, or name another place with TMPDIR");
  }
  directory = name;
  enlist();
}

TemporaryDirectory::~TemporaryDirectory() {
  const Holding hold;
  finish();
  abandon();
}

void TemporaryDirectory::abandon() noexcept {
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}
