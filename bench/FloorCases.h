// What no engine can go below: the recurrences of one sample, and the library function of a moving pedal.
#pragma once

#include "bench/Case.h"

// The feedback of the shift filter and of the two tone branches, sample after sample, nothing else.
Case floorCase();

// Independent calls of pow(2, x) over the exponents of the Color ranges, summed.
Case powCase();
