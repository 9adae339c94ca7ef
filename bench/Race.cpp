#include "bench/Race.h"

#include "bench/Timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kRunsPerVisit = 4;
constexpr int kLeastRounds = 3;
constexpr int kMostAttempts = 5;
constexpr int kTrials = 4;

// Long enough that the first cold blocks and the reading of the clock do not count, short enough to fit
// between two interruptions by the system.
constexpr int32_t kUsualItems = 12288;    // a multiple of every block size
constexpr double kShareNs = 3e6;          // of the processor, when others want it too
constexpr double kLongestRunNs = 400'000; // slower cases take fewer items

double timePerItem(const Case& timed, int32_t items) {
  const std::uint64_t start = ticksNow();
  timed.run(items);
  return static_cast<double>(ticksNow() - start) * nanosecondsPerTick() / items;
}

// Fastest of a few short trials, the first of which warms the case up: ns per item.
double estimate(const Case& entrant) {
  const int32_t block = std::max(entrant.block, 1);
  const int32_t trial = std::clamp(1024, block, std::max(entrant.mostItems, block)) / block * block;
  double least = HUGE_VAL;
  for (int k = 0; k < kTrials; ++k) {
    if (entrant.prepare) entrant.prepare(trial);
    least = std::min(least, timePerItem(entrant, trial));
  }
  return least;
}

// As many items as fit the longest run, whole blocks, one block at least.
int32_t chooseItems(const Case& entrant, double nsPerItem) {
  const int32_t block = std::max(entrant.block, 1);
  const int32_t most = std::min(kUsualItems, entrant.mostItems) / block;
  return block * std::clamp(static_cast<int32_t>(kLongestRunNs / (nsPerItem * block)), 1, most);
}

long interruptions() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nivcsw;
}

std::vector<double> timeReferences(const std::vector<const Case*>& references) {
  std::vector<double> times;
  for (const Case* reference : references)
    times.push_back(timePerItem(*reference, kUsualItems));
  return times;
}

Turn takeTurn(const Case& measured, int32_t items, const std::vector<const Case*>& references) {
  if (measured.prepare) measured.prepare(items);
  const long interruptionsBefore = interruptions();
  Turn turn;
  turn.before = timeReferences(references);
  turn.own = timePerItem(measured, items);
  turn.after = timeReferences(references);
  turn.interrupted = interruptions() != interruptionsBefore;
  return turn;
}

void showProgress(double share) {
  if (isatty(STDERR_FILENO)) std::fprintf(stderr, share < 1.0 ? "\r%3.0f %%" : "\r     \r", 100.0 * share);
}

} // namespace

std::string nameOf(const Case& c) {
  std::string name = c.group;
  name.append("/").append(c.name);
  if (c.block) name.append("/").append(std::to_string(c.block));
  return name;
}

void Finding::add(const Turn& turn) {
  nanoseconds.push_back(turn.own);
  for (std::size_t r = 0; r < turn.before.size(); ++r) {
    leastOfReference[r] = std::min({leastOfReference[r], turn.before[r], turn.after[r]});
    ratios[r].push_back(turn.own / (0.5 * (turn.before[r] + turn.after[r])));
  }
}

void Race::add(const Case& entrant, std::vector<const Case*> references) {
  const std::size_t count = references.size();
  Finding finding{
      &entrant, 0, {}, std::vector<double>(count, 1e300), std::vector<std::vector<double>>(count)};
  entrants.push_back({std::move(finding), std::move(references), true});
}

void Race::run(double seconds) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (Entrant& entrant : entrants)
    prepare(entrant);
  double share = 0.0;
  for (int round = 0; round < kLeastRounds || share < 1.0; ++round) {
    for (Entrant& entrant : entrants)
      visit(entrant);
    share = std::chrono::duration<double>(Clock::now() - start).count() / seconds;
    showProgress(std::min(share, 1.0));
  }
}

void Race::prepare(Entrant& entrant) {
  const double nsPerItem = estimate(*entrant.finding.measured);
  entrant.finding.itemsPerRun = chooseItems(*entrant.finding.measured, nsPerItem);
  entrant.fitsShare = nsPerItem * entrant.finding.itemsPerRun < kShareNs;
}

// Several runs in a row, so that the case finds its own data in the caches as it would in a host.
void Race::visit(Entrant& entrant) {
  const Case& measured = *entrant.finding.measured;
  if (!measured.prepare) measured.run(entrant.finding.itemsPerRun);
  for (int k = 0; k < kRunsPerVisit; ++k)
    timeOnce(entrant);
}

// A turn during which the system took the processor away is thrown away: it tells of the neighbours. A short
// sleep earns a fresh share of the processor for the next attempt.
void Race::timeOnce(Entrant& entrant) {
  const Case& measured = *entrant.finding.measured;
  const int32_t items = entrant.finding.itemsPerRun;
  for (int k = 0; k < kMostAttempts; ++k) {
    const Turn turn = takeTurn(measured, items, entrant.references);
    if (!turn.interrupted || !entrant.fitsShare) {
      entrant.finding.add(turn);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!measured.prepare) measured.run(items);
  }
}

std::vector<Finding> Race::findings() const {
  std::vector<Finding> all;
  for (const Entrant& entrant : entrants)
    all.push_back(entrant.finding);
  return all;
}
