// What was found, as rows for the table and as JSON.
#pragma once

#include "bench/Memory.h"
#include "bench/Race.h"
#include "bench/WorstBlock.h"

#include <cstdio>
#include <optional>
#include <vector>

struct Results {
  int width;                     // bits of a pointer
  double gigahertz;              // of the core, measured
  int cpu;                       // -1: not pinned
  std::vector<Finding> findings; // reference 0 of each is the floor, reference 1, if any, the engine
  std::optional<WorstBlock> worst;
  std::optional<Memory> memory;
};

// One line per finding, tab separated, below a line that names the columns: "case", width, group, name,
// block, runs; nanoseconds per item (least, 50, 90, 99 %); ratio to the floor (fastest run to fastest run,
// 50, 90, 99 %; the floor's own shows the noise); engine's time over the peer's (50 %), "-" where not
// measured. Then a line each that begins with "machine", "worst" and "memory".
void writeRows(std::FILE* out, const Results& results);

// The same in the layout of Google Benchmark's JSON, which its comparing tools read; real_time is the
// median.
void writeJson(std::FILE* out, const Results& results);
