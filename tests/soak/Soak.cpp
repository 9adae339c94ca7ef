#include "tests/soak/Soak.h"

#include "tests/property/Scenario.h"
#include "tests/property/Signal.h"
#include "tests/soak/OutputBound.h"

#include <bit>
#include <fstream>
#include <unistd.h>

namespace {

constexpr float kClosingRate = 48000.0f; // Hz
constexpr int kLargestBlock = 4096;      // samples
constexpr int kPrograms = 16, kParameters = 5;
constexpr std::int64_t kResidentSlackKb =
    16384; // the plain pedal's vectors grow up to their largest, 7 MB in all

std::int64_t residentKb() {
  std::int64_t all = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

} // namespace

Soak::Soak() : watched(module, bound()), pair(plain, watched) {}

double Soak::bound() { return outputBound(Signal::kLargestBounded); }

SoakReport Soak::play(std::uint64_t seed, const std::vector<float>& rates, double seconds) {
  playBounded(seed, rates, seconds, pair);
  SoakReport report{};
  report.counts = watched.counts();
  report.peak = watched.takePeak();
  report.fault = lookAtPrograms();
  settle();
  if (report.fault.empty()) report.fault = lookAtMemory();
  if (!watched.fault().empty()) report.fault = watched.fault();
  if (pair.difference()) report.fault = describe(*pair.difference());
  report.heldBytes = watched.heldBytes();
  report.residentKb = residentKb();
  return report;
}

// The rate anew, by way of another one, the largest block announced, and an impulse with half a second of
// silence.
void Soak::settle() {
  pair.setSampleRate(2.0f * kClosingRate);
  pair.setSampleRate(kClosingRate);
  pair.setBlockSize(kLargestBlock);
  std::vector<double> block(kLargestBlock, 0.0);
  block[0] = 1.0;
  for (int done = 0; done < static_cast<int>(kClosingRate) / 2; done += kLargestBlock) {
    pair.process(block, kLargestBlock, false);
    block[0] = 0.0;
  }
}

// The current program's number first: looking at the others makes them current.
std::string Soak::lookAtPrograms() {
  if (module.program() != plain.program())
    return "the current program is " + std::to_string(module.program()) + ", not " +
           std::to_string(plain.program());
  for (int number = -1; number < kPrograms; ++number) {
    if (number >= 0) pair.loadProgram(number);
    for (int index = 0; index < kParameters; ++index) {
      const float expected = plain.parameter(index), actual = module.parameter(index);
      if (std::bit_cast<std::uint32_t>(expected) != std::bit_cast<std::uint32_t>(actual))
        return "parameter " + std::to_string(index) + " of " +
               (number < 0 ? "the live ones" : "program " + std::to_string(number)) + " is " +
               std::to_string(actual) + ", not " + std::to_string(expected);
    }
  }
  return {};
}

std::string Soak::lookAtMemory() {
  const std::int64_t held = watched.heldBytes(), resident = residentKb();
  if (heldBefore == 0) {
    heldBefore = held;
    residentBefore = resident;
  }
  if (held != heldBefore)
    return "the module holds " + std::to_string(held) + " bytes where it held " + std::to_string(heldBefore);
  if (resident > residentBefore + kResidentSlackKb)
    return "the process takes " + std::to_string(resident) + " kB where it took " +
           std::to_string(residentBefore);
  return {};
}
