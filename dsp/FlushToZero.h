// Flush-to-zero for the length of a scope, so that decaying tails never become denormal.
#pragma once

#include "dsp/ExactArithmetic.h"

#include <xmmintrin.h>

// Sets bit 15 of the control and status word and leaves every other bit, denormal inputs included, as the
// host has it. The word is the calling thread's; the destructor puts it back whole. Allocates nothing.
class FlushToZero {
public:
  FlushToZero() noexcept : saved(_mm_getcsr()) { _mm_setcsr(saved | kFlushBit); }
  ~FlushToZero() { _mm_setcsr(saved); }

  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;

private:
  static constexpr unsigned kFlushBit = 0x8000;

  unsigned saved; // the word as the host had it
};
