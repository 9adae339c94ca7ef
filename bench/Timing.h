// The clock of the benchmarks, the processor they stay on, and percentiles.
#pragma once

#include <cstdint>
#include <vector>
#include <x86intrin.h>

// The processor's time-stamp counter: it runs at one speed whatever the core's own speed is, and reading it
// takes some 20 cycles, which a system clock read does not promise in a 32-bit program.
inline std::uint64_t ticksNow() { return __rdtsc(); }

// Nanoseconds of one tick, measured against the monotonic clock at the first call (20 ms).
double nanosecondsPerTick();

// Speed of the core in GHz by a chain of additions, one cycle each; best of several.
double coreGigahertz();

// Stays on one processor from now on. cpu: number; negative takes the last one allowed. Result: the
// processor taken, or -1 when the system refuses.
int pinToCpu(int cpu);

// The value below which a share (0..1) of `values` lies, by the nearest rank; 0 when there are none.
// 0 is the least, 1 the greatest. Orders its own copy.
double percentile(std::vector<double> values, double share);
