// Runs a fuzz target on the files of a corpus, without an engine: `replay DIRECTORY|FILE ...`. Names each
// file before its run, so that the last name is the one that ended the program. Status 1 when there is none.
#include "fuzz/Target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

void addFiles(const fs::path& path, std::vector<fs::path>& files) {
  if (!fs::is_directory(path)) {
    files.push_back(path);
    return;
  }
  for (const auto& entry : fs::directory_iterator(path))
    if (entry.is_regular_file()) files.push_back(entry.path());
}

// The bytes stand alone in their allocation, so that a checker sees what reads behind them.
bool run(const fs::path& file) {
  std::fprintf(stderr, "%s\n", file.c_str());
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return false;
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return true;
}

} // namespace

int main(int argc, char** argv) {
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i)
    addFiles(fs::absolute(argv[i]), files);
  std::sort(files.begin(), files.end());
  const bool allRan = !files.empty() && std::all_of(files.begin(), files.end(), run);
  std::fprintf(stderr, "%zu inputs replayed\n", files.size());
  return allRan ? 0 : 1;
}
