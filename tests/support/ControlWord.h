// The processor's floating-point control word and words that hosts may have in it, for tests. Written beside
// the project's own access, which it judges.
#pragma once

#include <array>

#if defined(__i386__) || defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace word {

#if defined(__i386__) || defined(__x86_64__)
inline unsigned read() { return _mm_getcsr(); }
inline void write(unsigned bits) { _mm_setcsr(bits); }
constexpr unsigned kDefault = 0x1F80;
constexpr unsigned kFlush = 0x8000;             // tiny results become 0
constexpr unsigned kTinyOperandsAreZero = 0x40; // and tiny operands count as 0
constexpr unsigned kRounding = 0x6000;          // both bits: towards zero; neither: to nearest
constexpr unsigned kRoundUp = 0x4000;
constexpr unsigned kRaised = 0x3F; // marks of what happened
constexpr unsigned kOneRaised = 0x01;
constexpr unsigned kArmed = 0x1F80; // traps, armed where a bit is 0
#elif defined(__aarch64__) || defined(__arm__)
#ifdef __aarch64__
inline unsigned read() {
  unsigned long bits;
  asm volatile("mrs %0, fpcr" : "=r"(bits)::"memory");
  return static_cast<unsigned>(bits);
}
inline void write(unsigned bits) {
  asm volatile("msr fpcr, %0" ::"r"(static_cast<unsigned long>(bits)) : "memory");
}
constexpr unsigned kRaised = 0; // they stand in a word of their own
constexpr unsigned kOneRaised = 0;
#else
inline unsigned read() {
  unsigned bits;
  asm volatile("vmrs %0, fpscr" : "=r"(bits)::"memory");
  return bits;
}
inline void write(unsigned bits) { asm volatile("vmsr fpscr, %0" ::"r"(bits) : "cc", "memory"); }
constexpr unsigned kRaised = 0xF000009F; // comparisons leave theirs in the upper four bits
constexpr unsigned kOneRaised = 0x01;
#endif
constexpr unsigned kDefault = 0;
constexpr unsigned kFlush = 1U << 24;             // tiny results become 0, and tiny operands count as 0
constexpr unsigned kTinyOperandsAreZero = kFlush; // one bit for both
constexpr unsigned kRounding = 3U << 22;          // both bits: towards zero; neither: to nearest
constexpr unsigned kRoundUp = 1U << 22;
constexpr unsigned kArmed = 0; // these processors arm no traps
#endif

} // namespace word
