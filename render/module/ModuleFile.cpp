#include "render/module/ModuleFile.h"

#include "render/text/Fault.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr int kPointerBits = 8 * sizeof(void*);

[[noreturn]] void fail(const std::string& path, const std::string& wrong,
                       const std::string& right = "give a treadshift.so") {
  throw Fault(ExitStatus::couldNot, "module", path, wrong, right);
}

[[noreturn]] void failWidth(const std::string& path, bool isWide) {
  fail(path, isWide ? "a 64-bit module" : "a 32-bit module",
       "give a " + std::to_string(kPointerBits) + "-bit treadshift.so");
}

template <typename Record> bool readAt(std::ifstream& file, std::uint64_t offset, Record& record) {
  file.seekg(static_cast<std::streamoff>(offset));
  return static_cast<bool>(file.read(reinterpret_cast<char*>(&record), sizeof record));
}

// Whether everything that is to be loaded is there. File: its header; Segment: an entry of its table.
template <typename File, typename Segment> bool isWhole(std::ifstream& file, std::uint64_t bytes) {
  File header;
  if (!readAt(file, 0, header)) return false;
  for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
    Segment segment;
    if (!readAt(file, header.e_phoff + i * header.e_phentsize, segment)) return false;
    if (segment.p_type != PT_LOAD) continue;
    if (segment.p_offset > bytes || segment.p_filesz > bytes - segment.p_offset) return false;
  }
  return true;
}

} // namespace

ModuleOpener openerOf(const std::string& path) {
  std::error_code error;
  if (!fs::exists(path, error)) fail(path, error ? error.message() : "no such file");
  if (!fs::is_regular_file(path, error)) fail(path, "not a file");
  const std::uint64_t bytes = fs::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) fail(path, error ? error.message() : std::strerror(errno));
  Elf32_Ehdr header = {}; // both widths have the fields used here at the same places
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) fail(path, "not a module");
  file.clear();
  const bool isWide = header.e_ident[EI_CLASS] == ELFCLASS64;
  const bool isComplete =
      isWide ? isWhole<Elf64_Ehdr, Elf64_Phdr>(file, bytes) : isWhole<Elf32_Ehdr, Elf32_Phdr>(file, bytes);
  if (!isComplete) fail(path, "cut short");
  if (isWide == (kPointerBits == 64)) return ModuleOpener::thisProgram;
  if (isWide || header.e_machine != EM_386) failWidth(path, isWide);
  return ModuleOpener::worker;
}
