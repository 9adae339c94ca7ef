// treadshift-bench for x86_64: registers every case with Google Benchmark, which does the rest.
#include "bench/Bracket.h"
#include "bench/Entrants.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <exception>
#include <vector>

namespace {

constexpr int kMostAttempts = 5;

// A run of the measured case and the references around it.
struct Turn {
  double nanoseconds; // per item
  Bracket bracket;
};

Turn takeTurn(const Entrant& entrant) {
  makeReady(entrant.measured, 1);
  Turn turn{0.0, Bracket(entrant.references)};
  turn.nanoseconds = timeRun(entrant.measured);
  turn.bracket.close();
  return turn;
}

// A turn in which the system took the processor away tells of the neighbours: it is taken again.
Turn takeQuietTurn(const Entrant& entrant) {
  Turn turn = takeTurn(entrant);
  for (int k = 1; k < kMostAttempts && turn.bracket.wasInterrupted(); ++k)
    turn = takeTurn(entrant);
  return turn;
}

// The time that the library shows is one sample's.
void measure(benchmark::State& state, const Entrant& entrant) {
  for ([[maybe_unused]] auto iteration : state) {
    const Turn turn = takeQuietTurn(entrant);
    state.SetIterationTime(turn.nanoseconds * 1e-9);
    state.counters["floor"] = turn.nanoseconds / turn.bracket.meanOf(kFloor);
    if (entrant.references.size() > kEngine)
      state.counters["engine"] = turn.bracket.meanOf(kEngine) / turn.nanoseconds;
  }
}

// A repetition is one turn, so that percentiles over the repetitions are those of single runs.
void registerCase(const Entrant& entrant) {
  benchmark::RegisterBenchmark(nameOf(entrant.measured).c_str(), measure, entrant)
      ->UseManualTime()
      ->Iterations(1);
}

// The library's own options with the defaults that suit these cases in front; later ones win.
std::vector<char*> withDefaults(int argc, char** argv) {
  static char repetitions[] = "--benchmark_repetitions=100";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char aggregates[] = "--benchmark_display_aggregates_only=true";
  std::vector<char*> all{argv[0], repetitions, interleaving, aggregates};
  all.insert(all.end(), argv + 1, argv + argc);
  return all;
}

} // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments = withDefaults(argc, argv);
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  try {
    for (const Entrant& entrant : allEntrants())
      registerCase(entrant);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-bench: %s: %s\n", benchModule().c_str(), error.what());
    return 1;
  }
  return benchmark::RunSpecifiedBenchmarks() == 0 ? 2 : 0;
}
