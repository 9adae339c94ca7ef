#include "render/ModulePath.h"

#include "render/Fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kModuleName[] = "treadshift.so";
constexpr int kPointerBits = 8 * sizeof(void*);

std::string neededModule() { return "a " + std::to_string(kPointerBits) + "-bit " + kModuleName; }

std::vector<fs::path> usualPlaces() {
  std::vector<fs::path> places;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    const fs::path prefix = program.parent_path().parent_path();
    places.push_back(program.parent_path() / kModuleName);
    places.push_back(prefix / TREADSHIFT_LIBDIR / "treadshift" / kModuleName);
    places.push_back(prefix / "lib" / "treadshift" / kModuleName);
  }
  places.push_back(fs::path(TREADSHIFT_FULL_LIBDIR) / "treadshift" / kModuleName);
  return places;
}

std::string searchUsualPlaces() {
  std::vector<fs::path> tried;
  std::string list;
  for (const fs::path& place : usualPlaces()) {
    std::error_code error;
    if (fs::exists(place, error)) return place;
    if (std::find(tried.begin(), tried.end(), place) != tried.end()) continue;
    tried.push_back(place);
    list += (list.empty() ? "" : ", ") + place.string();
  }
  throw Fault(ExitStatus::couldNot, "module", kModuleName, "not found at " + list,
              "build it, install it, or name it with --module");
}

// Looks at the file before the dynamic linker does, whose messages speak of ELF classes.
void checkFile(const std::string& path) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "module", path, wrong, "give " + neededModule());
  };
  std::error_code error;
  if (!fs::exists(path, error)) fail(error ? error.message() : "no such file");
  if (!fs::is_regular_file(path, error)) fail("not a file");
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(std::strerror(errno));
  unsigned char identity[EI_NIDENT] = {};
  file.read(reinterpret_cast<char*>(identity), sizeof identity);
  if (std::memcmp(identity, ELFMAG, SELFMAG) != 0) fail("not a module");
  const int bits = identity[EI_CLASS] == ELFCLASS64 ? 64 : 32;
  if (bits != kPointerBits) fail("a " + std::to_string(bits) + "-bit module");
}

} // namespace

std::string findModule(const std::string& given) {
  const std::string path = given.empty() ? searchUsualPlaces() : fs::absolute(given).string();
  checkFile(path);
  return path;
}
