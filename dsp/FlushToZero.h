// Flush-to-zero for the length of a scope, so that decaying tails never become denormal.
#pragma once

#include "dsp/ControlWord.h"
#include "dsp/ExactArithmetic.h"

namespace treadshift {

// Sets the flush bit of the control word and leaves every other bit as the host has it; on x86 that leaves
// denormal operands alone as well (see kFlushBit). The word is the calling thread's; the destructor puts it
// back whole. Allocates nothing.
class FlushToZero {
public:
  FlushToZero() noexcept : saved(controlWord()) { setControlWord(saved | kFlushBit); }
  ~FlushToZero() { setControlWord(saved); }

  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;

private:
  unsigned saved; // the word as the host had it
};

} // namespace treadshift
