#include "bench/WorstBlock.h"

#include "bench/Percentile.h"
#include "bench/Signal.h"
#include "effect/TreadshiftProgram.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int32_t kBlock = 64;      // samples
constexpr std::size_t kCold = 1000; // blocks
constexpr int kLeastRuns = 3;
constexpr unsigned kBlocksPerColor = 250; // on average: a third of a second
constexpr unsigned kBlocksPerOnOff = 1000;

using Clock = std::chrono::steady_clock;

// The same moves in every performance.
class Moves {
public:
  explicit Moves(const EffectRunner& runner) : runner(runner) {}

  void beforeBlock() {
    pedalSpeed = std::clamp(pedalSpeed + 0.002f * (chance() - 0.5f), -0.01f, 0.01f);
    pedal += pedalSpeed;
    if (pedal < 0.0f || pedal > 1.0f) pedalSpeed = -pedalSpeed;
    pedal = std::clamp(pedal, 0.0f, 1.0f);
    runner.setParameter(kPedalPos, pedal);
    runner.setParameter(kTone, chance());
    if (random() % kBlocksPerColor == 0) runner.setParameter(kColor, chance());
    if (random() % kBlocksPerOnOff == 0) runner.setParameter(kOnOff, on = 1.0f - on);
  }

private:
  float chance() { return static_cast<float>(random() & 0xFFFF) / 65536.0f; }

  const EffectRunner& runner;
  std::minstd_rand random{7}; // any seed
  float pedal = 0.5f, pedalSpeed = 0.0f, on = 1.0f;
};

double nanosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

// What reading the clock adds to a time.
double readingClock() {
  double least = HUGE_VAL;
  for (int k = 0; k < 1000; ++k)
    least = std::min(least, nanosecondsSince(Clock::now()));
  return least;
}

// Times of every block, ns.
std::vector<double> perform(const std::string& modulePath, std::size_t blocks) {
  const EffectRunner runner(modulePath);
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(kBlock);
  runner.resume();
  Moves moves(runner);
  double output[kBlock];
  const double clock = readingClock();
  std::vector<double> times(blocks);
  for (std::size_t k = 0; k < blocks; ++k) {
    moves.beforeBlock();
    const double* input = benchSignal() + k * kBlock % kBenchSamples;
    const auto start = Clock::now();
    runner.process(input, output, kBlock);
    times[k] = nanosecondsSince(start) - clock;
  }
  times.erase(times.begin(), times.begin() + std::min(kCold, blocks));
  return times;
}

Spread spreadOf(const std::vector<double>& times) {
  return {percentile(times, 0.5), percentile(times, 0.99), percentile(times, 0.999), percentile(times, 1.0)};
}

} // namespace

WorstBlock findWorstBlock(const std::string& modulePath, double minutes, double seconds) {
  const auto blocks = static_cast<std::size_t>(minutes * 60.0 * kBenchRateHz / kBlock);
  const auto start = Clock::now();
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
