#include "bench/Bracket.h"

#include <immintrin.h>
#include <sys/resource.h>

namespace {

long interruptionsSoFar() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nivcsw;
}

// When the system gives the processor back, the upper halves of its registers may be marked in a way that
// makes every SSE instruction a little slower until this instruction comes by. In 64 bits the C library's own
// functions hold it, in 32 bits nothing does.
[[gnu::target("avx")]] void tidyRegisters() { _mm256_zeroupper(); }

std::vector<double> timeAll(const std::vector<Case>& references) {
  std::vector<double> times;
  for (const Case& reference : references)
    times.push_back(timeRun(reference));
  return times;
}

} // namespace

Bracket::Bracket(const std::vector<Case>& references)
    : references(&references), countAtStart(interruptionsSoFar()) {
  if (__builtin_cpu_supports("avx")) tidyRegisters();
  before = timeAll(references);
}

void Bracket::close() {
  after = timeAll(*references);
  interrupted = interruptionsSoFar() != countAtStart;
}

double Bracket::meanOf(std::size_t reference) const { return 0.5 * (before[reference] + after[reference]); }
