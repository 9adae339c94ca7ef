// Which file format an output gets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a sound file is. `format` is libsndfile's: container, sample format, byte order.
struct SoundInfo {
  int rateHz = 0;
  int channels = 0;
  std::int64_t frames = 0; // negative: unknown until the end is reached
  int format = 0;
};

// A type of file that can be written.
struct SoundType {
  std::string name;                    // as --type takes it, in lower case
  int container;                       // libsndfile's SF_FORMAT_ constant
  int codec;                           // the one sample format that it is made of, 0 when it holds several
  std::vector<std::string> extensions; // with their dot, in lower case; the first is the usual one
  bool streams;                        // can be written where nothing can be corrected later
};

// The type that a file name's extension asks for; null when it names none. [any thread]
const SoundType* typeOfName(const std::string& path);

// The type for an output's name. Throws Fault (wrongCall) when its extension names none. Allocates.
const SoundType& typeFor(const std::string& path);

// The type that --type asks for: wav, flac, ... in any case. Throws Fault (wrongCall). Allocates.
const SoundType& typeNamed(const std::string& text);

// The sample format that --bits asks for: 16, 24, 32, float or double; as libsndfile's SF_FORMAT_ constant.
// Throws Fault (wrongCall). Allocates.
int sampleFormatNamed(const std::string& text);

struct OutputFormat {
  int format = 0;
  std::string notice; // what could not be kept, as a sentence for the user; empty when all was
};

// The format for an output of that type with the sound's rate, channels and length. bits: the sample format
// that it must have, if any; else the sound's own, or the nearest one that the type holds. A WAV file too
// long for its 32-bit sizes becomes RF64. Throws Fault naming `path` when the type cannot hold such a sound
// (couldNot) or the wanted sample format (wrongCall). Allocates.
OutputFormat outputFormatFor(const std::string& path, const SoundType& type, std::optional<int> bits,
                             const SoundInfo& sound);

// Bits of a sample format that is stored as whole numbers, coded ones (such as mu-law) included, which are
// coded from 16; 0 for formats that take numbers beyond full scale. Any thread, allocates nothing.
int wholeNumberBits(int format);

// The most frames that the 32-bit sizes in the header of such a file can tell; the largest number of all
// when the format has no such sizes. Any thread, allocates nothing.
std::int64_t mostFrames(int format, int channels);

// The format in words: "WAV, Signed 16 bit PCM". Allocates.
std::string formatText(int format);
