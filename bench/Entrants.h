// Everything there is to time, for both widths' front-ends.
#pragma once

#include "bench/Case.h"

#include <string>
#include <vector>

inline constexpr std::size_t kFloor = 0;  // index of a reference
inline constexpr std::size_t kEngine = 1; // likewise; peers only

// A case and what its runs stand between: the floor loop, and for a peer also the engine at rest.
struct Entrant {
  Case measured;
  std::vector<Case> references;
};

// The module to time: the file that the environment variable TREADSHIFT_MODULE names, else the one built
// along. [allocates]
std::string benchModule();

// All cases, in the order of the table. Loads the module and the peers that are installed; throws EffectError
// when the module cannot be loaded. [allocates]
std::vector<Entrant> allEntrants();
