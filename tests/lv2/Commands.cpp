#include "Commands.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <doctest/doctest.h>
#include <filesystem>
#include <sys/wait.h>

namespace fs = std::filesystem;

CommandResult runCommand(const std::string& command) {
  const std::string bundles = fs::path(TREADSHIFT_BUNDLE).parent_path();
  FILE* const pipe =
      popen(("{ LC_ALL=C LV2_PATH='" + bundles + ":/usr/lib/lv2' " + command + "; } 2>&1").c_str(), "r");
  REQUIRE(pipe);
  CommandResult result = {};
  std::array<char, 4096> piece;
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe))
    result.text.append(piece.data(), count);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

TemporaryDirectory::TemporaryDirectory() {
  std::string name = fs::temp_directory_path() / "treadshift-lv2-XXXXXX";
  REQUIRE(mkdtemp(name.data()) != nullptr);
  directory = name;
}

TemporaryDirectory::~TemporaryDirectory() { fs::remove_all(directory); }
