#include "bench/WorstBlock.h"

#include "bench/Clock.h"
#include "bench/Moves.h"
#include "bench/Percentile.h"
#include "bench/Signal.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int32_t kBlock = 64;      // samples
constexpr std::size_t kCold = 1000; // blocks
constexpr int kLeastRuns = 3;
constexpr unsigned kSeed = 7; // any

// Times of every block, ns.
std::vector<double> perform(const std::string& modulePath, std::size_t blocks) {
  const EffectRunner runner(modulePath);
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(kBlock);
  runner.resume();
  Moves moves(runner, kSeed);
  double output[kBlock];
  const double clock = readingClock();
  std::vector<double> times(blocks);
  for (std::size_t k = 0; k < blocks; ++k) {
    moves.beforeBlock();
    const double* input = benchSignal() + k * kBlock % kBenchSamples;
    const auto start = now();
    runner.process(input, output, kBlock);
    times[k] = nanosecondsSince(start) - clock;
  }
  times.erase(times.begin(), times.begin() + std::min(kCold, blocks));
  return times;
}

} // namespace

WorstBlock findWorstBlock(const std::string& modulePath, double minutes, double seconds) {
  const auto blocks = static_cast<std::size_t>(minutes * 60.0 * kBenchRateHz / kBlock);
  const auto start = now();
  WorstBlock found{};
  std::vector<double> least;
  while (found.runs < kLeastRuns || nanosecondsSince(start) < seconds * 1e9) {
    const std::vector<double> times = perform(modulePath, blocks);
    if (least.empty()) least = times;
    std::ranges::transform(least, times, least.begin(), [](double a, double b) { return std::min(a, b); });
    const Spread spread = spreadOf(times);
    if (found.runs++ == 0 || spread.worst < found.best.worst) found.best = spread;
  }
  found.least = spreadOf(least);
  return found;
}
