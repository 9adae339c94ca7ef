// Powers of two with the bits of std::pow(2.0, x), in a part of its time.
#pragma once

#include "dsp/ScopedNames.h"

#include <cstdint>

namespace treadshift {

// Replaces each of `count` numbers x by std::pow(2.0, x), to the bit and in every rounding mode. x: any
// double. count: 0 or more; below 0 does nothing. [audio] Allocates nothing.
//
// With glibc on x86, a table of 2^(j/128) and a polynomial for the rest (Tang, Table-driven implementation
// of the exponential function in IEEE floating-point arithmetic, ACM TOMS 15, 1989) give each power in two
// parts, exact to 2^-59 of it. Unless it lies close to the middle between two doubles, which one in sixteen
// does, the library's pow rounds it to the same double; where it does, and beyond -8..8, pow itself is asked
// (the rounding test of Ziv, Fast evaluation of elementary mathematical functions, ACM TOMS 17, 1991).
// Elsewhere, and while the thread rounds in another way than to nearest, pow is asked for all.
void powersOfTwo(double* numbers, int32_t count) noexcept;

} // namespace treadshift
