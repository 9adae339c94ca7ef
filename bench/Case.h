// One thing to time, in whichever of the two benchmark libraries.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

struct Case {
  std::string group; // who: "floor", "engine", "plain", "peer"
  std::string name;  // what it does: "rest", "moving", or a peer's name
  int32_t block;     // samples; 0: it knows no blocks
  int32_t items;     // samples (or calls) of a run
  // Brings the case, untimed, to where the next `runs` runs start. Empty: a run more warms it up.
  std::function<void(int32_t runs)> prepare;
  // Works through `items` samples, a multiple of the block.
  std::function<void()> run;
};

// "group/name" or "group/name/block".
std::string nameOf(const Case& c);

// Brings the case to where `runs` timed runs may follow, its data in the caches as they would be in a host.
void makeReady(const Case& c, int32_t runs);

// Times one run: ns per item.
double timeRun(const Case& c);
