// What every arithmetic source stands on: a build that would change the sound does not compile.
#pragma once

#include <cfloat>

// Same bits on every machine need one rounding per operation in the type written.
static_assert(0.1 != static_cast<double>(0.1f), "single-precision constants change the sound");
static_assert(FLT_EVAL_METHOD == 0, "extended precision changes the sound: build with -msse2 -mfpmath=sse");

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "fast-math changes the sound: build without it"
#endif

#if defined(__i386__) && !defined(__SSE2_MATH__)
#error "flush-to-zero acts on SSE2 arithmetic only: build with -msse2 -mfpmath=sse"
#endif
