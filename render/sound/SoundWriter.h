// A sound file, written in blocks of doubles; full scale is -1 to 1.
#pragma once

#include "render/file/Output.h"
#include "render/sound/SoundFormat.h"
#include "render/sound/SoundReader.h"
#include "render/sound/Tags.h"

#include <cstdint>
#include <memory>
#include <random>
#include <sndfile.h>
#include <string>
#include <vector>

// An open file and the first thing that went wrong with writing it.
struct WatchedFile {
  int descriptor;
  int error; // as errno, 0 while all is well
};

class SoundWriter {
public:
  // target: where to write; it must outlive the writer. info: rate, channels and format of the file;
  // its length is not used. dither: adds triangular noise of up to one step either way before rounding to
  // whole numbers, the same for every file. Throws Fault (couldNot). Allocates.
  SoundWriter(Output& target, const SoundInfo& info, bool dither);

  // Lets the file carry tags; before the first write. writer: must outlive this one. Allocates.
  void carry(TagWriter& writer);

  // Writes frames with interleaved channels. Formats of whole numbers get the nearest number, and the end of
  // their range for samples outside it; lossy encoders get samples of at most 16 times full scale; in both a
  // NaN becomes 0. Throws Fault (couldNot) when the disk is full or the like.
  void write(const double* samples, std::int64_t frames);

  // Closes the file and makes it the output. Throws Fault (couldNot).
  void publish();

  // Samples so far that did not fit into the format's or the encoder's range.
  std::int64_t clippedSamples() const { return clipped; }

private:
  void open();
  void leaveOutPeaks();
  void writeSlice(const double* samples, std::int64_t frames);
  void quantize(const double* samples, std::size_t count);
  const double* limit(const double* samples, std::size_t count);
  void refuseTooLong(std::int64_t frames);
  void refuseIncomplete(bool libraryIsContent) const;
  double noise();

  Output& output;
  TagWriter* tags = nullptr; // none
  WatchedFile watchedFile;
  SoundInfo sound;
  int bits; // of a format of whole numbers, else 0
  bool dithers;
  std::mt19937 random;           // starts alike for every file
  std::vector<int> wholeNumbers; // one slice, each number in the upper bits
  std::vector<double> limited;   // one slice, for an encoder of music
  std::int64_t framesWritten = 0;
  std::int64_t clipped = 0;
  std::unique_ptr<SNDFILE, SoundFileCloser> file;
};
