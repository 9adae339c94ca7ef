// Opens what a user names as a recording: a file, a named pipe, or the standard input.
#pragma once

#include "render/sound/SoundBytes.h"

#include <cstdint>
#include <string>

class SoundSource {
public:
  // path: "-" is the standard input. A pipe that brings WAV or AU is read as it comes; other types need to be
  // read out of order, so their bytes are first put into a temporary file to the pipe's end, once the first
  // ones have told that they are a sound. Throws Fault (couldNot) when it cannot be opened, is a directory, a
  // terminal or no sound, or there is no room. Allocates.
  explicit SoundSource(const std::string& path);
  ~SoundSource();
  SoundSource(const SoundSource&) = delete;
  SoundSource& operator=(const SoundSource&) = delete;

  // Whether the sound comes while it is read, so that it cannot be read out of order.
  bool isLive() const { return live; }
  int descriptor() const { return file; }

  // What was opened, for recordings that are not live: from where the standard input stands to the end. Must
  // not outlive this.
  SoundBytes bytes() const;

private:
  explicit SoundSource(int descriptor) : file(descriptor) {}

  int file; // owned
  std::int64_t begin = 0;
  bool live = false;
};
