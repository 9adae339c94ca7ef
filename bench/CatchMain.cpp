// treadshift-bench for i386: hands every case to Catch2's BENCHMARK as a test case of its own, and writes
// what the samples say.
#define CATCH_CONFIG_RUNNER
#define CATCH_CONFIG_ENABLE_BENCHMARKING
#include <catch2/catch.hpp>

#include "bench/Bracket.h"
#include "bench/Entrants.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using Samples = std::vector<std::chrono::duration<double, std::nano>>; // per run

// What stands around the samples of the benchmark that is running.
struct Running {
  const Entrant* entrant = nullptr;
  std::vector<Bracket> brackets; // by sample
};
Running running;

std::FILE* runs = nullptr; // where they are written; null: nobody wants them

// One benchmark of the library; its chronometer takes the run, and the references run outside of it.
class EntrantTest : public Catch::ITestInvoker {
public:
  explicit EntrantTest(const Entrant& entrant) : entrant(entrant) {}

  void invoke() const override {
    running.entrant = &entrant;
    BENCHMARK_ADVANCED(nameOf(entrant.measured))(Catch::Benchmark::Chronometer meter) {
      makeReady(entrant.measured, meter.runs());
      Bracket bracket(entrant.references);
      meter.measure([this] { entrant.measured.run(); });
      bracket.close();
      running.brackets.push_back(std::move(bracket));
    };
  }

private:
  Entrant entrant;
};

// A line for each sample, in the words that Google Benchmark has for a repetition. One in which the system
// took the processor away tells of the neighbours: it does not count.
void writeRuns(const Samples& samples) {
  const std::string name = nameOf(running.entrant->measured);
  for (std::size_t k = 0; k < samples.size(); ++k) {
    if (running.brackets[k].wasInterrupted()) continue;
    const double nanoseconds = samples[k].count() / running.entrant->measured.items;
    std::fprintf(runs, "{\"run_name\": \"%s\", \"real_time\": %.5f, \"floor\": %.5f}\n", name.c_str(),
                 nanoseconds, nanoseconds / running.brackets[k].meanOf(kFloor));
  }
}

class RunWriter : public Catch::TestEventListenerBase {
public:
  using TestEventListenerBase::TestEventListenerBase;

  // The library has sized its samples; what it ran for that does not belong to them.
  void benchmarkStarting(const Catch::BenchmarkInfo&) override { running.brackets.clear(); }

  void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override {
    if (runs) writeRuns(stats.samples);
  }
};
CATCH_REGISTER_LISTENER(RunWriter)

void registerCase(const Entrant& entrant) {
  const std::string name = nameOf(entrant.measured);
  Catch::getMutableRegistryHub().registerTest(
      Catch::makeTestCase(new EntrantTest(entrant), "", Catch::NameAndTags(name), CATCH_INTERNAL_LINEINFO));
}

// No warm-up of the library's: it would ask for many runs at once, and some cases last for one or two.
void setDefaults(Catch::ConfigData& config) {
  config.benchmarkNoAnalysis = true;
  config.benchmarkWarmupTime = 0;
}

int runSession(int argc, char** argv) {
  Catch::Session session;
  setDefaults(session.configData());
  std::string path;
  session.cli(session.cli() |
              Catch::clara::Opt(path, "file")["--runs"]("write a line of JSON for every run there"));
  if (session.applyCommandLine(argc, argv) != 0) return 2;
  if (!path.empty() && !(runs = std::fopen(path.c_str(), "w"))) {
    std::fprintf(stderr, "treadshift-bench: %s: cannot be written\n", path.c_str());
    return 1;
  }
  for (const Entrant& entrant : allEntrants())
    registerCase(entrant);
  const int failures = session.run();
  return (runs && std::fclose(runs) != 0) || failures ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
  try {
    return runSession(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-bench: %s: %s\n", benchModule().c_str(), error.what());
    return 1;
  }
}
