// The module and the plain pedal, played alike; differences fail the test where they appear.
#pragma once

#include "PedalPair.h"

#include <cmath>
#include <doctest/doctest.h>
#include <vector>

class Duo {
public:
  // rateHz: set at once; 0: none yet. host: the module's; null: the plainest there is.
  explicit Duo(float rateHz = 0.0f, HostCallback host = nullptr)
      : module(testedModule(), host), pair(plain, module) {
    if (rateHz > 0) pair.setSampleRate(rateHz);
  }
  ~Duo() { MESSAGE(pair.samples() << " samples compared"); }

  PedalPair* operator->() { return &pair; }
  // The next n samples of something that has no period in common with anything in the pedal.
  std::vector<double> sound(int n) {
    std::vector<double> samples;
    for (int i = 0; i < n; ++i)
      samples.push_back(std::fmod(0.618034 * static_cast<double>(++played), 1.0) - 0.5);
    return samples;
  }
  // A block of it.
  void block(int n, bool inPlace = false) { blockOf(sound(n), n, inPlace); }
  void blockOf(const std::vector<double>& input, int n, bool inPlace = false) {
    pair.process(input, n, inPlace);
    if (pair.difference()) FAIL(describe(*pair.difference()));
  }
  void blocks(int count, int n) {
    for (int k = 0; k < count; ++k)
      block(n);
  }
  std::int64_t count(PlainEvent event) const { return plain.events()[event]; }
  // The module's side alone, for calls that the plain pedal must not notice.
  AEffect* record() const { return module.record(); }

private:
  PlainSide plain;
  ModulePedal module;
  PedalPair pair;
  long played = 0;
};
