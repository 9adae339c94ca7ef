// Which file format an output gets.
#pragma once

#include <cstdint>
#include <string>

// What a sound file is. `format` is libsndfile's: container, sample format, byte order.
struct SoundInfo {
  int rateHz = 0;
  int channels = 0;
  std::int64_t frames = 0; // negative: unknown until the end is reached
  int format = 0;
};

// The container that a file name's extension asks for, as libsndfile's SF_FORMAT_ constant. Throws Fault
// (wrongCall) when it is none of WAV, FLAC, OGG, AIFF. Allocates.
int containerFor(const std::string& path);

struct OutputFormat {
  int format = 0;
  std::string notice; // what could not be kept, as a sentence for the user; empty when all was
};

// The format for an output of that container with the input's rate, channels and length: the input's sample
// format, or the nearest one that the container holds. A WAV file too long for its 32-bit sizes becomes
// RF64. Throws Fault (couldNot) naming `path` when the container cannot hold such a sound at all. Allocates.
OutputFormat outputFormatFor(const std::string& path, int container, const SoundInfo& input);

// Bits of a sample format that is stored as whole numbers, coded ones (such as mu-law) included, which are
// coded from 16; 0 for formats that take numbers beyond full scale. Any thread, allocates nothing.
int wholeNumberBits(int format);
