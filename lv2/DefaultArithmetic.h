// Gives a block the processor's default arithmetic and puts the host's back.
#pragma once

#if defined(__i386__) || defined(__x86_64__)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

// Hosts differ in how they treat denormal numbers and in what traps; while a guard lives none of that reaches
// the sound: nothing traps, denormals count, results round to nearest. Its end restores the host's control
// and status word bit for bit. [audio] Allocates nothing.
#if defined(__i386__) || defined(__x86_64__)
class DefaultArithmetic { // the standard's functions would carry the x87 unit's state too, which is slow
public:
  DefaultArithmetic() noexcept : hostWord(_mm_getcsr()) { _mm_setcsr(kAllMasked); }
  ~DefaultArithmetic() { _mm_setcsr(hostWord); }
  DefaultArithmetic(const DefaultArithmetic&) = delete;
  DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;

private:
  static constexpr unsigned kAllMasked = 0x1F80; // the word that a process starts with

  unsigned hostWord;
};
#else
class DefaultArithmetic {
public:
  DefaultArithmetic() noexcept {
    std::fegetenv(&hostEnvironment);
    std::fesetenv(FE_DFL_ENV);
  }
  ~DefaultArithmetic() { std::fesetenv(&hostEnvironment); }
  DefaultArithmetic(const DefaultArithmetic&) = delete;
  DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;

private:
  std::fenv_t hostEnvironment;
};
#endif
