// Hours of playing, one after the other, on one module and one plain pedal that go through all of them.
#pragma once

#include "tests/property/PedalPair.h"
#include "tests/soak/WatchedPedal.h"

#include <cstdint>
#include <string>
#include <vector>

// What an hour of audio, or any other length of it, came to.
struct SoakReport {
  CallCounts counts;       // since the soak began
  double peak;             // the output's largest magnitude
  std::int64_t heldBytes;  // by the module, when all is over
  std::int64_t residentKb; // of this process
  std::string fault;       // empty: all is well
};

class Soak {
public:
  Soak();

  // Plays, then looks: an impulse and a tail, every program's values, and the module's memory at 48 kHz. The
  // second and later reports hold heldBytes and residentKb against the first one's. seed, rates: as for
  // playBounded.
  SoakReport play(std::uint64_t seed, const std::vector<float>& rates, double seconds);

  static double bound(); // of the output's magnitude

private:
  void settle();
  std::string lookAtPrograms();
  std::string lookAtMemory();

  PlainSide plain;
  ModulePedal module;
  WatchedPedal watched;
  PedalPair pair;
  // At the end of the first report; 0: none yet.
  std::int64_t heldBefore = 0;     // bytes
  std::int64_t residentBefore = 0; // kB
};
