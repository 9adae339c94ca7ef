// The second implementation that the tests hold the module against, written for reading: what the engine's
// speed is worth.
#pragma once

#include "bench/Case.h"

#include <vector>

std::vector<Case> plainCases();
