// Who is compared.
#pragma once

#include "quality/Contender.h"

// The module's shifted sound, then Debian's peers, each with its defaults but for the dry sound, which is
// off. Throws std::runtime_error when a peer is not installed. Loads their libraries. Allocates.
std::vector<Contender> contenders(const std::string& modulePath);
