#include "fuzz/LineFiles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view
    kTake("MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\x0C\0\xB0\x0B\0\x60\xB0\x0B\x7F\0\xFF\x2F\0", 34);
constexpr char kCourse[] = "seconds,value\n0,0\n1.5,1 # up\n3,0.25\n";
constexpr char kPresets[] = "[one]\ncolor = 4\ntone = 0.5\n[two]\ndescription = low\npedal = 0\non = on\n";

void write(const char* name, std::string_view bytes) { std::ofstream(name, std::ios::binary) << bytes; }

} // namespace

LineFiles::LineFiles() : directory(fs::temp_directory_path() / "treadshift-fuzz-XXXXXX") {
  if (!mkdtemp(directory.data())) std::abort();
  fs::current_path(directory);
  write("take.mid", kTake);
  write("sweep.csv", kCourse);
  write("mine.conf", kPresets);
  write("in.wav", "");
  fs::create_directory("dir");
}

LineFiles::~LineFiles() {
  std::error_code ignored;
  fs::current_path("/", ignored);
  fs::remove_all(directory, ignored);
}

// A slash stays only behind a letter or digit, where it cannot begin a path.
std::string confined(std::string word) {
  std::string kept;
  for (char character : word) {
    const bool begins = kept.empty() || !std::isalnum(static_cast<unsigned char>(kept.back()));
    if (character == '/' && begins) continue;
    if (character == '.' && !kept.empty() && kept.back() == '.') continue;
    kept += character;
  }
  return kept;
}
