// The word with which a processor is told how to treat floating-point numbers, for the processors that this
// project is built for.
#pragma once

#include "dsp/ScopedNames.h"

#if defined(__i386__) || defined(__x86_64__)
#include <xmmintrin.h>
#elif !defined(__aarch64__) && !(defined(__arm__) && defined(__ARM_FP) && (__ARM_FP & 8))
#error "no flush-to-zero is known for this processor: add its control word here"
#endif

namespace treadshift {

// The bit that makes results flush: tiny (denormal) results of additions and multiplications become zero of
// their sign. x86: bit 15 of MXCSR, which leaves tiny operands as they are. ARM: bit 24 of FPCR (64-bit) or
// FPSCR (32-bit), which makes tiny operands count as zero too; these processors have one bit for both.
#if defined(__i386__) || defined(__x86_64__)
inline constexpr unsigned kFlushBit = 1U << 15;
#else
inline constexpr unsigned kFlushBit = 1U << 24;
#endif

// The calling thread's word, whole. [any thread] Allocates nothing.
inline unsigned controlWord() noexcept {
#if defined(__i386__) || defined(__x86_64__)
  return _mm_getcsr();
#elif defined(__aarch64__)
  unsigned long word; // the register is read as 64 bits, of which the upper half is reserved
  asm volatile("mrs %0, fpcr" : "=r"(word)::"memory");
  return static_cast<unsigned>(word);
#else
  unsigned word;
  asm volatile("vmrs %0, fpscr" : "=r"(word)::"memory");
  return word;
#endif
}

// Makes `word` the calling thread's, whole: what was read before is put back as it was. [any thread]
// Allocates nothing.
inline void setControlWord(unsigned word) noexcept {
#if defined(__i386__) || defined(__x86_64__)
  _mm_setcsr(word);
#elif defined(__aarch64__)
  asm volatile("msr fpcr, %0" ::"r"(static_cast<unsigned long>(word)) : "memory");
#else
  asm volatile("vmsr fpscr, %0" ::"r"(word) : "cc", "memory");
#endif
}

} // namespace treadshift
