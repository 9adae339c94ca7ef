#include "render/module/ModulePath.h"

#include "render/module/ModuleFile.h"
#include "render/text/Fault.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kModuleName[] = "treadshift.so";
constexpr char kWorkerName[] = "treadshift-worker32";
constexpr char kFolder[] = "treadshift"; // of this project in a system's directories
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
  std::string found = firstOf(places);
  if (found.empty()) {
    throw Fault(ExitStatus::couldNot, "module", kModuleName, "not found at " + listOf(places),
                "build it, install it, or name it with --module");
  }
  return found;
}

} // namespace

std::string findModule(const std::string& given) {
  std::string path = given.empty() ? ownModule() : fs::absolute(given).string();
  openerOf(path);
  return path;
}

std::string findWorker(const std::string& modulePath) {
  const auto places =
      usualPlaces(kWorkerName, {TREADSHIFT_LIBEXECDIR, "libexec"}, TREADSHIFT_FULL_LIBEXECDIR);
  std::string found = firstOf(places);
  if (found.empty()) {
    throw Fault(ExitStatus::couldNot, "module", modulePath,
                "a 32-bit module, and the worker that opens those is not found at " + listOf(places),
                "build it with g++-multilib, or give a 64-bit treadshift.so");
  }
  return found;
}
