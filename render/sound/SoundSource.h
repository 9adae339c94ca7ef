// Opens what a user names as a recording: a file, a named pipe, or the standard input.
#pragma once

#include <string>

// Descriptor of the recording and whether it can be read from the start again. The caller closes it.
struct SoundSource {
  int descriptor;
  bool seekable;
};

// path: "-" is the standard input. A pipe that brings WAV or AU is read as it comes; other types need to be
// read out of order, so their bytes are first put into a temporary file to the pipe's end. Throws Fault
// (couldNot) when it cannot be opened, is a directory or a terminal, or there is no room.
SoundSource openSoundSource(const std::string& path);
