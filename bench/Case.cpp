#include "bench/Case.h"

#include <chrono>

std::string nameOf(const Case& c) {
  std::string name = c.group;
  name.append("/").append(c.name);
  if (c.block) name.append("/").append(std::to_string(c.block));
  return name;
}

void makeReady(const Case& c, int32_t runs) {
  if (c.prepare) {
    c.prepare(runs);
  } else {
    c.run();
  }
}

// A run takes 30 microseconds at least, beside which the 25 ns of reading the clock do not count.
double timeRun(const Case& c) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  c.run();
  return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / c.items;
}
