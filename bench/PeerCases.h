// Other pitch shifters, as Debian packages them: single precision, a constant shift, blocks of 256.
#pragma once

#include "bench/Case.h"

#include <vector>

inline constexpr int32_t kPeerBlock = 256; // samples

// The peers that are installed, as far as this program was built with their interfaces. Each is listened to
// for some seconds first; one that cannot be made or stays silent is left out with a line on stderr, for its
// time would say nothing. Loads their libraries.
std::vector<Case> peerCases();
