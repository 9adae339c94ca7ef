// What every arithmetic source stands on: a build that would change the sound does not compile where the
// compiler leaves a mark of it. Whoever takes sources from here builds them, and what includes their headers,
// with
//   -std=c++20 -ffp-contract=off -fno-builtin-pow -DTREADSHIFT_NO_CONTRACTION
// and on 32-bit x86 with -msse2 -mfpmath=sse. Without -fno-builtin-pow clang makes exp2 of some powers.
#pragma once

#include <cfloat>

// Same bits on every machine need one rounding per operation in the type written.
static_assert(0.1 != static_cast<double>(0.1f), "single-precision constants change the sound");
static_assert(FLT_EVAL_METHOD == 0, "extended precision changes the sound: build with -msse2 -mfpmath=sse");

// Whether a compiler contracts a product and a sum into one rounding leaves no mark in the source, only
// whether the processor could. TREADSHIFT_NO_CONTRACTION is the builder's word that it must not.
#if (defined(__FMA__) || defined(__FMA4__) || defined(__ARM_FEATURE_FMA)) &&                                 \
    !defined(TREADSHIFT_NO_CONTRACTION)
#error "contraction changes the sound: build with -ffp-contract=off -DTREADSHIFT_NO_CONTRACTION"
#endif

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "fast-math changes the sound: build without it"
#endif

#if defined(__i386__) && !defined(__SSE2_MATH__)
#error "flush-to-zero acts on SSE2 arithmetic only: build with -msse2 -mfpmath=sse"
#endif
