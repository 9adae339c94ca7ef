// treadshift-limits: what no benchmark library measures: the worst block of ten minutes of audio, many
// effects on one core, and what is taken from the heap.
#include "bench/Entrants.h"
#include "bench/Load.h"
#include "bench/Memory.h"
#include "bench/WorstBlock.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iterator>

namespace {

constexpr double kMinutes = 10.0;                 // of audio
constexpr int32_t kLoadBlocks[] = {64, 128, 256}; // samples
constexpr double kLoadAudio = 0.5;                // seconds of audio per second granted
constexpr double kMostSeconds = 3600.0;
constexpr double kLeastSeconds = 1.0;

constexpr char kHelp[] =
    "usage: treadshift-limits SECONDS\n"
    "Plays ten minutes of audio in which everything moves for SECONDS, three times at least, then 200 "
    "effects\n"
    "in turns for as long in all, then counts what an effect takes from the heap. Prints a line for each, "
    "tab\n"
    "separated, for bench/table.awk.\n"
    "The environment's TREADSHIFT_MODULE names another module than the one built along.\n"
    "Exit status: 0 done, 1 could not do it, 2 wrong call.\n";

// Whether all of `text` is a number of seconds.
bool readSeconds(const char* text, double& seconds) {
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, seconds);
  return error == std::errc() && rest == end && seconds >= kLeastSeconds && seconds <= kMostSeconds;
}

void printWorstBlock(const WorstBlock& w) {
  std::printf("worst\t%d\t%.0f\t%.0f\t%.0f\t%.0f\t%.0f\t%.0f\t%.0f\n", w.runs, w.best.p50, w.best.p99,
              w.best.p999, w.best.worst, w.least.p50, w.least.p999, w.least.worst);
}

void printLoad(const Load& l) {
  std::printf("load\t%d\t%d", l.block, l.runs);
  for (const Spread& s : {l.best, l.least})
    std::printf("\t%.4f\t%.4f\t%.4f\t%.4f", s.p50, s.p99, s.p999, s.worst);
  std::printf("\t%d\t%d\t%.0f\t%.0f\t%.0f\t%.0f\n", l.bestLate, l.leastLate, l.blocks.p50, l.blocks.p99,
              l.blocks.p999, l.blocks.worst);
}

void printMemory(const Memory& m) {
  std::printf("memory\t%zu\t%zu\t%zu\t%zu\t", m.created, m.ready.liveBytes, m.sameSize, m.changingSize);
  for (const std::size_t bytes : m.ready.blocks)
    std::printf("%zu ", bytes);
  std::printf("\n");
}

} // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return 0;
  }
  double seconds = 0.0;
  if (argc != 2 || !readSeconds(argv[1], seconds)) {
    std::fputs("treadshift-limits: takes one argument, a number of seconds from 1 to 3600\n", stderr);
    return 2;
  }
  try {
    printWorstBlock(findWorstBlock(benchModule(), kMinutes, seconds));
    for (const int32_t block : kLoadBlocks)
      printLoad(findLoad(benchModule(), block, seconds * kLoadAudio, seconds / std::size(kLoadBlocks)));
    printMemory(measureMemory(benchModule()));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-limits: %s: %s\n", benchModule().c_str(), error.what());
    return 1;
  }
  return 0;
}
