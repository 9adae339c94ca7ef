// The step of a one-pole smoother.
#pragma once

#include "dsp/IIRFilter.h"

// The smoother's next state. Inlined by every build: a call in 32 bits hands its result back in an x87
// register, from which clang narrows it to a float without flush-to-zero.
[[gnu::always_inline]] inline double smoothed(const IIRFilter& smoother, double state,
                                              double input) noexcept {
  return smoother.ff0 * state + smoother.fb1 * input;
}
