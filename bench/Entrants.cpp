#include "bench/Entrants.h"

#include "bench/EngineCases.h"
#include "bench/FloorCases.h"
#include "bench/PeerCases.h"
#include "bench/PlainCases.h"

#include <cstdlib>
#include <iterator>

namespace {

std::vector<Case> ownCases() {
  std::vector<Case> cases{floorCase(), powCase()};
  for (Case& c : engineCases(benchModule()))
    cases.push_back(std::move(c));
  cases.push_back(setUpCase(benchModule()));
  for (Case& c : plainCases())
    cases.push_back(std::move(c));
  return cases;
}

} // namespace

std::string benchModule() {
  const char* named = std::getenv("TREADSHIFT_MODULE");
  return named ? named : TREADSHIFT_MODULE;
}

std::vector<Entrant> allEntrants() {
  const Case floor = floorCase();
  std::vector<Entrant> entrants;
  for (Case& c : ownCases())
    entrants.push_back({std::move(c), {floor}});
  const Case atRest = restingEngineCase(benchModule(), kPeerBlock);
  for (Case& c : peerCases())
    entrants.push_back({std::move(c), {floor, atRest}});
  return entrants;
}
