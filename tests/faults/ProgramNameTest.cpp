// Program names of any length and content, with and without an end.
#include "EndlessText.h"
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <string>

namespace {

constexpr std::size_t kKept = 23; // characters

// Stores a name whose terminator, if it has one, is the last byte that can be read.
void storeName(const ModuleEffect& effect, const std::string& bytes) {
  const EndlessText text(bytes);
  effect.send(kOpSetProgramName, 0, 0, text.data());
}

// The name of a program into a buffer that has just enough room for it, by both ways of asking.
void checkName(const ModuleEffect& effect, int program, const std::string& name) {
  effect.send(kOpSetProgram, 0, program);
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

TEST_CASE("names of every length that ends, in every program, leave the other programs alone") {
  for (std::size_t length : {0u, 1u, 22u, 23u, 24u, 25u, 1000u}) {
    CAPTURE(length);
    const std::string name = letters(length);
    for (int program = 0; program < 16; ++program) {
      ModuleEffect effect;
      effect.send(kOpSetProgram, 0, program);
      storeName(effect, name + '\0');
      checkName(effect, program, name.substr(0, kKept));
      for (int other = 0; other < 16; ++other)
        if (other != program) CHECK(effect.programNameAt(other) == "Init");
      CHECK(effect.values() == std::vector<float>{1.0f, 0.0f, 0.8f, 0.5f, 0.0f});
    }
  }
}

TEST_CASE("a name without an end is read for 23 bytes at most") {
  for (std::size_t length : {23u, 24u, 1000u, 5000u}) {
    CAPTURE(length);
    ModuleEffect effect;
    storeName(effect, letters(length));
    checkName(effect, 0, letters(kKept));
  }
}

TEST_CASE("names keep every byte but the terminator, whatever its character set") {
  for (int first = 1; first < 256; first += static_cast<int>(kKept)) {
    std::string name;
    for (int byte = first; byte < 256 && name.size() < kKept; ++byte)
      name += static_cast<char>(byte);
    ModuleEffect effect;
    storeName(effect, name + '\0');
    checkName(effect, 0, name);
  }
}

// A character of several bytes may be cut: the limit counts bytes.
TEST_CASE("a name in UTF-8 is cut after 23 bytes") {
  std::string name;
  while (name.size() < 30)
    name += "\xE2\x99\xAF"; // a sharp
  ModuleEffect effect;
  storeName(effect, name + '\0');
  checkName(effect, 0, name.substr(0, kKept));
  storeName(effect, std::string("\xC3\x9C") + '\0');
  checkName(effect, 0, "\xC3\x9C");
}
