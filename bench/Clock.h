// Reading clocks around something short.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

inline std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }

inline double nanosecondsBetween(std::chrono::steady_clock::time_point start,
                                 std::chrono::steady_clock::time_point end) {
  return std::chrono::duration<double, std::nano>(end - start).count();
}

inline double nanosecondsSince(std::chrono::steady_clock::time_point start) {
  return nanosecondsBetween(start, now());
}

// What reading that clock adds to a time: ns.
inline double readingClock() {
  double least = HUGE_VAL;
  for (int k = 0; k < 1000; ++k)
    least = std::min(least, nanosecondsSince(now()));
  return least;
}

// Time that the processor gave to this thread: ns. Asking takes a system call.
inline double processorNanoseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}
