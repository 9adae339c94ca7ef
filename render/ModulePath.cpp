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
constexpr char kWorkerName[] = "treadshift-worker32";
constexpr char kFolder[] = "treadshift"; // of this project in a system's directories
constexpr int kPointerBits = 8 * sizeof(void*);

// What can open a module.
enum class Reader { thisProgram, worker, nothing };

struct Identity {
  bool isElf;
  int bits;
  Reader reader;
};

// Where a file of this project lies: beside the program in a build tree, else in a directory of the prefix
// whose name `relative` is, else in the directory that this build was configured for.
std::vector<fs::path> usualPlaces(const char* name, const std::vector<std::string>& relative,
                                  const char* configured) {
  std::vector<fs::path> places;
  const auto add = [&](const fs::path& place) {
    if (std::find(places.begin(), places.end(), place) == places.end()) places.push_back(place);
  };
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    const fs::path prefix = program.parent_path().parent_path();
    add(program.parent_path() / name);
    for (const std::string& directory : relative)
      add(prefix / directory / kFolder / name);
  }
  add(fs::path(configured) / kFolder / name);
  return places;
}

// The first place where there is something; empty when there is nothing at any.
std::string firstOf(const std::vector<fs::path>& places) {
  std::error_code error;
  const auto found =
      std::ranges::find_if(places, [&](const fs::path& place) { return fs::exists(place, error); });
  return found == places.end() ? std::string() : found->string();
}

std::string listOf(const std::vector<fs::path>& places) {
  std::string list;
  for (const fs::path& place : places)
    list += (list.empty() ? "" : ", ") + place.string();
  return list;
}

std::string ownModule() {
  const auto places = usualPlaces(kModuleName, {TREADSHIFT_LIBDIR, "lib"}, TREADSHIFT_FULL_LIBDIR);
  const std::string found = firstOf(places);
  if (found.empty()) {
    throw Fault(ExitStatus::couldNot, "module", kModuleName, "not found at " + listOf(places),
                "build it, install it, or name it with --module");
  }
  return found;
}

[[noreturn]] void fail(const std::string& path, const std::string& wrong) {
  throw Fault(ExitStatus::couldNot, "module", path, wrong,
              "give a " + std::to_string(kPointerBits) + "-bit " + kModuleName);
}

// Only the 32-bit modules of this processor's family have a worker, and only under a 64-bit program.
Reader readerOf(int bits, const Elf32_Ehdr& header) {
  if (bits == kPointerBits) return Reader::thisProgram;
  return bits == 32 && header.e_machine == EM_386 ? Reader::worker : Reader::nothing;
}

// Looks at the file before the dynamic linker does, whose messages speak of ELF classes.
Identity identityOf(const std::string& path) {
  std::error_code error;
  if (!fs::exists(path, error)) fail(path, error ? error.message() : "no such file");
  if (!fs::is_regular_file(path, error)) fail(path, "not a file");
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(path, std::strerror(errno));
  Elf32_Ehdr header = {}; // both widths have the fields in question at the same places
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return {false, 0, Reader::nothing};
  const int bits = header.e_ident[EI_CLASS] == ELFCLASS64 ? 64 : 32;
  return {true, bits, readerOf(bits, header)};
}

void checkFile(const std::string& path) {
  const Identity identity = identityOf(path);
  if (!identity.isElf) fail(path, "not a module");
  if (identity.reader == Reader::nothing) fail(path, "a " + std::to_string(identity.bits) + "-bit module");
}

} // namespace

std::string findModule(const std::string& given) {
  const std::string path = given.empty() ? ownModule() : fs::absolute(given).string();
  checkFile(path);
  return path;
}

bool needsWorker(const std::string& modulePath) { return identityOf(modulePath).reader == Reader::worker; }

std::string findWorker(const std::string& modulePath) {
  const auto places =
      usualPlaces(kWorkerName, {TREADSHIFT_LIBEXECDIR, "libexec"}, TREADSHIFT_FULL_LIBEXECDIR);
  const std::string found = firstOf(places);
  if (found.empty())
    fail(modulePath, std::string("a 32-bit module, and its worker is not found at ") + listOf(places));
  return found;
}
