#include "bench/Report.h"

#include "bench/Timing.h"

namespace {

constexpr std::size_t kFloor = 0;  // index of a reference
constexpr std::size_t kEngine = 1; // likewise

struct Spread {
  double least, p50, p90, p99;
};

Spread spreadOf(const std::vector<double>& values) {
  return {percentile(values, 0.0), percentile(values, 0.5), percentile(values, 0.9),
          percentile(values, 0.99)};
}

// The least one is that of the fastest runs, not of two that happened to lie together.
Spread floorRatios(const Finding& f) {
  Spread ratio = spreadOf(f.ratios[kFloor]);
  ratio.least = percentile(f.nanoseconds, 0.0) / f.leastOfReference[kFloor];
  return ratio;
}

bool knowsEngine(const Finding& f) { return f.ratios.size() > kEngine; }

double engineOverPeer(const Finding& f) { return 1.0 / percentile(f.ratios[kEngine], 0.5); }

void writeRow(std::FILE* out, int width, const Finding& f) {
  const Case& c = *f.measured;
  const Spread ns = spreadOf(f.nanoseconds);
  const Spread ratio = floorRatios(f);
  std::fprintf(out, "case\t%d\t%s\t%s\t%d\t%zu\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f\t%.3f", width,
               c.group.c_str(), c.name.c_str(), c.block, f.nanoseconds.size(), ns.least, ns.p50, ns.p90,
               ns.p99, ratio.least, ratio.p50, ratio.p90, ratio.p99);
  if (knowsEngine(f)) {
    std::fprintf(out, "\t%.3f\n", engineOverPeer(f));
  } else {
    std::fprintf(out, "\t-\n");
  }
}

void writeJsonCase(std::FILE* out, const Finding& f) {
  const std::string name = nameOf(*f.measured);
  const Spread ns = spreadOf(f.nanoseconds);
  const Spread ratio = floorRatios(f);
  std::fprintf(
      out,
      "    {\"name\": \"%s\", \"run_name\": \"%s\", \"run_type\": \"iteration\", \"repetitions\": 1, "
      "\"repetition_index\": 0, \"threads\": 1, \"iterations\": %zu, \"real_time\": %.4f, "
      "\"cpu_time\": %.4f, \"time_unit\": \"ns\", \"least\": %.4f, \"p90\": %.4f, \"p99\": %.4f, "
      "\"floor_least\": %.4f, \"floor_p50\": %.4f, \"floor_p90\": %.4f, \"floor_p99\": %.4f",
      name.c_str(), name.c_str(), f.nanoseconds.size(), ns.p50, ns.p50, ns.least, ns.p90, ns.p99, ratio.least,
      ratio.p50, ratio.p90, ratio.p99);
  if (knowsEngine(f)) std::fprintf(out, ", \"engine_over_peer\": %.4f", engineOverPeer(f));
  std::fprintf(out, "}");
}

void writeJsonContext(std::FILE* out, const Results& r) {
  std::fprintf(out, "  \"context\": {\"pointer_bits\": %d, \"core_ghz\": %.2f, \"cpu\": %d", r.width,
               r.gigahertz, r.cpu);
  if (r.worst) {
    const WorstBlock& w = *r.worst;
    std::fprintf(out,
                 ",\n    \"worst_block_ns\": {\"runs\": %d, \"p50\": %.1f, \"p99\": %.1f, \"p999\": %.1f, "
                 "\"worst\": %.1f, \"least_p50\": %.1f, \"least_p999\": %.1f, \"least_worst\": %.1f}",
                 w.runs, w.p50, w.p99, w.p999, w.worst, w.leastP50, w.leastP999, w.leastWorst);
  }
  if (r.memory) {
    const Memory& m = *r.memory;
    std::fprintf(out,
                 ",\n    \"memory\": {\"created_bytes\": %zu, \"ready_bytes\": %zu, "
                 "\"allocations_same_size\": %zu, \"allocations_changing_size\": %zu}",
                 m.created, m.ready.liveBytes, m.sameSize, m.changingSize);
  }
  std::fprintf(out, "},\n");
}

} // namespace

void writeRows(std::FILE* out, const Results& r) {
  std::fprintf(out, "#\twidth\tgroup\tname\tblock\truns\tns_least\tns_p50\tns_p90\tns_p99\t"
                    "floor_least\tfloor_p50\tfloor_p90\tfloor_p99\tengine_over_peer\n");
  for (const Finding& f : r.findings)
    writeRow(out, r.width, f);
  std::fprintf(out, "machine\t%d\t%.2f\t%d\n", r.width, r.gigahertz, r.cpu);
  if (r.worst) {
    const WorstBlock& w = *r.worst;
    std::fprintf(out, "worst\t%d\t%d\t%.1f\t%.1f\t%.1f\t%.1f\t%.1f\t%.1f\t%.1f\n", r.width, w.runs, w.p50,
                 w.p99, w.p999, w.worst, w.leastP50, w.leastP999, w.leastWorst);
  }
  if (r.memory) {
    const Memory& m = *r.memory;
    std::fprintf(out, "memory\t%d\t%zu\t%zu\t%zu\t%zu\t", r.width, m.created, m.ready.liveBytes, m.sameSize,
                 m.changingSize);
    for (const std::size_t bytes : m.ready.blocks)
      std::fprintf(out, "%zu ", bytes);
    std::fprintf(out, "\n");
  }
}

void writeJson(std::FILE* out, const Results& r) {
  std::fprintf(out, "{\n");
  writeJsonContext(out, r);
  std::fprintf(out, "  \"benchmarks\": [");
  const char* separator = "\n";
  for (const Finding& f : r.findings) {
    std::fprintf(out, "%s", separator);
    writeJsonCase(out, f);
    separator = ",\n";
  }
  std::fprintf(out, "\n  ]\n}\n");
}
