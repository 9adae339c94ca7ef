// What the header of a file of chunks promises: libsndfile shortens a sound without a word when the file is
// shorter than that.
#pragma once

#include "render/sound/SoundBytes.h"

#include <cstdint>

struct ContainerHeader {
  std::int64_t soundBegin = 0;  // bytes; 0 when there is no such header or no sound in it
  std::int64_t soundBytes = -1; // as promised; negative: by a program that did not know
  std::int64_t end = -1;        // of all chunks; negative: unknown
};

// Reads the header of WAV, RF64, BW64, W64, AIFF, AIFF-C, 8SVX, AU and CAF files, and corrects in `bytes`
// what libsndfile takes for something else: W64 and RIFX whose samples are described at length, RF64 and CAF
// of unknown length. Allocates.
ContainerHeader readContainerHeader(SoundBytes& bytes);
