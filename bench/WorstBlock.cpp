#include "bench/WorstBlock.h"

#include "bench/Signal.h"
#include "bench/Timing.h"
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

double readingClockTicks() {
  std::uint64_t least = UINT64_MAX;
  for (int k = 0; k < 1000; ++k) {
    const std::uint64_t start = ticksNow();
    least = std::min(least, ticksNow() - start);
  }
  return static_cast<double>(least);
}

// Ticks of every block.
std::vector<double> perform(const std::string& modulePath, std::size_t blocks) {
  const EffectRunner runner(modulePath);
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(kBlock);
  runner.resume();
  Moves moves(runner);
  double output[kBlock];
  const double clockTicks = readingClockTicks();
  std::vector<double> ticks(blocks);
  for (std::size_t k = 0; k < blocks; ++k) {
    moves.beforeBlock();
    const double* input = benchSignal() + k * kBlock % kBenchSamples;
    const std::uint64_t start = ticksNow();
    runner.process(input, output, kBlock);
    ticks[k] = static_cast<double>(ticksNow() - start) - clockTicks;
  }
  ticks.erase(ticks.begin(), ticks.begin() + std::min(kCold, blocks));
  return ticks;
}

double nanoseconds(const std::vector<double>& ticks, double share) {
  return percentile(ticks, share) * nanosecondsPerTick();
}

} // namespace

WorstBlock findWorstBlock(const std::string& modulePath, double minutes, double seconds) {
  using Clock = std::chrono::steady_clock;
  const auto blocks = static_cast<std::size_t>(minutes * 60.0 * kBenchRateHz / kBlock);
  const auto start = Clock::now();
  WorstBlock found{};
  std::vector<double> least;
  while (found.runs < kLeastRuns || std::chrono::duration<double>(Clock::now() - start).count() < seconds) {
    const std::vector<double> ticks = perform(modulePath, blocks);
    if (least.empty()) least = ticks;
    std::ranges::transform(least, ticks, least.begin(), [](double a, double b) { return std::min(a, b); });
    const double worst = nanoseconds(ticks, 1.0);
    if (found.runs++ == 0 || worst < found.worst) {
      found.p50 = nanoseconds(ticks, 0.5);
      found.p99 = nanoseconds(ticks, 0.99);
      found.p999 = nanoseconds(ticks, 0.999);
      found.worst = worst;
    }
  }
  found.leastP50 = nanoseconds(least, 0.5);
  found.leastP999 = nanoseconds(least, 0.999);
  found.leastWorst = nanoseconds(least, 1.0);
  return found;
}
