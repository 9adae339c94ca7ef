// treadshift-bench: times the module, its floor and its peers in turns, and writes what it found.
#include "bench/EngineCases.h"
#include "bench/FloorCases.h"
#include "bench/Memory.h"
#include "bench/PeerCases.h"
#include "bench/PlainCases.h"
#include "bench/Race.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "bench/WorstBlock.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <iterator>
#include <memory>
#include <unistd.h>

namespace {

constexpr double kWorstBlockMinutes = 10.0; // of audio

constexpr char kHelp[] =
    "usage: treadshift-bench [options]\n"
    "Times the module against the bare recurrences of its filters, in turns, on one processor, and writes\n"
    "one row per case, tab separated, to standard output.\n"
    "  -s, --seconds N    length of the race (default 30); 0 for three rounds\n"
    "  -w, --worst N      also spend N seconds on the worst block of ten minutes of audio\n"
    "  -M, --memory       also count what one effect takes from the heap\n"
    "  -o, --only TEXT    only cases whose group/name/block contains TEXT, such as engine/rest or /256;\n"
    "                     several, separated by commas\n"
    "  -m, --module FILE  module to time (default: the one built along)\n"
    "  -c, --cpu N        processor to stay on (default: the last one)\n"
    "  -j, --json FILE    write the findings there too, in Google Benchmark's layout\n"
    "  -l, --list         print the names of the cases and end\n"
    "  -h, --help         print this and end\n"
    "Exit codes: 0 done, 1 could not do it, 2 wrong call.\n";

struct Options {
  double seconds = 30.0;
  double worstSeconds = 0.0;
  bool memory = false;
  std::string only;
  std::string module = TREADSHIFT_MODULE;
  std::string json;
  int cpu = -1;
  bool list = false;
};

Options readOptions(int argc, char** argv) {
  static const option kOptions[] = {
      {"seconds", required_argument, nullptr, 's'}, {"only", required_argument, nullptr, 'o'},
      {"worst", required_argument, nullptr, 'w'},   {"memory", no_argument, nullptr, 'M'},
      {"module", required_argument, nullptr, 'm'},  {"cpu", required_argument, nullptr, 'c'},
      {"json", required_argument, nullptr, 'j'},    {"list", no_argument, nullptr, 'l'},
      {"help", no_argument, nullptr, 'h'},          {}};
  Options options;
  for (int found; (found = getopt_long(argc, argv, "s:w:Mo:m:c:j:lh", kOptions, nullptr)) != -1;) {
    switch (found) {
    case 's':
      options.seconds = std::atof(optarg);
      break;
    case 'w':
      options.worstSeconds = std::atof(optarg);
      break;
    case 'M':
      options.memory = true;
      break;
    case 'o':
      options.only = optarg;
      break;
    case 'm':
      options.module = optarg;
      break;
    case 'c':
      options.cpu = std::atoi(optarg);
      break;
    case 'j':
      options.json = optarg;
      break;
    case 'l':
      options.list = true;
      break;
    case 'h':
      std::fputs(kHelp, stdout);
      std::exit(0);
    default:
      std::fputs(kHelp, stderr);
      std::exit(2);
    }
  }
  return options;
}

// Whether one of the comma-separated texts of `only` is part of the case's name.
bool isWanted(const Case& c, const std::string& only) {
  if (only.empty()) return true;
  const std::string name = nameOf(c);
  for (std::size_t start = 0; start <= only.size();) {
    const std::size_t end = std::min(only.find(',', start), only.size());
    if (end > start && name.find(only.substr(start, end - start)) != std::string::npos) return true;
    start = end + 1;
  }
  return false;
}

std::vector<Case> installedPeers() {
  std::vector<Case> peers;
#ifdef BENCH_LADSPA
  for (Case& c : ladspaCases())
    peers.push_back(std::move(c));
#endif
#ifdef BENCH_LV2
  for (Case& c : lv2Cases())
    peers.push_back(std::move(c));
#endif
  return peers;
}

std::vector<Case> allCases(const Options& options) {
  std::vector<Case> cases{floorCase(), powCase()};
  const auto append = [&cases](std::vector<Case> more) {
    std::ranges::move(more, std::back_inserter(cases));
  };
  append(engineCases(options.module));
  append({setUpCase(options.module)});
#ifdef BENCH_PLAIN
  append(plainCases());
#endif
  append(installedPeers());
  std::erase_if(cases, [&](const Case& c) { return !isWanted(c, options.only); });
  return cases;
}

std::vector<Finding> race(const std::vector<Case>& cases, const Options& options) {
  static const Case floor = floorCase();
  static const Case opponent = restingEngineCase(options.module, kPeerBlock);
  Race race;
  for (const Case& c : cases) {
    std::vector<const Case*> references{&floor};
    if (c.group == "peer") references.push_back(&opponent);
    race.add(c, references);
  }
  race.run(options.seconds);
  return race.findings();
}

// Standard output as it was; from now on what the peers print there goes to standard error.
std::FILE* keepStandardOutput() {
  std::FILE* kept = fdopen(dup(STDOUT_FILENO), "w");
  dup2(STDERR_FILENO, STDOUT_FILENO);
  return kept;
}

void writeJsonFile(const std::string& path, const Results& results) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"), std::fclose);
  if (!file) throw EffectError("cannot write '" + path + "'");
  writeJson(file.get(), results);
}

void measure(const Options& options) {
  std::FILE* const out = keepStandardOutput();
  const int cpu = pinToCpu(options.cpu);
  const std::vector<Case> cases = allCases(options);
  if (options.list) {
    for (const Case& c : cases)
      std::fprintf(out, "%s\n", nameOf(c).c_str());
    return;
  }
  Results results{8 * sizeof(void*), coreGigahertz(), cpu, race(cases, options), {}, {}};
  if (options.worstSeconds > 0.0)
    results.worst = findWorstBlock(options.module, kWorstBlockMinutes, options.worstSeconds);
  if (options.memory) results.memory = measureMemory(options.module);
  writeRows(out, results);
  std::fflush(out);
  if (!options.json.empty()) writeJsonFile(options.json, results);
}

} // namespace

int main(int argc, char** argv) {
  const Options options = readOptions(argc, argv);
  try {
    measure(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
