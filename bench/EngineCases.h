// The effect in the states that cost differently, driven through the loaded module as a host does it.
#pragma once

#include "bench/Case.h"

#include <string>
#include <vector>

// All states in blocks of 1, 16, 64, 256, 1024 and 4096 samples, those with next to nothing to hear in blocks
// of 64 and 256. modulePath: the module to load. Throws EffectError when it cannot be.
std::vector<Case> engineCases(const std::string& modulePath);

// One of them: at rest in blocks of `block` samples.
Case restingEngineCase(const std::string& modulePath, int32_t block);

// Building everything that a sample rate needs, with a new rate each time; an item is one call.
Case setUpCase(const std::string& modulePath);
