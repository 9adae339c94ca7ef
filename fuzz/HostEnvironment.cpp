#include "fuzz/HostEnvironment.h"

#include "fuzz/Check.h"

#include <x86intrin.h>

namespace {

constexpr std::uint32_t kStickyFlags = 0x3F;
constexpr unsigned kDirectionFlag = 0x400;

std::uint16_t x87ControlWord() {
  std::uint16_t word = 0;
  __asm__ volatile("fnstcw %0" : "=m"(word));
  return word;
}

} // namespace

HostEnvironment::HostEnvironment(std::uint32_t word, bool keepsFlags)
    : ownWord(_mm_getcsr()), hostWord(word), compared(keepsFlags ? ~0U : ~kStickyFlags),
      x87Word(x87ControlWord()) {
  _mm_setcsr(hostWord);
}

HostEnvironment::~HostEnvironment() {
  const std::uint32_t left = _mm_getcsr();
  _mm_setcsr(ownWord);
  expect(((left ^ hostWord) & compared) == 0, "the host's SSE control word is changed");
  expect(x87ControlWord() == x87Word, "the host's x87 control word is changed");
  expect((__readeflags() & kDirectionFlag) == 0, "the direction flag is left set");
}
