// Program names of any length and content, with and without an end.
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t kKept = 23; // characters

// Bytes right in front of a page that cannot be touched: a text without its terminator, or a buffer without a
// byte to spare.
class EndlessText {
public:
  explicit EndlessText(const std::string& bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t readable = (bytes.size() / page + 1) * page;
    mapped = readable + page;
    void* const memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no pages");
    pages = static_cast<char*>(memory);
    if (mprotect(pages + readable, page, PROT_NONE) != 0) throw std::runtime_error("no guard page");
    begin = std::copy_backward(bytes.begin(), bytes.end(), pages + readable);
  }
  ~EndlessText() { munmap(pages, mapped); }
  EndlessText(const EndlessText&) = delete;
  EndlessText& operator=(const EndlessText&) = delete;

  char* data() const { return begin; }

private:
  std::size_t mapped; // bytes
  char* pages;
  char* begin;
};

// Stores a name whose terminator, if it has one, is the last byte that can be read.
void storeName(const ModuleEffect& effect, const std::string& bytes) {
  const EndlessText text(bytes);
  effect.send(kOpSetProgramName, 0, 0, text.data());
}

// The name of the program into a buffer that has just enough room for it, by both ways of asking.
void checkName(const ModuleEffect& effect, int program, const std::string& name) {
  const EndlessText current(std::string(name.size() + 1, '~'));
  effect.send(kOpGetProgramName, 0, 0, current.data());
  CHECK(current.data() == name);
  const EndlessText indexed(std::string(name.size() + 1, '~'));
  CHECK(effect.send(kOpGetProgramNameIndexed, program, 0, indexed.data()) == 1);
  CHECK(indexed.data() == name);
}

std::string letters(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    text += static_cast<char>('a' + i % 26);
  return text;
}

} // namespace

// Without an end a name is read for 23 bytes at most.
TEST_CASE("names of every length, in every program, leave the other programs alone") {
  for (std::size_t length : {0u, 1u, 22u, 23u, 24u, 25u, 1000u, 5000u}) {
    CAPTURE(length);
    const std::string name = letters(length);
    for (int program = 0; program < 16; ++program) {
      ModuleEffect effect;
      effect.send(kOpSetProgram, 0, program);
      storeName(effect, name + '\0');
      checkName(effect, program, name.substr(0, kKept));
      if (length >= kKept) {
        storeName(effect, "other" + std::string(1, '\0'));
        storeName(effect, name);
        checkName(effect, program, name.substr(0, kKept));
      }
      for (int other = 0; other < 16; ++other)
        if (other != program) CHECK(effect.programNameAt(other) == "Init");
      CHECK(effect.values() == std::vector<float>{1.0f, 0.0f, 0.8f, 0.5f, 0.0f});
    }
  }
}

// A character of several bytes may be cut: the limit counts bytes.
TEST_CASE("names keep every byte but the terminator, whatever its character set") {
  for (int first = 1; first < 256; first += static_cast<int>(kKept)) {
    std::string name;
    for (int byte = first; byte < 256 && name.size() < kKept; ++byte)
      name += static_cast<char>(byte);
    ModuleEffect effect;
    storeName(effect, name + "\xE2\x99\xAF" + '\0'); // a sharp
    checkName(effect, 0, (name + "\xE2\x99\xAF").substr(0, kKept));
  }
}
