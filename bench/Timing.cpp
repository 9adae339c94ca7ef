#include "bench/Timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <sched.h>

double nanosecondsPerTick() {
  static const double measured = [] {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const std::uint64_t startTicks = ticksNow();
    while (Clock::now() - start < std::chrono::milliseconds(20)) {
    }
    const auto end = Clock::now();
    const double ticks = static_cast<double>(ticksNow() - startTicks);
    return std::chrono::duration<double, std::nano>(end - start).count() / ticks;
  }();
  return measured;
}

double coreGigahertz() {
  constexpr int kTries = 200;
  constexpr int kChains = 1000;
  constexpr int kAdditions = 16; // in a chain
  std::uint64_t best = UINT64_MAX;
  for (int attempt = 0; attempt < kTries; ++attempt) {
    const std::uint64_t start = ticksNow();
    unsigned sum = 0;
    for (int k = 0; k < kChains; ++k) {
      // Written as instructions, because a compiler would make one addition of them.
      asm volatile(".rept 16\n\tadd %0, %0\n\t.endr" : "+r"(sum));
    }
    best = std::min(best, ticksNow() - start);
  }
  return kChains * kAdditions / (static_cast<double>(best) * nanosecondsPerTick());
}

int pinToCpu(int cpu) {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
  for (int k = CPU_SETSIZE - 1; cpu < 0 && k >= 0; --k) {
    if (CPU_ISSET(k, &allowed)) cpu = k;
  }
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(cpu, &one);
  return sched_setaffinity(0, sizeof one, &one) == 0 ? cpu : -1;
}

double percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0.0;
  const auto rank = static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}
