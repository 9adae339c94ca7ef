// treadshift-golden: prints what the module makes of the golden scores.
#include "Performance.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr char kHelp[] =
    "usage: treadshift-golden MODULE SCORES [NAME]\n"
    "Plays the scores in the folder SCORES to the module in the file MODULE, which must have this program's\n"
    "width. Prints the checksum of each performance, or every sample of the performance NAME as text.\n"
    "\n"
    "  treadshift-golden build/x86_64/treadshift.so tests/golden/scores\n"
    "  treadshift-golden build/x86_64/treadshift.so tests/golden/scores dive\n"
    "\n"
    "Exit status: 0 done, 1 could not do it, 2 wrong call.\n";

void printChecksums(const std::vector<Score>& scores, const char* moduleFile) {
  std::printf("%s math %016" PRIx64 "\n", thisWidth(), mathChecksum());
  for (const Score& score : scores) {
    ModulePedal pedal(moduleFile);
    const std::vector<double> samples = perform(score, pedal);
    std::printf("%s %s %016" PRIx64 " %zu samples\n", thisWidth(), score.name.c_str(), checksum(samples),
                samples.size());
  }
}

// Whether there is such a score.
bool printSamples(const std::vector<Score>& scores, const char* name, const char* moduleFile) {
  for (const Score& score : scores) {
    if (score.name != name) continue;
    ModulePedal pedal(moduleFile);
    for (const double sample : perform(score, pedal))
      std::printf("%.17g\n", sample);
    return true;
  }
  std::fprintf(stderr, "treadshift-golden: no score is named '%s'\n", name);
  return false;
}

} // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return 0;
  }
  if (argc < 3 || argc > 4) {
    std::fputs("treadshift-golden: takes a module, a folder of scores and perhaps a name; try --help\n",
               stderr);
    return 2;
  }
  try {
    const std::vector<Score> scores = readScores(argv[2]);
    if (argc == 4) return printSamples(scores, argv[3], argv[1]) ? 0 : 2;
    printChecksums(scores, argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-golden: %s\n", error.what());
    return 1;
  }
  return 0;
}
