#include "bench/Load.h"

#include "bench/Clock.h"
#include "bench/Moves.h"
#include "bench/Signal.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace {

constexpr int kLeastRuns = 3;
constexpr std::size_t kColdPeriods = 20;
constexpr int32_t kFurtherOn = 13; // blocks: how far an effect's sound is ahead of its neighbour's

struct Player {
  EffectRunner runner;
  Moves moves;

  Player(const std::string& modulePath, int32_t block, unsigned seed)
      : runner(modulePath), moves(runner, seed) {
    runner.setSampleRate(static_cast<float>(kBenchRateHz));
    runner.setBlockSize(block);
    runner.resume();
  }
};

struct Performance {
  std::vector<double> loads;  // of each period: processor time over the period's length
  std::vector<double> blocks; // ns on the clock, period by period
};

// One block of every effect. The moves before a block belong to it, as they do in a host.
void playPeriod(std::vector<std::unique_ptr<Player>>& players, std::size_t period, double* output,
                int32_t block, double clock, std::vector<double>& times) {
  auto start = now();
  for (std::size_t k = 0; k < players.size(); ++k) {
    players[k]->moves.beforeBlock();
    const std::size_t place = (period + kFurtherOn * k) * static_cast<std::size_t>(block) % kBenchSamples;
    players[k]->runner.process(benchSignal() + place, output, block);
    const auto end = now();
    times.push_back(nanosecondsBetween(start, end) - clock);
    start = end;
  }
}

Performance perform(const std::string& modulePath, int32_t block, std::size_t periods) {
  std::vector<std::unique_ptr<Player>> players;
  for (unsigned k = 0; k < kLoadEffects; ++k)
    players.push_back(std::make_unique<Player>(modulePath, block, k + 1));
  std::vector<double> output(static_cast<std::size_t>(block));
  const double clock = readingClock();
  const double periodNs = block / kBenchRateHz * 1e9;
  Performance performance;
  performance.loads.reserve(periods);
  performance.blocks.reserve(periods * kLoadEffects);
  for (std::size_t period = 0; period < periods; ++period) {
    const double start = processorNanoseconds();
    playPeriod(players, period, output.data(), block, clock, performance.blocks);
    performance.loads.push_back((processorNanoseconds() - start) / periodNs);
  }
  const auto cold = static_cast<std::ptrdiff_t>(std::min(kColdPeriods, periods));
  performance.loads.erase(performance.loads.begin(), performance.loads.begin() + cold);
  performance.blocks.erase(performance.blocks.begin(), performance.blocks.begin() + cold * kLoadEffects);
  return performance;
}

// Periods that end late, the time of a period being 1.
int lateOnes(const std::vector<double>& loads) {
  int late = 0;
  double done = 0.0;
  for (std::size_t k = 0; k < loads.size(); ++k) {
    const auto begin = static_cast<double>(k);
    done = std::max(done, begin) + loads[k];
    late += done > begin + 1.0;
  }
  return late;
}

void takeLeast(std::vector<double>& least, const std::vector<double>& more) {
  if (least.empty()) least = more;
  std::ranges::transform(least, more, least.begin(), [](double a, double b) { return std::min(a, b); });
}

} // namespace

Load findLoad(const std::string& modulePath, int32_t block, double audioSeconds, double seconds) {
  const auto periods = static_cast<std::size_t>(audioSeconds * kBenchRateHz / block);
  const auto start = now();
  Load found{};
  found.block = block;
  Performance least;
  while (found.runs < kLeastRuns || nanosecondsSince(start) < seconds * 1e9) {
    const Performance performance = perform(modulePath, block, periods);
    takeLeast(least.loads, performance.loads);
    takeLeast(least.blocks, performance.blocks);
    const Spread spread = spreadOf(performance.loads);
    if (found.runs++ == 0 || spread.worst < found.best.worst) {
      found.best = spread;
      found.bestLate = lateOnes(performance.loads);
    }
  }
  found.least = spreadOf(least.loads);
  found.leastLate = lateOnes(least.loads);
  found.blocks = spreadOf(least.blocks);
  return found;
}
