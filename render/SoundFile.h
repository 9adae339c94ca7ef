// Sound files, read and written in blocks of doubles; full scale is -1 to 1.
#pragma once

#include "render/OutputFile.h"
#include "render/SoundFormat.h"

#include <cstdint>
#include <memory>
#include <sndfile.h>
#include <string>
#include <vector>

struct SoundFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

class SoundReader {
public:
  // name: any sound file that libsndfile knows by its content. Throws Fault (couldNot) when it cannot be
  // opened, is no sound file, holds no sound, or is shorter than its header says. Allocates.
  explicit SoundReader(const std::string& name);

  const SoundInfo& info() const { return sound; }

  // Reads up to `frames` frames, channels interleaved; answers how many, fewer only at the end. Throws Fault
  // (couldNot) when the file turns out to be damaged or cut short.
  std::int64_t read(double* samples, std::int64_t frames);

private:
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;
  int openDescriptor() const;
  void refuseCutShort() const;
  [[noreturn]] void failDamaged() const;

  std::string path;
  SoundInfo sound;
  std::int64_t framesRead = 0;
  std::unique_ptr<SNDFILE, SoundFileCloser> file;
};

// An open file and the first thing that went wrong with writing it.
struct WatchedFile {
  int descriptor;
  int error; // as errno, 0 while all is well
};

class SoundWriter {
public:
  // target: where to write; it must outlive the writer. info: rate, channels and format of the file; its
  // length is not used. Throws Fault (couldNot). Allocates.
  SoundWriter(OutputFile& target, const SoundInfo& info);

  // Writes frames with interleaved channels. Formats of whole numbers get the nearest number, and the end
  // of their range for samples outside it (0 for a sample that is no number). Throws Fault (couldNot) when
  // the disk is full or the like.
  void write(const double* samples, std::int64_t frames);

  // Closes the file and gives it its name. Throws Fault (couldNot).
  void publish();

  // Samples so far that did not fit into the format's range.
  std::int64_t clippedSamples() const { return clipped; }

private:
  void writeSlice(const double* samples, std::int64_t frames);
  void quantize(const double* samples, std::size_t count);
  void refuseIncomplete(bool libraryIsContent) const;

  OutputFile& output;
  WatchedFile watchedFile;
  SoundInfo sound;
  int bits;                      // of a format of whole numbers, else 0
  std::vector<int> wholeNumbers; // one slice, each number in the upper bits
  std::int64_t clipped = 0;
  std::unique_ptr<SNDFILE, SoundFileCloser> file;
};
