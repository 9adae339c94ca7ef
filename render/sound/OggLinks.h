// The sounds of an Ogg file: joined files hold several, one behind the other.
#pragma once

#include "render/sound/SoundBytes.h"

#include <cstdint>
#include <vector>

struct OggLink {
  std::int64_t begin; // bytes
  std::int64_t end;
  bool isWhole; // its last page says that it is the last
  bool isSound; // no page of it is missing or damaged
};

// Goes through all pages of a file and checks them. Bytes behind the last page belong to the last link.
// Allocates.
std::vector<OggLink> oggLinks(const SoundBytes& bytes);
